#include "apptest/answer_type.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "apptest/body_text.h"
#include "cli/command.h"
#include "device/module_words.h"

namespace {

enum class Kind {
    kSigned,
    kUnsigned,
    kReal,
    kTruth,
    kText,
    kHex,
    kJson
};

struct Type {
    const char *name;
    Kind kind;
    size_t size; /* bytes of a number; kNumberSizes: 1, 2, 4 or 8; kAnySize: all of the answer */
    bool list = false;
};

constexpr size_t kAnySize = 0;
constexpr size_t kNumberSizes = SIZE_MAX;
constexpr uint32_t kDefaultNumber = sizeof(uint32_t);

constexpr Type kTypes[] = {
    {"int", Kind::kSigned, kNumberSizes},
    {"uint", Kind::kUnsigned, kNumberSizes},
    {"int8", Kind::kSigned, 1},
    {"uint8", Kind::kUnsigned, 1},
    {"int16", Kind::kSigned, 2},
    {"uint16", Kind::kUnsigned, 2},
    {"int32", Kind::kSigned, 4},
    {"uint32", Kind::kUnsigned, 4},
    {"int64", Kind::kSigned, 8},
    {"uint64", Kind::kUnsigned, 8},
    {"ints", Kind::kSigned, 4, true},
    {"uints", Kind::kUnsigned, 4, true},
    {"float", Kind::kReal, sizeof(float)},
    {"double", Kind::kReal, sizeof(double)},
    {"bool", Kind::kTruth, kNumberSizes},
    {"text", Kind::kText, kAnySize},
    {"hex", Kind::kHex, kAnySize},
    {"json", Kind::kJson, kAnySize},
};

const Type &type_named(const std::string &name) {
    return *std::find_if(std::begin(kTypes), std::end(kTypes),
                         [&](const Type &type) { return name == type.name; });
}

bool is_number_size(size_t size) {
    return size == 1 || size == 2 || size == 4 || size == 8;
}

bool takes(const Type &type, size_t room) {
    if (type.size == kAnySize) {
        return true;
    }
    if (type.size == kNumberSizes) {
        return is_number_size(room);
    }
    return type.list ? room % type.size == 0 : room == type.size;
}

/* "4 bytes" */
std::string bytes_text(size_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string size_words(const Type &type) {
    if (type.size == kNumberSizes) {
        return "1, 2, 4 or 8 bytes";
    }
    return (type.list ? "a multiple of " : "") + bytes_text(type.size);
}

template <typename Number>
Number number_in(const std::string &bytes) {
    Number number = 0;
    std::memcpy(&number, bytes.data(), sizeof(number));
    return number;
}

/* The types are those with 1, 2, 4 and 8 bytes. */
template <typename One, typename Two, typename Four, typename Eight>
std::string whole_text(const std::string &bytes) {
    switch (bytes.size()) {
        case sizeof(One):
            return std::to_string(number_in<One>(bytes));
        case sizeof(Two):
            return std::to_string(number_in<Two>(bytes));
        case sizeof(Four):
            return std::to_string(number_in<Four>(bytes));
        default:
            return std::to_string(number_in<Eight>(bytes));
    }
}

/* With as few digits as make the same number again. */
template <typename Real>
std::string real_text(const std::string &bytes) {
    constexpr int kMostDigits = 17;
    const Real number = number_in<Real>(bytes);
    char text[40];
    for (int digits = 1; digits <= kMostDigits; ++digits) {
        (void)std::snprintf(text, sizeof(text), "%.*g", digits, static_cast<double>(number));
        const auto again = static_cast<Real>(std::strtod(text, nullptr));
        if (std::isnan(number) || again == number) {
            break;
        }
    }
    return text;
}

std::string number_text(Kind kind, const std::string &bytes) {
    switch (kind) {
        case Kind::kSigned:
            return whole_text<int8_t, int16_t, int32_t, int64_t>(bytes);
        case Kind::kUnsigned:
            return whole_text<uint8_t, uint16_t, uint32_t, uint64_t>(bytes);
        case Kind::kTruth:
            return without_nuls(bytes).empty() ? "false" : "true";
        default:
            return bytes.size() == sizeof(float) ? real_text<float>(bytes) : real_text<double>(bytes);
    }
}

/* A JSON number has no more than 64 bits, so only infinity and "nan" are texts. */
AnswerValue number_value(Kind kind, const std::string &bytes) {
    const std::string text = number_text(kind, bytes);
    return {"", json_word(text), text};
}

AnswerValue list_value(const Type &type, const std::string &bytes, bool padded) {
    const size_t used = padded ? without_nuls(bytes).size() : bytes.size();
    std::vector<std::string> words;
    Json items = json_items();
    for (size_t at = 0; at < used; at += type.size) {
        words.push_back(number_text(type.kind, bytes.substr(at, type.size)));
        add_item(items, json_word(words.back()));
    }
    return {"", std::move(items), joined(words)};
}

AnswerValue text_value(const std::string &text) {
    return {"", json_text(text), text};
}

AnswerValue json_value(const std::string &bytes) {
    Json value = json_parsed(without_nuls(bytes));
    if (value == nullptr) {
        return {"the answer is not JSON; --as text and --as hex print any", nullptr, ""};
    }
    const std::string text =
        json_object_to_json_string_ext(value.get(), JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_SPACED);
    return {"", std::move(value), text};
}

}  // namespace

std::vector<std::string> answer_type_names() {
    return names_of(kTypes);
}

uint32_t default_room(const std::string &type, uint32_t otherwise) {
    const Type &known = type_named(type);
    if (known.size == kNumberSizes) {
        return kDefaultNumber;
    }
    return known.size == kAnySize || known.list ? otherwise : static_cast<uint32_t>(known.size);
}

std::string room_problem(const std::string &type, uint32_t room) {
    const Type &known = type_named(type);
    return takes(known, room) ? ""
                              : "--as " + type + " takes an answer of " + size_words(known) +
                                    ", and --room makes it " + std::to_string(room);
}

AnswerValue answer_value(const std::string &type, const std::string &bytes, bool padded) {
    const Type &known = type_named(type);
    if (known.list) {
        return list_value(known, bytes, padded);
    }
    switch (known.kind) {
        case Kind::kText:
            return text_value(bytes.substr(0, bytes.find('\0')));
        case Kind::kHex:
            return text_value(hex_of(padded ? without_nuls(bytes) : bytes));
        case Kind::kJson:
            return json_value(bytes);
        default:
            return number_value(known.kind, bytes);
    }
}
