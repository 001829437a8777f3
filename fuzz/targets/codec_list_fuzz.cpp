/*
 * Fuzzes codec lists: any text is read item by item, and written items are read back unchanged.
 *
 * The input is a byte that chooses (odd: write and read back), then the list, or its items with a NUL after
 * each.
 */
#include <vector>

#include "frwk_utils.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kListSize = 1024;
constexpr uint32_t kItemSize = 300;

/* Takes items until the end; each either leaves a terminated text within its size or doesn't change the
 * variable. */
void read_list(FuzzInput *input) {
    const auto type = static_cast<int32_t>(input->number(20));
    const ExactText list(input->text());
    char *const end = list.get() + std::strlen(list.get());
    for (char *at = list.get(); *at != '\0';) {
        char *next = nullptr;
        std::vector<char> out(kItemSize, '#');
        const apps_err_e_type ret = frwk_zndb_get_value(at, type, out.data(), kItemSize, &next);
        FUZZ_CHECK(next > at && next <= end);
        if (ret != E_APPS_ERR_SUCCESS) {
            FUZZ_CHECK(is_filled(out, '#'));
        } else if (type == FRWK_DATA_TYPE_STRING) {
            FUZZ_CHECK(std::memchr(out.data(), '\0', kItemSize) != nullptr);
        }
        at = next;
    }
}

/* The bytes of an item in a list. */
size_t stored_size(std::string_view item) {
    size_t size = 0;
    for (const char c : item) {
        size += c == '&' || c == ',' ? 5 : 1;
    }
    return size;
}

void write_and_read_list(FuzzInput *input) {
    const std::unique_ptr<char[]> storage = std::make_unique<char[]>(kListSize);
    frwk_codec_buf_t buf = {kListSize, 0, storage.get()};
    std::vector<std::string> items;
    while (!input->empty()) {
        const std::string item(input->text());
        const size_t wanted = buf.len + (items.empty() ? 0 : 1) + stored_size(item);
        const apps_err_e_type ret =
            frwk_zndb_add_value(&buf, FRWK_DATA_TYPE_STRING, item.c_str(), items.empty() ? 1 : 0);
        FUZZ_CHECK((ret == E_APPS_ERR_SUCCESS) == (wanted < kListSize));
        FUZZ_CHECK(buf.len < kListSize && storage[buf.len] == '\0');
        if (ret != E_APPS_ERR_SUCCESS) {
            return;
        }
        FUZZ_CHECK(buf.len == wanted);
        items.push_back(item);
    }

    char *at = storage.get();
    for (const std::string &item : items) {
        std::vector<char> out(item.size() + 1, '#');
        const auto size = static_cast<uint32_t>(out.size());
        FUZZ_CHECK(frwk_zndb_get_value(at, FRWK_DATA_TYPE_STRING, out.data(), size, &at) ==
                   E_APPS_ERR_SUCCESS);
        FUZZ_CHECK(item == out.data());
    }
    FUZZ_CHECK(*at == '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    if (input.byte() % 2 == 1) {
        write_and_read_list(&input);
    } else {
        read_list(&input);
    }
    return 0;
}
