#include "zndb_words.h"

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "support/file_io.h"
#include "support/product_version.h"

namespace {

constexpr char kHelp[] =
    "Usage: zndb\n"
    "\n"
    "The configuration database of the device's modules. It takes no arguments,\n"
    "runs in the foreground until a message ends it, and serves one instance.\n"
    "\n"
    "  -h, --help  Show this help\n"
    "  --version   Show the version\n"
    "\n"
    "zndb_tool reads and changes the settings; 'man zndb' lists the files.\n";

int print(const std::string &text) {
    return file_io::write_all(STDOUT_FILENO, text.data(), text.size()) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

std::optional<int> answer_command_line(int argc, char **argv) {
    const std::string_view word = argc > 1 ? argv[1] : "";
    if (word == "--help" || word == "-h") {
        return print(kHelp);
    }
    if (word == "--version") {
        return print(std::string("zndb ") + product_version() + "\n");
    }
    return std::nullopt;
}
