/*
 * The types of variables that settings are read into. All that is known of a type stands in its row: how its
 * text is read, how its variable is written and shown, its ranges and what a failed check logs. A new type is
 * a new row. Pure functions; any thread.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "frwk_utils.h"

/* The longest text of a number, its NUL included; a longer one is cut off. */
inline constexpr size_t kNumberTextSize = 64;

/* A value on its way to a variable. Whole numbers use the one, real numbers the other; ullong its bits. */
struct TypedValue {
    int64_t integer = 0;
    double real = 0;
};

/* A check: the condition as the log shows it, and what its failure means. */
struct TypeCheck {
    const char *condition;
    const char *message;
};

struct TypeRange {
    int64_t low;
    int64_t high;
    TypeCheck check; /* empty where no number is out of range */
};

/* What a type's variable is; all empty for a text, which takes as many bytes as it needs. */
struct TypeVariable {
    uint32_t size; /* bytes */
    void (*store)(const TypedValue &value, void *variable);
    void (*format)(const void *variable, char (&text)[kNumberTextSize]);
};

struct DataType {
    int32_t code;
    TypeVariable variable;
    bool (*read)(const char *text, TypedValue *value); /* false when the text is no value */
    TypeCheck fits;
    TypeRange text_range; /* of a number that a text was read as */
    TypeRange json_range; /* of a number of JSON */

    bool is_text() const { return variable.size == 0; }
};

/* Returns the type's row, or null when no variable has that type. */
const DataType *find_data_type(int32_t code);

/*
 * Stores a number whose type has been found to fit at out. range: one of the type's two.
 * Returns false, and out is untouched, when the number is outside of it.
 */
bool store_number(const DataType &type, const TypeRange &range, const TypedValue &value, void *out);
