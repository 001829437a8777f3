#include "frwk_dbrm/format/restore_record.h"

#include <unistd.h>

#include <cstring>
#include <utility>

#include "frwk_dbrm/files/backed_up_file.h"
#include "frwk_dbrm/format/backup_io.h"
#include "frwk_dbrm/format/database_text.h"
#include "internal/frwk_log.h"
#include "internal/shell.h"
#include "support/owned_block.h"
#include "support/unique_fd.h"
#include "zndb.h"

using backup_format::RecordHeader;
using database_text::Found;
using database_text::Line;

namespace backup {

namespace {

constexpr size_t kCommandSize = 256;

/* The database lets a sender have 4,096 unsaved settings. A save gives them back. */
constexpr size_t kPairsPerSave = 4000;

/* Creates the folder of a file if it is missing. A failure shows when the file is opened. */
void make_folder_of(const char *name) {
    const char *separator = std::strrchr(name, '/');
    if (separator == nullptr) {
        separator = std::strrchr(name, '\\');
    }
    if (separator == nullptr) {
        return;
    }
    if (separator == name) {
        return; /* the root always exists; without this, the path for mkdir would be empty */
    }

    char folder[backup_format::kNameSize] = "";
    std::memcpy(folder, name, static_cast<size_t>(separator - name));
    ShellCommand<kCommandSize> command;
    command.add("mkdir -p ").add_word(folder);
    if (!command.complete()) {
        return;
    }
    const bool is_new = ::access(folder, F_OK) != 0;
    (void)run_shell(command.text());
    if (is_new) {
        backed_up_file::give_new_folder_away(folder);
    }
}

/* Opens a file to be restored. mkdir would create folders wherever another user's link leads. */
UniqueFd open_target(const char *name) {
    if (backed_up_file::is_behind_strange_link(name)) {
        return UniqueFd();
    }
    make_folder_of(name);
    return backed_up_file::open_target(name);
}

/* Fills a file from the backup. */
apps_err_e_type fill(std::FILE *backup, UniqueFd fd, uint32_t length) {
    UniqueFile target = backup_io::write_to(std::move(fd), "wb+");
    if (!target) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreFile, "create file error!");
        return E_APPS_ERR_IO;
    }
    const backup_io::Copied copied = backup_io::copy(backup, target.get(), length);
    if (copied == backup_io::Copied::kShortRead) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreFile, "read restore source file error!");
        return E_APPS_ERR_READ;
    }
    if (copied == backup_io::Copied::kShortWrite || !backup_io::finish_on_disk(std::move(target))) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreFile, "write restore target file error!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

/* The next key and value of a text. */
Found next_pair(char **text, Line *line) {
    const Found found = database_text::next_line(text, line);
    if (found == Found::kOther) {
        FRWK_WARN(log_name::kDbrmGetKeyvalue, "invalid db record format '%s'!", line->key);
    }
    return found;
}

/* Warns about the part of a text that is not restored, since nothing else shows it. */
void warn_of_the_rest(size_t passed, uint32_t length) {
    if (passed < length) {
        FRWK_WARN(log_name::kDbrmRestoreDb, "only %zu of %u bytes of the db record were restored!", passed,
                  length);
    }
}

bool set_pair(const Line &line) {
    FRWK_DEBUG(log_name::kDbrmRestoreDb, "zndb set %s=%s", line.key, line.value);
    if (zndb_set(line.key, line.value) != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestoreDb, "zndb set db data error!");
        return false;
    }
    return true;
}

/*
 * Saves between the settings of a large backup. The old configuration is gone from the file already, so a
 * power cut after such a save leaves no less than one before it. count: settings since the last save.
 */
bool save_if_many(size_t *count) {
    if (*count < kPairsPerSave) {
        return true;
    }
    *count = 0;
    if (zndb_save() != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestoreDb, "zndb save db data error!");
        return false;
    }
    return true;
}

/* Sets every key of a text. length: bytes of the text. */
apps_err_e_type set_pairs(char *text, uint32_t length) {
    char *at = text;
    Line line;
    Found found = next_pair(&at, &line);
    size_t unsaved = 0;
    bool is_set = true;
    while (found == Found::kPair && (is_set = save_if_many(&unsaved) && set_pair(line))) {
        ++unsaved;
        found = next_pair(&at, &line);
    }
    warn_of_the_rest(database_text::passed(text, found, at, line), length);
    return is_set ? E_APPS_ERR_SUCCESS : E_APPS_ERR_PROCESS;
}

/* Reads the next text of the backup, sets its keys and frees it. */
apps_err_e_type restore_text(std::FILE *backup, uint32_t length) {
    OwnedBlock text;
    switch (backup_io::read_text(backup, length, &text)) {
        case backup_io::Text::kNoMemory:
            FRWK_WARN(log_name::kDbrmRestoreDb, "alloc read buffer[%u] failed!", length + 1);
            return E_APPS_ERR_MALLOC;
        case backup_io::Text::kShortRead:
            FRWK_WARN_ERRNO(log_name::kDbrmRestoreDb, "read db file error!");
            return E_APPS_ERR_READ;
        case backup_io::Text::kAll:
            break;
    }
    return set_pairs(static_cast<char *>(text.get()), length);
}

}  // namespace

apps_err_e_type restore_file(std::FILE *backup, const RecordHeader &record) {
    FRWK_DEBUG(log_name::kDbrmRestoreFile, "restore file '%s' coming...", record.name);
    if (record.length == 0) {
        FRWK_DEBUG(log_name::kDbrmRestoreFile, "remove empty file.");
        backed_up_file::remove_target(record.name);
        return E_APPS_ERR_SUCCESS;
    }

    UniqueFd target = open_target(record.name);
    if (!target) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreFile, "create file error!");
        return E_APPS_ERR_IO;
    }

    const apps_err_e_type ret = fill(backup, std::move(target), record.length);
    if (ret != E_APPS_ERR_SUCCESS) {
        backed_up_file::remove_target(record.name);
    }
    return ret;
}

apps_err_e_type restore_database(std::FILE *backup, const RecordHeader &record) {
    FRWK_DEBUG(log_name::kDbrmRestoreDb, "restore db '%s' coming...", record.name);
    if (record.length > 0) {
        const apps_err_e_type ret = restore_text(backup, record.length);
        if (ret != E_APPS_ERR_SUCCESS) {
            return ret;
        }
        if (zndb_save() != E_ZNDB_RET_SUCCESS) {
            FRWK_WARN(log_name::kDbrmRestoreDb, "zndb save db file error!");
            return E_APPS_ERR_PROCESS;
        }
    }
    FRWK_DEBUG(log_name::kDbrmRestoreDb, "restore db '%s' success.", record.name);
    return E_APPS_ERR_SUCCESS;
}

namespace {

struct RecordType {
    uint32_t number;
    const char *name; /* in the log */
    apps_err_e_type (*restore)(std::FILE *backup, const RecordHeader &record);
};

constexpr RecordType kTypes[] = {
    {FRWK_DBRM_DATA_FILE, "file", restore_file},
    {FRWK_DBRM_DATA_DB, "db", restore_database},
};

const RecordType *type_of(const RecordHeader &record) {
    for (const RecordType &type : kTypes) {
        if (type.number == record.type) {
            return &type;
        }
    }
    return nullptr;
}

}  // namespace

apps_err_e_type restore_record(std::FILE *backup, RecordHeader *record) {
    const RecordType *type = type_of(*record);
    if (type == nullptr) {
        FRWK_WARN(log_name::kDbrmRestoreProcess, "invalid data type=%u!", record->type);
        return E_APPS_ERR_FORMAT;
    }
    if (!backup_format::terminate_name(record)) {
        FRWK_WARN(log_name::kDbrmRestoreProcess, "invalid data name '%s'!", record->name);
        return E_APPS_ERR_FORMAT;
    }
    const apps_err_e_type ret = type->restore(backup, *record);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kDbrmRestoreProcess, "restore %s '%s' failed!", type->name, record->name);
    }
    return ret;
}

}  // namespace backup
