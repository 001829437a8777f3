/*
 * Fuzzes typed values: reading a text into a variable, writing the variable, words of lists, host names and
 * addresses.
 *
 * The input is the type, the size of the variable (2 bytes), a list or a second text with a NUL, and the
 * text.
 */
#include <vector>

#include "frwk_utils.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kVariableMax = 64;
constexpr int32_t kTextSize = 128;
constexpr char kFill = '#';

bool is_real(int32_t type) {
    return type == FRWK_DATA_TYPE_FLOAT || type == FRWK_DATA_TYPE_DOUBLE;
}

/* A written variable is read back unchanged; only real numbers lose digits. */
void check_round_trip(int32_t type, const std::vector<char> &variable) {
    std::vector<char> text(kTextSize, kFill);
    FUZZ_CHECK(frwk_value_to_str(type, variable.data(), text.data(), kTextSize) == E_APPS_ERR_SUCCESS);
    FUZZ_CHECK(std::memchr(text.data(), '\0', text.size()) != nullptr);

    std::vector<char> again = variable;
    const auto size = static_cast<uint32_t>(again.size());
    const apps_err_e_type ret = frwk_str_to_value(type, text.data(), again.data(), size);
    FUZZ_CHECK(is_real(type) || (ret == E_APPS_ERR_SUCCESS && again == variable));
}

void check_conversion(int32_t type, uint32_t size, const char *text) {
    std::vector<char> out(size, kFill);
    const apps_err_e_type ret = frwk_str_to_value(type, text, out.data(), size);
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_OUTOFBUF || ret == E_APPS_ERR_PARAM);
    if (ret == E_APPS_ERR_SUCCESS) {
        check_round_trip(type, out);
    } else {
        FUZZ_CHECK(is_filled(out, kFill));
    }
}

/* The result is the beginning of the complete escaped text, truncated at the size or one byte later. */
void check_escaping(std::string_view text, const char *specials, int32_t size) {
    std::string whole;
    for (const char c : text) {
        whole += std::strchr(specials, c) != nullptr ? std::string{'\\', c} : std::string{c};
    }

    std::vector<char> out(static_cast<size_t>(size) + 1, '\0');
    frwk_utils_special_char_transform(text.data(), specials, out.data(), size);
    const std::string_view written(out.data(), ::strnlen(out.data(), out.size()));
    FUZZ_CHECK(whole.compare(0, written.size(), written) == 0);
    FUZZ_CHECK(written.size() >= std::min(whole.size(), static_cast<size_t>(size)));
}

void check_words(const char *list, const char *text) {
    const int32_t listed = frwk_check_enum_value(list, text);
    FUZZ_CHECK(listed == 0 || std::strchr(text, ',') == nullptr);

    const uint32_t is_host = frwk_domain_check(text);
    FUZZ_CHECK(is_host == 0 || (*text != '\0' && std::strpbrk(text, " /$`'\";|&\n") == nullptr));

    const uint32_t ordered =
        frwk_check_ipv4_addr_range_valid(list, text) + frwk_check_ipv4_addr_range_valid(text, list);
    FUZZ_CHECK(ordered >= 1);
    const uint32_t ordered6 =
        frwk_check_ipv6_addr_range_valid(list, text) + frwk_check_ipv6_addr_range_valid(text, list);
    FUZZ_CHECK(ordered6 >= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const int32_t type = input.byte() % 20;
    const uint32_t variable = input.number(kVariableMax);
    const ExactText list(input.text());
    const ExactText text(input.rest());

    check_conversion(type, variable, text.get());
    check_escaping(text.get(), list.get(), static_cast<int32_t>(variable));
    check_words(list.get(), text.get());
    return 0;
}
