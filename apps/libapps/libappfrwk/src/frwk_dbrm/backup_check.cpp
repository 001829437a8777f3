#include "frwk_dbrm/backup_check.h"

#include <cstdio>

#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "frwk_dbrm/format/database_text.h"
#include "internal/frwk_log.h"
#include "support/owned_block.h"
#include "support/unique_fd.h"

using backup_format::RecordHeader;
using backup_format::RecordHeaderBytes;

namespace {

void check_text(const RecordHeader &record, char *text) {
    const auto [difference, stop] = database_text::find_losses(text, record.length);
    if (difference.reason != nullptr) {
        FRWK_WARN(log_name::kDbrmBackupCheck, "file '%s' line %u: %s, a restore reads it differently!",
                  record.name, difference.line, difference.reason);
    }
    if (stop.reason != nullptr) {
        FRWK_WARN(log_name::kDbrmBackupCheck, "file '%s' line %u: %s, a restore stops there!", record.name,
                  stop.line, stop.reason);
    }
}

}  // namespace

void backup::check_body(const char *path) {
    const UniqueFile file(std::fopen(path, "rbe"));
    RecordHeaderBytes bytes;
    if (!file || !backup_io::read_all(file.get(), bytes.data(), bytes.size())) {
        FRWK_WARN_ERRNO(log_name::kDbrmBackupCheck, "check backup file error!");
        return;
    }

    const RecordHeader record = backup_format::record_header_from(bytes);
    OwnedBlock text;
    switch (backup_io::read_text(file.get(), record.length, &text)) {
        case backup_io::Text::kNoMemory:
            FRWK_WARN(log_name::kDbrmBackupCheck, "file '%s' has %u bytes, there is no memory to check them!",
                      record.name, record.length);
            return;
        case backup_io::Text::kShortRead:
            FRWK_WARN_ERRNO(log_name::kDbrmBackupCheck, "check backup file error!");
            return;
        case backup_io::Text::kAll:
            check_text(record, static_cast<char *>(text.get()));
    }
}
