/*
 * Looks at owners and folders, never at a marker's content.
 */
#include "internal/marker_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "internal/guarded_folder.h"
#include "internal/planted.h"
#include "internal/shell.h"

namespace {

constexpr mode_t kMarkerMode = 0644;

/* Makes the marker itself, and never what a link leads to. */
bool make_without_shell(const char *path) {
    const UniqueFd fd = open_guarded(path, O_WRONLY | O_CREAT, kMarkerMode, Planted::kSetAside);
    if (!fd) {
        FRWK_WARN_ERRNO(__func__, "create marker file error!");
    }
    return static_cast<bool>(fd);
}

}  // namespace

bool make_marker(const char *path) {
    switch (rights_above(path)) {
        case RightsAbove::kReplace:
            return make_without_shell(path);
        case RightsAbove::kAdd:
            // Once it is ours, nobody can put a link in its place, and touch only sets its time.
            if (!make_without_shell(path) && errno != ENOENT) {
                return false;
            }
            break;
        case RightsAbove::kNone:
            (void)set_aside_planted(path, FolderOwner::kTrusted);
            break;
    }
    return run_on_path("touch", path);
}

bool is_occupied(const char *path) {
    struct stat found = {};
    return ::lstat(path, &found) == 0 || errno != ENOENT;
}
