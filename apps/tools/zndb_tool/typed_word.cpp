#include "zndb_tool/typed_word.h"

#include <cctype>
#include <cstdlib>

#include "frwk_utils.h"
#include "zndb.h"

namespace {

enum class Kind {
    kText,
    kBool,
    kInteger,
    kReal
};

struct Type {
    const char *name;
    int32_t code;
    Kind kind;
    const char *values; /* what it can hold */
};

constexpr char kAnyText[] = "any text";
constexpr char kBoolWords[] = "on, off, yes, no, true, false, enable, disable, 1 or 0";
constexpr char kSymmetric32[] = "-2147483647 to 2147483647"; /* as modules check an int */
constexpr char kSigned32[] = "-2147483648 to 2147483647";
constexpr char kUnsigned32[] = "0 to 4294967295";

constexpr Type kTypes[] = {
    {"string", FRWK_DATA_TYPE_STRING, Kind::kText, kAnyText},
    {"bool", FRWK_DATA_TYPE_BOOL, Kind::kBool, kBoolWords},
    {"byte", FRWK_DATA_TYPE_BYTE, Kind::kInteger, "0 to 255"},
    {"uchar", FRWK_DATA_TYPE_UCHAR, Kind::kInteger, "0 to 255"},
    {"short", FRWK_DATA_TYPE_SHORT, Kind::kInteger, "-32767 to 32767"},
    {"ushort", FRWK_DATA_TYPE_USHORT, Kind::kInteger, "0 to 65535"},
    {"int", FRWK_DATA_TYPE_INT, Kind::kInteger, kSymmetric32},
    {"uint", FRWK_DATA_TYPE_UINT, Kind::kInteger, kUnsigned32},
    {"long", FRWK_DATA_TYPE_LONG, Kind::kInteger, kSigned32},
    {"ulong", FRWK_DATA_TYPE_ULONG, Kind::kInteger, kUnsigned32},
    {"llong", FRWK_DATA_TYPE_LLONG, Kind::kInteger, "-9223372036854775808 to 9223372036854775807"},
    {"ullong", FRWK_DATA_TYPE_ULLONG, Kind::kInteger, "0 to 18446744073709551615"},
    {"float", FRWK_DATA_TYPE_FLOAT, Kind::kReal, "a number, such as -1.5"},
    {"double", FRWK_DATA_TYPE_DOUBLE, Kind::kReal, "a number, such as -1.5"},
};

const Type &type_of(int32_t code) {
    for (const Type &type : kTypes) {
        if (type.code == code) {
            return type;
        }
    }
    return kTypes[0];
}

/* An integer without '+' and leading zeros; "" if it is not an integer. */
std::string canonical_integer(const std::string &word) {
    const bool has_sign = !word.empty() && (word[0] == '-' || word[0] == '+');
    std::string digits = word.substr(has_sign ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return "";
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return (word[0] == '-' && digits != "0" ? "-" : "") + digits;
}

bool is_real(const std::string &word) {
    char *end = nullptr;
    (void)std::strtod(word.c_str(), &end);
    return !word.empty() && std::isspace(static_cast<unsigned char>(word[0])) == 0 && *end == '\0';
}

/* Whether the word has the notation of the kind. kind: not text, which has no notation. */
bool is_written_as(Kind kind, const std::string &word) {
    if (kind == Kind::kBool) {
        return !word.empty() && frwk_str_to_bool(word.c_str(), nullptr) == 1;
    }
    return kind == Kind::kInteger ? !canonical_integer(word).empty() : is_real(word);
}

/* Converts a text to a variable of the type and back. */
apps_err_e_type through_variable(int32_t type, const std::string &text, std::string *out) {
    alignas(8) char variable[ZNDB_VALUE_LEN] = {};
    char written[ZNDB_VALUE_LEN] = {};
    apps_err_e_type ret = frwk_str_to_value(type, text.c_str(), variable, sizeof(variable));
    if (ret == E_APPS_ERR_SUCCESS) {
        ret = frwk_value_to_str(type, variable, written, sizeof(written));
    }
    if (ret == E_APPS_ERR_SUCCESS) {
        *out = written;
    }
    return ret;
}

std::string is_not(const std::string &text, const Type &type) {
    const std::string article = type.name[0] == 'i' ? " is not an " : " is not a ";
    return "'" + text + "'" + article + type.name + " (" + type.values + ")";
}

}  // namespace

std::vector<std::string> type_names() {
    std::vector<std::string> names;
    for (const Type &type : kTypes) {
        names.emplace_back(type.name);
    }
    return names;
}

int32_t type_named(const std::string &name) {
    for (const Type &type : kTypes) {
        if (name == type.name) {
            return type.code;
        }
    }
    return 0;
}

std::string to_stored(int32_t code, const std::string &word, std::string *stored) {
    const Type &type = type_of(code);
    if (type.kind == Kind::kText) {
        *stored = word;
        return "";
    }
    if (!is_written_as(type.kind, word)) {
        return is_not(word, type);
    }
    std::string text;
    const apps_err_e_type ret = through_variable(code, word, &text);
    const bool changed = type.kind == Kind::kInteger && text != canonical_integer(word);
    if (ret != E_APPS_ERR_SUCCESS || changed) {
        return is_not(word, type);
    }
    *stored = text;
    return "";
}

std::string to_shown(int32_t code, const std::string &stored, std::string *word) {
    const apps_err_e_type ret = through_variable(code, stored, word);
    return ret == E_APPS_ERR_SUCCESS ? "" : is_not(stored, type_of(code));
}
