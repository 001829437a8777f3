#include "cli/code_hint.h"

namespace {

struct Hint {
    apps_err_e_type code;
    const char *text;
};

constexpr Hint kHints[] = {
    {E_APPS_ERR_TIMEOUT, "the module is still starting, or gave up waiting for another one"},
    {E_APPS_ERR_UNSUPPORTED, "the module doesn't know this message"},
    {E_APPS_ERR_OUTOFBUF, "the answer doesn't fit into the room for it"},
    {E_APPS_ERR_BUSY, "try again later"},
    {E_APPS_ERR_ZNDB_ARG,
     "a setting must be one line, and a key must not contain '=' or begin with '#' or a blank"},
    {E_APPS_ERR_ZNDB_MEM, "the store is full, or too many settings have changed since the last save"},
    {E_APPS_ERR_ZNDB_READ_ONLY,
     "the store's file can't be replaced; check its folder with ls -l and mount. The factory overlay may be "
     "written by root and by some modules only"},
};

}  // namespace

std::string code_hint(apps_err_e_type code) {
    for (const Hint &hint : kHints) {
        if (hint.code == code) {
            return std::string("; ") + hint.text;
        }
    }
    return "";
}
