/*
 * Fuzzes the output of df, of the kernel about a process, and of a caller's command, and the partition's name
 * in the shell command.
 *
 * The input is the size of a buffer (2 bytes), a partition's name with a NUL, and the output.
 */
#include "frwk_common.h"
#include "frwk_common_ex.h"
#include "support/fuzz_input.h"
#include "support/shell_words.h"
#include "support/tool_stand_in.h"

namespace {

constexpr uint32_t kBufferMax = 128;
constexpr char kFill = '#';

/* The only word from outside in the command that reads a column is the name. */
void check_partition(const char *name, std::string_view output) {
    tools_print(output);
    int32_t result = INT32_MIN;
    const int32_t ret = frwk_get_partion_info(name, 5, &result);
    FUZZ_CHECK(ret == 0 || ret == -1);
    FUZZ_CHECK(ret == 0 || result == INT32_MIN);
    if (ret == 0) {
        const std::string option = name[0] == '-' ? "-e " : "";
        FUZZ_CHECK(last_command() ==
                   "df |grep " + option + as_word(name) + " | grep -v grep |awk '{print $5}'");
    }
}

/* The name fits the buffer with its NUL; a buffer of size 0 is not written. */
void check_process(uint32_t size) {
    const std::unique_ptr<char[]> buffer(new char[size + 1]);
    std::fill_n(buffer.get(), size + 1, kFill);
    const char *name = frwk_get_process_name(1, buffer.get(), size);
    FUZZ_CHECK(last_command() == "cat /proc/1/comm");
    FUZZ_CHECK(name == buffer.get() && buffer[size] == kFill);
    FUZZ_CHECK(size == 0 || buffer[0] == kFill || std::memchr(name, '\0', size) != nullptr);

    const char *shared = frwk_get_process_name(1, nullptr, 0);
    FUZZ_CHECK(std::strlen(shared) < 64);
}

/* Skips a command that prints nothing, since the library would run it again after a wait. */
void check_command(std::string_view output, int32_t size) {
    if (size == 0 || output.empty() || output[0] == '\0') {
        return;
    }
    const std::unique_ptr<char[]> buffer = std::make_unique<char[]>(static_cast<size_t>(size));
    FUZZ_CHECK(frwk_get_popen_value_ex("uname", buffer.get(), size) == 0);
    FUZZ_CHECK(buffer[0] == output[0]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const uint32_t buffer = input.number(kBufferMax);
    const ExactText name(input.text());
    const std::string_view output = input.rest();

    check_partition(name.get(), output);
    check_process(buffer);
    check_command(output, static_cast<int32_t>(buffer));
    return 0;
}
