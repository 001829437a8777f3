/*
 * The table of data types, and the steps that its rows name.
 */
#include "frwk_utils/values/data_type.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <type_traits>

#include "frwk_utils/values/bool_text.h"
#include "internal/c_locale.h"
#include "internal/decimal.h"
#include "text_copy.h"

namespace {

bool read_long(const char *text, TypedValue *value) {
    value->integer = decimal_number(text);
    return true;
}

/* A minus negates an unsigned long within its 32 bits. A number that is too long becomes the largest. */
bool read_ulong(const char *text, TypedValue *value) {
    const int64_t number = decimal_long_number(text);
    const bool fits = number >= -int64_t{UINT32_MAX} && number <= int64_t{UINT32_MAX};
    value->integer = fits ? static_cast<uint32_t>(number) : UINT32_MAX;
    return true;
}

bool read_llong(const char *text, TypedValue *value) {
    value->integer = decimal_long_number(text);
    return true;
}

bool read_ullong(const char *text, TypedValue *value) {
    value->integer = static_cast<int64_t>(decimal_unsigned_number(text));
    return true;
}

bool read_real(const char *text, TypedValue *value) {
    const CLocale c_locale;
    value->real = std::strtod(text, nullptr);
    return true;
}

bool read_bool(const char *text, TypedValue *value) {
    uint8_t word = 0;
    if (!read_bool_word(text, &word)) {
        return false;
    }
    value->integer = word;
    return true;
}

/* Converts to float with round to nearest; handles the cases that are undefined for a cast. */
float narrowed(double value) {
    constexpr double kRoundsToInfinity = 0x1.ffffffp127; /* half a step above the largest float */
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const double magnitude = std::fabs(value);
    if (magnitude >= kRoundsToInfinity) {
        return value > 0 ? kInfinity : -kInfinity;
    }
    if (magnitude > FLT_MAX) {
        return value > 0 ? FLT_MAX : -FLT_MAX;
    }
    return static_cast<float>(value);
}

template <typename T>
T converted(const TypedValue &value) {
    if constexpr (std::is_same_v<T, float>) {
        return narrowed(value.real);
    } else if constexpr (std::is_same_v<T, double>) {
        return value.real;
    } else {
        return static_cast<T>(value.integer);
    }
}

/* The caller's variable may be unaligned. */
template <typename T>
void store(const TypedValue &value, void *variable) {
    const T copy = converted<T>(value);
    std::memcpy(variable, &copy, sizeof(copy));
}

template <typename T>
T load(const void *variable) {
    T copy;
    std::memcpy(&copy, variable, sizeof(copy));
    return copy;
}

/* The type that a small number is converted to for printing, to need fewer functions. */
template <typename T>
using WholeNumber = std::conditional_t<sizeof(T) == sizeof(int64_t), T,
                                       std::conditional_t<std::is_signed_v<T>, int32_t, uint32_t>>;

template <typename T>
void write_whole_number(T value, char (&text)[kNumberTextSize]) {
    *std::to_chars(text, text + sizeof(text) - 1, value).ptr = '\0';
}

template <typename T>
void format(const void *variable, char (&text)[kNumberTextSize]) {
    const T value = load<T>(variable);
    if constexpr (std::is_floating_point_v<T>) {
        const CLocale c_locale;
        (void)std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    } else {
        write_whole_number<WholeNumber<T>>(value, text);
    }
}

void format_bool(const void *variable, char (&text)[kNumberTextSize]) {
    const char *word = frwk_bool_to_str(FRWK_BOOL_STYLE_TRUE_FALSE, load<uint8_t>(variable));
    strsncpy(text, word, sizeof(text) - 1);
}

template <typename T>
constexpr TypeVariable kVariable = {sizeof(T), store<T>, format<T>};
constexpr TypeVariable kBoolVariable = {sizeof(uint8_t), store<uint8_t>, format_bool};
constexpr TypeVariable kText = {};

constexpr TypeRange kAny = {INT64_MIN, INT64_MAX, {}};
constexpr TypeRange kBoolWord = {0, 1, {"frwk_str_to_bool(str, &bv)", "invalid bool value"}};
constexpr TypeRange kBool = {0, 1, {"((1) == lv) || ((0) == lv)", "invalid bool value"}};
constexpr TypeRange kByte = {0, 0xff, {"(0x0 <= lv) && (0xff >= lv)", "invalid byte value"}};
constexpr TypeRange kUshort = {0, 0xffff, {"(0x0 <= lv) && (0xffff >= lv)", "invalid ushort value"}};
constexpr TypeRange kUint = {0, 0xffffffff, {"(0 <= luv) && (0xffffffff >= luv)", "invalid uint value"}};

/* The ranges of short and int are symmetric: their lowest value is not allowed. */
constexpr TypeRange kShort = {-0x7fff, 0x7fff, {"(-0x7fff <= lv) && (0x7fff >= lv)", "invalid short value"}};
constexpr TypeRange kInt = {
    -0x7fffffff, 0x7fffffff, {"(-0x7fffffff <= lv) && (0x7fffffff >= lv)", "invalid int value"}};

constexpr TypeCheck kTextFits = {"size > len", "string value out of buf"};

/* The size check of a type, by its name in messages and its name in C. */
#define SIZE_CHECK(name, c_name) \
    { "size >= sizeof(" c_name ")", name " value out of buf" }

/* The code, the variable, how its text is read, the size check, the ranges of numbers from texts and JSON. */
constexpr DataType kDataTypes[] = {
    {FRWK_DATA_TYPE_BOOL, kBoolVariable, read_bool, SIZE_CHECK("bool", "bool"), kBoolWord, kBool},
    {FRWK_DATA_TYPE_BYTE, kVariable<uint8_t>, read_long, SIZE_CHECK("byte", "uchar"), kByte, kByte},
    {FRWK_DATA_TYPE_UCHAR, kVariable<uint8_t>, read_long, SIZE_CHECK("byte", "uchar"), kByte, kByte},
    {FRWK_DATA_TYPE_SHORT, kVariable<int16_t>, read_long, SIZE_CHECK("short", "short"), kShort, kShort},
    {FRWK_DATA_TYPE_USHORT, kVariable<uint16_t>, read_long, SIZE_CHECK("ushort", "ushort"), kUshort, kUshort},
    {FRWK_DATA_TYPE_INT, kVariable<int32_t>, read_long, SIZE_CHECK("int", "int"), kInt, kInt},
    {FRWK_DATA_TYPE_UINT, kVariable<uint32_t>, read_ulong, SIZE_CHECK("uint", "uint"), kAny, kUint},
    {FRWK_DATA_TYPE_LONG, kVariable<int32_t>, read_long, SIZE_CHECK("long", "long"), kAny, kAny},
    {FRWK_DATA_TYPE_ULONG, kVariable<uint32_t>, read_ulong, SIZE_CHECK("ulong", "ulong"), kAny, kAny},
    {FRWK_DATA_TYPE_LLONG, kVariable<int64_t>, read_llong, SIZE_CHECK("llong", "llong"), kAny, kAny},
    {FRWK_DATA_TYPE_ULLONG, kVariable<uint64_t>, read_ullong, SIZE_CHECK("ullong", "ullong"), kAny, kAny},
    {FRWK_DATA_TYPE_STRING, kText, nullptr, kTextFits, kAny, kAny},
    {FRWK_DATA_TYPE_STRING_EX, kText, nullptr, kTextFits, kAny, kAny},
    {FRWK_DATA_TYPE_FLOAT, kVariable<float>, read_real, SIZE_CHECK("float", "float"), kAny, kAny},
    {FRWK_DATA_TYPE_DOUBLE, kVariable<double>, read_real, SIZE_CHECK("double", "double"), kAny, kAny},
};

#undef SIZE_CHECK

constexpr uint8_t kNoRow = 0xff;

/* The row of each code, so that no conversion walks the table. */
struct RowOfCode {
    uint8_t rows[FRWK_DATA_TYPE_DOUBLE + 1];
};

constexpr RowOfCode make_row_of_code() {
    RowOfCode made = {};
    for (uint8_t &row : made.rows) {
        row = kNoRow;
    }
    for (size_t row = 0; row < std::size(kDataTypes); ++row) {
        made.rows[kDataTypes[row].code] = static_cast<uint8_t>(row);
    }
    return made;
}

constexpr RowOfCode kRowOfCode = make_row_of_code();

}  // namespace

const DataType *find_data_type(int32_t code) {
    const auto index = static_cast<uint32_t>(code);
    const uint8_t row = index < std::size(kRowOfCode.rows) ? kRowOfCode.rows[index] : kNoRow;
    return row != kNoRow ? &kDataTypes[row] : nullptr;
}

bool store_number(const DataType &type, const TypeRange &range, const TypedValue &value, void *out) {
    if (value.integer < range.low || value.integer > range.high) {
        return false;
    }
    type.variable.store(value, out);
    return true;
}
