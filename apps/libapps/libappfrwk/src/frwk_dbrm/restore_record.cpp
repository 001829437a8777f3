#include "frwk_dbrm/restore_record.h"

#include <cstring>

#include "frwk_dbrm/backup_io.h"
#include "frwk_dbrm/database_text.h"
#include "internal/frwk_log.h"
#include "internal/owned.h"
#include "internal/shell.h"
#include "internal/small_buffer.h"
#include "os_mem.h"
#include "zndb.h"

using backup_format::RecordHeader;

namespace {

constexpr size_t kCommandSize = 256;

/* The steps of a file's record log under the name of its call. */
constexpr char kRestoreFile[] = "frwk_dbrm_restore_file";

/* Makes the folder of a file where it is missing. When that fails, opening the file tells. */
void make_folder_of(const char *name) {
    const char *separator = std::strrchr(name, '/');
    if (separator == nullptr) {
        separator = std::strrchr(name, '\\');
    }
    if (separator == nullptr) {
        return;
    }
    if (separator == name) {
        return; /* in the root, which is always there; mkdir has no word for it once the name is cut */
    }

    char folder[backup_format::kNameSize] = "";
    std::memcpy(folder, name, static_cast<size_t>(separator - name));
    ShellCommand<kCommandSize> command;
    command.add("mkdir -p ").add_word(folder);
    if (command.complete()) {
        (void)run_shell(command.text());
    }
}

/* Fills a file from the backup. */
apps_err_e_type fill(std::FILE *backup, UniqueFile target, uint32_t length) {
    const backup_io::Copied copied = backup_io::copy(backup, target.get(), length);
    if (copied == backup_io::Copied::kShortRead) {
        FRWK_WARN_ERRNO_AS(kRestoreFile, "read restore source file error!");
        return E_APPS_ERR_READ;
    }
    if (copied == backup_io::Copied::kShortWrite || !backup_io::finish_on_disk(std::move(target))) {
        FRWK_WARN_ERRNO_AS(kRestoreFile, "write restore target file error!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

/* The next key and value of a text; false at its end and at a line that is none. */
bool frwk_dbrm_get_keyvalue(char **text, database_text::Line *line) {
    const database_text::Found found = database_text::next_line(text, line);
    if (found == database_text::Found::kOther) {
        FRWK_WARN("invalid db record format '%s'!", line->key);
    }
    return found == database_text::Found::kPair;
}

/* Sets every key of a text. */
apps_err_e_type frwk_dbrm_restore_db(char *text) {
    database_text::Line line;
    while (frwk_dbrm_get_keyvalue(&text, &line)) {
        FRWK_DEBUG("zndb set %s=%s", line.key, line.value);
        if (zndb_set(line.key, line.value) != E_ZNDB_RET_SUCCESS) {
            FRWK_WARN("zndb set db data error!");
            return E_APPS_ERR_PROCESS;
        }
    }
    return E_APPS_ERR_SUCCESS;
}

/* Sets every key of the text that the backup holds next, and gives its memory back. */
apps_err_e_type frwk_dbrm_restore_db(std::FILE *backup, uint32_t length) {
    const std::optional<uint32_t> size = checked_add(length, 1);
    const OwnedBlock text(size ? os_mem_malloc(*size) : nullptr);
    if (!text) {
        FRWK_WARN("alloc read buffer[%u] failed!", length + 1);
        return E_APPS_ERR_MALLOC;
    }
    if (!backup_io::read_all(backup, text.get(), length)) {
        FRWK_WARN_ERRNO("read db file error!");
        return E_APPS_ERR_READ;
    }
    static_cast<char *>(text.get())[length] = '\0';
    return frwk_dbrm_restore_db(static_cast<char *>(text.get()));
}

}  // namespace

apps_err_e_type frwk_dbrm_restore_file(std::FILE *backup, const RecordHeader &record) {
    FRWK_DEBUG("restore file '%s' coming...", record.name);
    if (record.length == 0) {
        FRWK_DEBUG("remove empty file.");
        (void)std::remove(record.name);
        return E_APPS_ERR_SUCCESS;
    }

    make_folder_of(record.name);
    UniqueFile target = backup_io::open_to_write(record.name, "wb+e");
    if (!target) {
        FRWK_WARN_ERRNO("create file error!");
        return E_APPS_ERR_IO;
    }

    const apps_err_e_type ret = fill(backup, std::move(target), record.length);
    if (ret != E_APPS_ERR_SUCCESS) {
        (void)std::remove(record.name);
    }
    return ret;
}

apps_err_e_type frwk_dbrm_restore_db(std::FILE *backup, const RecordHeader &record) {
    FRWK_DEBUG("restore db '%s' coming...", record.name);
    if (record.length > 0) {
        const apps_err_e_type ret = frwk_dbrm_restore_db(backup, record.length);
        if (ret != E_APPS_ERR_SUCCESS) {
            return ret;
        }
        if (zndb_save() != E_ZNDB_RET_SUCCESS) {
            FRWK_WARN("zndb save db file error!");
            return E_APPS_ERR_PROCESS;
        }
    }
    FRWK_DEBUG("restore db '%s' success.", record.name);
    return E_APPS_ERR_SUCCESS;
}
