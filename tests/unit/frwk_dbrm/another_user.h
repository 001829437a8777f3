/*
 * Files and folders that seem to belong to another user, according to fstat. The calls are redirected through
 * doubles_dbrm.
 */
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "doubles/libc_doubles.h"
#include "unit/frwk_dbrm/dbrm_doubles.h"

inline constexpr uid_t kAnotherUser = 60001;

inline void give_to_another_user(std::set<std::string> paths) {
    doubles::libc::fstat.stand_in([paths = std::move(paths)](int fd, struct stat *info) {
        const int result = doubles::libc::fstat.real(fd, info);
        std::error_code error;
        const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), error);
        info->st_uid = paths.count(path.string()) != 0 ? kAnotherUser : info->st_uid;
        return result;
    });
}
