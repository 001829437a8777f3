/*
 * Writes a backup to a temporary file, which gets the target's name when it is complete and encrypted. So the
 * target is never a partial backup, even if the process is killed.
 *
 * No lock: one caller at a time for one target.
 */
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "cipher.h"
#include "formats/device_paths.h"
#include "frwk_dbrm.h"
#include "frwk_dbrm/backup_check.h"
#include "frwk_dbrm/files/backup_target.h"
#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "frwk_dbrm/format/backup_record.h"
#include "frwk_dbrm/format/backup_trailer.h"
#include "internal/frwk_log.h"
#include "os_file.h"
#include "zndb.h"

namespace {

constexpr char kAccountKey[] = "webs_backup_account";
constexpr char kYes[] = "true";
constexpr size_t kAnswerSize = 8;

/* The condition for including a source. */
enum class Wanted {
    kAlways,
    kWithAccounts,         /* if web accounts are to be backed up */
    kWithAccountsIfPresent /* the same, and the file exists */
};

struct Source {
    const char *path;
    uint32_t type;
    Wanted wanted;
};

/* The sources of a backup, in the order of its records. */
constexpr Source kSources[] = {
    {paths::kPlainFile, FRWK_DBRM_DATA_DB, Wanted::kAlways},
    {paths::kWebAccounts, FRWK_DBRM_DATA_FILE, Wanted::kWithAccounts},
    {paths::kWebKeys, FRWK_DBRM_DATA_FILE, Wanted::kWithAccountsIfPresent},
    {paths::kDataManager, FRWK_DBRM_DATA_FILE, Wanted::kAlways},
};

bool backs_up_accounts() {
    char answer[kAnswerSize] = "";
    return zndb_get(kAccountKey, answer, sizeof(answer)) == E_ZNDB_RET_SUCCESS &&
           std::strncmp(answer, kYes, sizeof(answer)) == 0;
}

bool is_wanted(const Source &source, bool accounts) {
    switch (source.wanted) {
        case Wanted::kWithAccounts:
            return accounts;
        case Wanted::kWithAccountsIfPresent:
            return accounts && os_file_exist(source.path);
        case Wanted::kAlways:
            break;
    }
    return true;
}

/* Writes the records of a backup. */
apps_err_e_type write_records(std::FILE *out) {
    const bool accounts = backs_up_accounts();
    for (const Source &source : kSources) {
        if (!is_wanted(source, accounts)) {
            continue;
        }
        const apps_err_e_type ret = backup::append_record(out, source.path, source.type);
        if (ret != E_APPS_ERR_SUCCESS) {
            FRWK_WARN(log_name::kDbrmBackupProcess, "backup file '%s' failed!", source.path);
            return ret;
        }
    }
    return E_APPS_ERR_SUCCESS;
}

/* The largest possible size of the body, with every source, in bytes. */
uint64_t largest_body() {
    uint64_t size = 0;
    for (const Source &source : kSources) {
        struct stat found = {};
        size += backup_format::kRecordHeaderSize;
        size += ::stat(source.path, &found) == 0 ? static_cast<uint64_t>(found.st_size) : 0;
    }
    return size;
}

/* Writes the body of a backup. */
apps_err_e_type write_body(BackupTarget *target) {
    UniqueFile out = target->create(largest_body);
    if (!out) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupProcess, "create backup file error!");
        return E_APPS_ERR_IO;
    }

    const apps_err_e_type ret = write_records(out.get());
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }
    if (!backup_io::finish(std::move(out))) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupProcess, "write backup target file error!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

/* Writes the complete backup and gives it its name. */
apps_err_e_type make_backup(BackupTarget *target) {
    apps_err_e_type ret = write_body(target);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kDbrmBackup, "backup process failed!");
        return ret;
    }
    backup::check_body(target->path());
    ret = backup::append_trailer(target->path());
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kDbrmBackup, "backup compression failed!");
        return ret;
    }

    if (!zn_encrypt_file_ex(target->path())) {
        FRWK_WARN(log_name::kDbrmBackup, "encrypt backup file failed!");
        return E_APPS_ERR_INTERNAL;
    }
    if (!target->deliver()) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackup, "write backup target file error!");
        return E_APPS_ERR_WRITE;
    }
    if (!target->take_place()) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackup, "create backup file error!");
        return E_APPS_ERR_IO;
    }
    return E_APPS_ERR_SUCCESS;
}

}  // namespace

apps_err_e_type frwk_dbrm_backup(const char *path) {
    if (path == nullptr) {
        return E_APPS_ERR_PARAM;
    }

    BackupTarget target(path);
    const apps_err_e_type ret = make_backup(&target);
    if (ret != E_APPS_ERR_SUCCESS) {
        target.remove_target();
    }
    return ret;
}
