/*
 * Fuzzes JSON: parsing a text, and reading a member into a variable.
 *
 * The input is the variable's type, its size (2 bytes), the member's name with a NUL, and the text.
 */
#include <vector>

#include "frwk_utils.h"
#include "json.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kVariableMax = 64;
constexpr char kFill = '#';

void check_item(const json_item *item) {
    FUZZ_CHECK((json_get_string(item) != nullptr) == (json_is_string(item) != 0));
    const char *text = json_get_string(item);
    FUZZ_CHECK(text == nullptr || std::strlen(text) < JSON_TEXT_MAX);
    (void)json_get_int64(item);
    (void)json_get_double(item);
}

void check_variable(apps_err_e_type ret, int32_t type, const std::vector<char> &out) {
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_NOTFOUND || ret == E_APPS_ERR_OUTOFBUF ||
               ret == E_APPS_ERR_PARAM);
    if (ret != E_APPS_ERR_SUCCESS) {
        FUZZ_CHECK(is_filled(out, kFill));
    } else if (type == FRWK_DATA_TYPE_BOOL) {
        FUZZ_CHECK(out[0] == 0 || out[0] == 1);
    } else if (type == FRWK_DATA_TYPE_STRING || type == FRWK_DATA_TYPE_STRING_EX) {
        FUZZ_CHECK(std::memchr(out.data(), '\0', out.size()) != nullptr);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const int32_t type = input.byte() % 20;
    std::vector<char> out(input.number(kVariableMax), kFill);
    const ExactText name(input.text());
    const ExactText text(input.rest());

    json_item *root = json_parse(text.get());
    check_item(root);
    check_item(json_get_object_item(root, name.get()));
    const apps_err_e_type ret =
        frwk_get_json_item_value(root, type, name.get(), out.data(), static_cast<uint32_t>(out.size()));
    check_variable(ret, type, out);
    json_free(root);
    return 0;
}
