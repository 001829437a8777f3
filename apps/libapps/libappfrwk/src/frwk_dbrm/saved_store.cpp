#include "frwk_dbrm/saved_store.h"

#include <sys/stat.h>

#include "formats/store_line.h"
#include "formats/store_values.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace {

UniqueFd open_file(const char *path) {
    struct stat found = {};
    return file_io::open_regular(path, &found);
}

}  // namespace

bool backup::is_damaged(const char *path) {
    const UniqueFd fd = open_file(path);
    LineReader reader(fd.get());
    Line line = {};
    Entry entry;
    while (fd && reader.next(line)) {
        if (read_store_line(line, entry) != nullptr) {
            return true;
        }
    }
    return false;
}

uint64_t backup::unsaved_bytes(StoreId store) {
    const UniqueFd fd = open_file(paths_of(store).journal);
    LineReader reader(fd.get());
    Line line = {};
    JournalRecord record = {};
    uint64_t bytes = 0;
    while (fd && reader.next(line)) {
        const bool is_record = line.fits && parse_record(line.text, record) == nullptr;
        bytes += is_record && record.store == store ? line.text.size() : 0;
    }
    return bytes;
}
