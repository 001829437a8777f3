/*
 * Restores a backup. It is decrypted and checked before anything on the device changes; then the
 * configuration is emptied and restored record by record.
 *
 * No lock: one caller at a time.
 */
#include <unistd.h>

#include <cstdio>

#include "cipher.h"
#include "frwk_dbrm.h"
#include "frwk_dbrm/files/backup_file.h"
#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "frwk_dbrm/format/backup_trailer.h"
#include "frwk_dbrm/format/restore_record.h"
#include "frwk_dbrm/restore_room.h"
#include "internal/frwk_log.h"
#include "zndb.h"

using backup_format::RecordHeader;
using backup_format::RecordHeaderBytes;

namespace {

/* Restores the records in the next "remaining" bytes of the file. 64 bits, so that no length wraps. */
apps_err_e_type restore_records(std::FILE *file, uint64_t remaining) {
    while (remaining != 0) {
        RecordHeaderBytes bytes;
        if (!backup_io::read_all(file, bytes.data(), bytes.size())) {
            FRWK_WARN_ERRNO(log_name::kDbrmRestoreProcess, "read data hdr error!");
            return E_APPS_ERR_READ;
        }
        RecordHeader record = backup_format::record_header_from(bytes);
        const apps_err_e_type ret = backup::restore_record(file, &record);
        if (ret != E_APPS_ERR_SUCCESS) {
            return ret;
        }
        remaining -= uint64_t{record.length} + bytes.size();
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type restore_all_records(std::FILE *file) {
    const std::optional<uint64_t> size = backup_io::seek_to_end(file);
    if (!size || std::fseek(file, 0, SEEK_SET) != 0) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreProcess, "read data hdr error!");
        return E_APPS_ERR_READ;
    }
    return restore_records(file, *size);
}

/* Restores all records of a checked body, and removes the file. */
apps_err_e_type restore_body(BackupFile *source) {
    UniqueFile file(std::fopen(source->file(), "rbe"));
    if (!file) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreProcess, "open restore file error!");
        return E_APPS_ERR_IO;
    }

    const apps_err_e_type ret = restore_all_records(file.get());
    file.reset();
    ::sync(); /* the names of files and new folders must be on the disk before the backup is removed */
    source->remove();
    return ret;
}

/* Decrypts and checks a backup, and replaces the configuration with it. */
apps_err_e_type restore_from(BackupFile *source) {
    if (!zn_decrypt_file_ex(source->file())) {
        source->refuse();
        FRWK_WARN(log_name::kDbrmRestore, "decrypt restore file error!");
        return E_APPS_ERR_INTERNAL;
    }

    apps_err_e_type ret = backup::strip_trailer(source->file());
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestore, "decompression failed!");
        return ret;
    }
    ret = backup::check_room_for_settings(source->file());
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }
    if (zndb_reset() != E_ZNDB_RET_SUCCESS || zndb_save() != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestore, "zndb reset user data failed!");
        return E_APPS_ERR_INTERNAL;
    }

    ret = restore_body(source);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestore, "restore process failed!");
    }
    return ret;
}

}  // namespace

apps_err_e_type frwk_dbrm_restore(const char *path) {
    if (path == nullptr) {
        return E_APPS_ERR_PARAM;
    }

    BackupFile source(path);
    if (!source.open()) {
        FRWK_WARN_ERRNO(__func__, "decrypt restore file error!");
        return E_APPS_ERR_INTERNAL;
    }
    return restore_from(&source);
}
