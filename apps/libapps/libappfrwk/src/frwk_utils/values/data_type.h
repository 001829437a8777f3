/*
 * The types of variables that settings are read into. A type's row in the table defines how its text is
 * parsed, how its variable is written and printed, its ranges and the log lines of failed checks. A new type
 * needs a new row. Pure functions; any thread.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "frwk_utils.h"

/* The longest text of a number, including the NUL; a longer one is truncated. */
inline constexpr size_t kNumberTextSize = 64;

/* A parsed value: one member for integers (ullong uses its bits), the other for real numbers. */
struct TypedValue {
    int64_t integer = 0;
    double real = 0;
};

/* A check: the condition's text for the log, and the meaning of its failure. */
struct TypeCheck {
    const char *condition;
    const char *message;
};

struct TypeRange {
    int64_t low;
    int64_t high;
    TypeCheck check; /* empty if no number is out of range */
};

/* The variable of a type; all empty for a text, whose size varies. */
struct TypeVariable {
    uint32_t size; /* bytes */
    void (*store)(const TypedValue &value, void *variable);
    void (*format)(const void *variable, char (&text)[kNumberTextSize]);
};

struct DataType {
    int32_t code;
    TypeVariable variable;
    bool (*read)(const char *text, TypedValue *value); /* false if the text is not a value */
    TypeCheck fits;
    TypeRange text_range; /* for a number from a text */
    TypeRange json_range; /* for a number from JSON */

    bool is_text() const { return variable.size == 0; }
};

/* Returns the type's row, or null for an unknown type. */
const DataType *find_data_type(int32_t code);

/*
 * Stores a number at out, which must have room for the type. range: one of the type's two ranges.
 * Returns false, with out unchanged, if the number is outside the range.
 */
bool store_number(const DataType &type, const TypeRange &range, const TypedValue &value, void *out);
