#include "support/tool_stand_in.h"

#include "support/fuzz_input.h"

namespace {

std::string g_output;
std::string g_command;

}  // namespace

void tools_print(std::string_view bytes) {
    g_output = bytes;
}

const std::string &last_command() {
    return g_command;
}

extern "C" std::FILE *__wrap_os_popen(const char *command, const char *mode) {
    FUZZ_CHECK(std::strcmp(mode, "r") == 0);
    g_command = command;
    std::FILE *stream = ::fmemopen(g_output.data(), g_output.size(), "r");
    FUZZ_CHECK(stream != nullptr);
    return stream;
}

extern "C" int32_t __wrap_os_pclose(std::FILE *stream) {
    return std::fclose(stream);
}
