/*
 * Fuzzes the text scanner: blanks, markers, named values and file names.
 *
 * The input is the size of the buffer (2 bytes), a name or first marker and a second marker, each with a NUL,
 * and the text.
 */
#include <vector>

#include "frwk_common.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kBufferMax = 128;

/* A copied text is a part of the input after a success, and empty after a failure. */
void check_copy(int32_t ret, const std::vector<char> &out, std::string_view text) {
    FUZZ_CHECK(ret == 0 || ret == 1);
    if (out.empty()) {
        FUZZ_CHECK(ret == 0);
        return;
    }
    FUZZ_CHECK(std::memchr(out.data(), '\0', out.size()) != nullptr);
    const std::string_view copied = out.data();
    FUZZ_CHECK(ret == 1 ? text.find(copied) != std::string_view::npos : copied.empty());
}

void check_picking(FuzzInput *input) {
    const uint32_t size = input->number(kBufferMax);
    const ExactText first(input->text());
    const ExactText second(input->text());
    const ExactText text(input->rest());

    std::vector<char> out(size, '#');
    int32_t ret = frwk_str_pick(text.get(), first.get(), second.get(), out.data(), static_cast<int>(size));
    check_copy(ret, out, text.get());

    std::fill(out.begin(), out.end(), '#');
    ret = frwk_str_pick_value(text.get(), first.get(), out.data(), static_cast<int>(size));
    check_copy(ret, out, text.get());
    FUZZ_CHECK(ret == 0 || std::strstr(text.get(), first.get()) != nullptr);
}

/* Walks a text token by token. Every step advances, and the last one reaches the end. */
void check_walking(std::string_view bytes) {
    const ExactText text(bytes);
    const char *at = frwk_skip_space(text.get());
    while (at != nullptr && *at != '\0') {
        FUZZ_CHECK(*at != ' ' && *at != '\t');
        const char *next = frwk_skip_next_space(at);
        FUZZ_CHECK(next == nullptr || next > at);
        at = next;
    }
    const char *name = frwk_get_filename(text.get());
    FUZZ_CHECK(std::strpbrk(name, "/\\") == nullptr);
    FUZZ_CHECK(name == text.get() || name[-1] == '/' || name[-1] == '\\');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    check_walking({reinterpret_cast<const char *>(data), size});
    check_picking(&input);
    return 0;
}
