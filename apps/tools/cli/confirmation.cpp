#include "cli/confirmation.h"

#include <strings.h>
#include <unistd.h>

#include "cli/input_line.h"

namespace {

bool says_yes(const std::string &answer) {
    return ::strcasecmp(answer.c_str(), "y") == 0 || ::strcasecmp(answer.c_str(), "yes") == 0;
}

}  // namespace

bool is_confirmed(const std::string &what, bool yes) {
    if (yes || ::isatty(STDIN_FILENO) == 0) {
        return true;
    }
    std::string answer;
    return read_input_line(what + "? [y/N] ", false, &answer) && says_yes(answer);
}
