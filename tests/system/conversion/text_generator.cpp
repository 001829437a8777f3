/*
 * The kinds of texts, and how often each comes.
 */
#include "system/conversion/text_generator.h"

#include <iterator>

namespace {

const std::string kDigits = "0123456789";
const std::string kBlanks = " \t\n\v\f\r";
const std::string kJumble =
    "0123456789012345678901234567890123456789+-+- \t.,eExXaAfFnNiI\"'&#\x01\x7f\x80\xff";

/* Where the results of one type or another change. */
constexpr const char *kLimits[] = {"0",
                                   "1",
                                   "127",
                                   "128",
                                   "255",
                                   "256",
                                   "32766",
                                   "32767",
                                   "32768",
                                   "65535",
                                   "65536",
                                   "2147483646",
                                   "2147483647",
                                   "2147483648",
                                   "2147483649",
                                   "4294967294",
                                   "4294967295",
                                   "4294967296",
                                   "4294967297",
                                   "8589934591",
                                   "8589934592",
                                   "9223372036854775806",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "9223372036854775809",
                                   "18446744073709551614",
                                   "18446744073709551615",
                                   "18446744073709551616",
                                   "18446744073709551617",
                                   "36893488147419103232",
                                   "340282346638528859811704183484516925440",
                                   "340282356779733661637539395458142568447",
                                   "340282356779733661637539395458142568448",
                                   "340282356779733661637539395458142568449"};

/* Reals at the limits of float and double, and spellings of what is no number. */
constexpr const char *kReals[] = {"3.4028234663852886e38",
                                  "3.4028235677973366e38",
                                  "3.4028235677973364e38",
                                  "3.40282357e38",
                                  "1.1754943508222875e-38",
                                  "1.401298464324817e-45",
                                  "7.006492321624085e-46",
                                  "7.006492321624086e-46",
                                  "1.7976931348623157e308",
                                  "1.7976931348623158e308",
                                  "1.7976931348623159e308",
                                  "2.2250738585072014e-308",
                                  "4.9406564584124654e-324",
                                  "2.4703282292062327e-324",
                                  "1e309",
                                  "1e-400",
                                  "1e99999",
                                  "0x1.fffffep127",
                                  "0x1.ffffffp127",
                                  "0x1.fffffefffffffp127",
                                  "0x1p-149",
                                  "0x1p-150",
                                  "0x.8",
                                  "0x",
                                  "0xg",
                                  "inf",
                                  "INFINITY",
                                  "infinit",
                                  "nan",
                                  "NaN(1)",
                                  "nan(",
                                  ".",
                                  ".e1",
                                  "1e",
                                  "1e+",
                                  "1.e1"};

template <size_t kCount>
const char *entry(const char *const (&list)[kCount], size_t index) {
    return list[index];
}

}  // namespace

std::string TextGenerator::next() {
    switch (below(10)) {
        case 0:
        case 1:
        case 2:
            return dressed(near_a_limit());
        case 3:
        case 4:
            return dressed(whole_number());
        case 5:
            return dressed(real_number());
        case 6:
            return dressed(spelled_number());
        case 7:
            return dressed(below(20) == 0 ? long_number() : near_a_limit());
        default:
            return jumble();
    }
}

std::string TextGenerator::several_of(const std::string &characters, size_t most) {
    std::string text(below(most + 1), ' ');
    for (char &each : text) {
        each = one_of(characters);
    }
    return text;
}

/* Adds text that is allowed before and after a number. */
std::string TextGenerator::dressed(const std::string &number) {
    std::string text;
    if (below(4) == 0) {
        text += several_of(kBlanks, 3);
    }
    const size_t sign = below(8);
    text += sign < 3 ? "-" : sign == 3 ? "+" : sign == 4 && below(4) == 0 ? "+-" : "";
    if (below(6) == 0) {
        text += std::string(below(30), '0');
    }
    text += number;
    if (below(6) == 0) {
        text += several_of(kJumble, 4);
    }
    return text;
}

/* A limit, or the same with another last digit or one more. */
std::string TextGenerator::near_a_limit() {
    std::string text = entry(kLimits, below(std::size(kLimits)));
    switch (below(4)) {
        case 0:
            text.back() = one_of(kDigits);
            break;
        case 1:
            text += one_of(kDigits);
            break;
        default:
            break;
    }
    return text;
}

/* As often short as long. */
std::string TextGenerator::whole_number() {
    return std::to_string(static_cast<uint64_t>(random_()) >> below(64));
}

std::string TextGenerator::real_number() {
    std::string text = several_of(kDigits, 20);
    if (below(4) != 0) {
        text += "." + several_of(kDigits, 20);
    }
    if (below(2) == 0) {
        text += one_of("eE") + several_of("+-", 1) + several_of(kDigits, 3);
    }
    return text;
}

std::string TextGenerator::spelled_number() {
    std::string text = entry(kReals, below(std::size(kReals)));
    if (below(4) == 0) {
        text[below(text.size())] = one_of(kDigits);
    }
    return text;
}

std::string TextGenerator::long_number() {
    return several_of(kDigits, 400);
}

std::string TextGenerator::jumble() {
    return several_of(kJumble, 24);
}
