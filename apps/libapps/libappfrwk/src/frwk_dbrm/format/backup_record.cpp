#include "frwk_dbrm/format/backup_record.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "frwk_dbrm/files/backed_up_file.h"
#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "internal/frwk_log.h"
#include "os_file.h"
#include "support/unique_fd.h"

namespace {

apps_err_e_type write_header(std::FILE *out, uint32_t type, const char *path, uint32_t length) {
    const backup_format::RecordHeaderBytes bytes =
        backup_format::to_bytes(backup_format::make_record_header(type, path, length));
    if (std::fwrite(bytes.data(), 1, bytes.size(), out) != bytes.size()) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupFile, "write file hdr failed!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

backed_up_file::Source source_of(uint32_t type) {
    return type == FRWK_DBRM_DATA_DB ? backed_up_file::Source::kOfAnybody
                                     : backed_up_file::Source::kOfFolderOwner;
}

apps_err_e_type write_data(std::FILE *out, const char *path, uint32_t type, uint32_t length) {
    const UniqueFile source = backed_up_file::open_source(path, source_of(type));
    if (!source) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupFile, "open backup file error!");
        return E_APPS_ERR_IO;
    }

    switch (backup_io::copy(source.get(), out, length)) {
        case backup_io::Copied::kShortRead:
            FRWK_WARN_ERRNO(log_name::kDbrmBackupFile, "read backup source file error!");
            return E_APPS_ERR_READ;
        case backup_io::Copied::kShortWrite:
            FRWK_WARN_ERRNO(log_name::kDbrmBackupFile, "write backup target file error!");
            return E_APPS_ERR_WRITE;
        case backup_io::Copied::kAll:
            break;
    }
    return E_APPS_ERR_SUCCESS;
}

/*
 * Checks a source whose size was given as 0, which is also the size of a file that can't be looked at. A
 * restore removes the file, or empties the settings, so a backup must not hold such a record by mistake.
 */
bool is_really_empty(const char *path) {
    struct stat found = {};
    errno = 0;
    if (::stat(path, &found) != 0) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    if (!S_ISREG(found.st_mode)) {
        FRWK_WARN(log_name::kDbrmBackupFile, "'%s' is no regular file, the backup has nothing of it!", path);
        return true;
    }
    return found.st_size == 0;
}

}  // namespace

apps_err_e_type backup::append_record(std::FILE *out, const char *path, uint32_t type) {
    const size_t name_length = std::strlen(path);
    if (name_length == 0 || name_length > backup_format::kNameLengthMax) {
        FRWK_WARN(log_name::kDbrmBackupFile, "invalid filename length=%d!", static_cast<int>(name_length));
        return E_APPS_ERR_PARAM;
    }
    const std::optional<uint32_t> length = backup_format::as_length(os_file_size(path));
    if (!length) {
        FRWK_WARN(log_name::kDbrmBackupFile, "file '%s' is too large!", path);
        return E_APPS_ERR_FORMAT;
    }

    if (*length == 0 && !is_really_empty(path)) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupFile, "open backup file error!");
        return E_APPS_ERR_IO;
    }

    const apps_err_e_type ret = write_header(out, type, path, *length);
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }
    if (*length == 0) {
        FRWK_DEBUG(log_name::kDbrmBackupFile, "file '%s' is empty!", path);
        return E_APPS_ERR_SUCCESS;
    }
    return write_data(out, path, type, *length);
}
