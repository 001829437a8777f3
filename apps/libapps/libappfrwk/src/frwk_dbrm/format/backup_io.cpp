#include "frwk_dbrm/format/backup_io.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "internal/small_buffer.h"
#include "os_mem.h"
#include "support/file_io.h"
#include "support/uninterrupted.h"

namespace backup_io {

namespace {

constexpr uint32_t kChunkSize = 1024;
constexpr size_t kPieceSize = 16384;

/* For the overhead of the cipher and for the folders. */
constexpr uint64_t kSpareRoom = 65536;

UniqueFile without_buffer(UniqueFile file) {
    if (file) {
        (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }
    return file;
}

}  // namespace

UniqueFile open_to_write(const char *path, const char *mode) {
    return without_buffer(UniqueFile(std::fopen(path, mode)));
}

UniqueFile write_to(UniqueFd fd, const char *mode) {
    return without_buffer(open_stream(std::move(fd), mode));
}

std::optional<uint64_t> seek_to_end(std::FILE *file) {
    if (::fseeko(file, 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const off_t size = ::ftello(file);
    return size < 0 ? std::nullopt : std::optional<uint64_t>(static_cast<uint64_t>(size));
}

bool read_all(std::FILE *file, void *bytes, size_t size) {
    errno = 0;
    return std::fread(bytes, 1, size, file) == size;
}

Text read_text(std::FILE *file, uint32_t length, OwnedBlock *text) {
    const std::optional<uint32_t> size = checked_add(length, 1);
    text->reset(size ? os_mem_malloc(*size) : nullptr);
    if (!*text) {
        return Text::kNoMemory;
    }
    if (!read_all(file, text->get(), length)) {
        return Text::kShortRead;
    }
    static_cast<char *>(text->get())[length] = '\0';
    return Text::kAll;
}

Copied copy(std::FILE *from, std::FILE *to, uint32_t length) {
    unsigned char chunk[kChunkSize];
    for (uint32_t left = length; left > 0;) {
        const uint32_t size = std::min(left, kChunkSize);
        if (!read_all(from, chunk, size)) {
            return Copied::kShortRead;
        }
        if (std::fwrite(chunk, 1, size, to) != size) {
            return Copied::kShortWrite;
        }
        left -= size;
    }
    return Copied::kAll;
}

bool copy_bytes(int from, int to, uint64_t length) {
    unsigned char piece[kPieceSize];
    for (uint64_t left = length; left > 0;) {
        const size_t size = static_cast<size_t>(std::min<uint64_t>(left, sizeof(piece)));
        const ssize_t count = uninterrupted([&] { return ::read(from, piece, size); });
        if (count <= 0 || !file_io::write_all(to, piece, static_cast<size_t>(count))) {
            return false;
        }
        left -= static_cast<uint64_t>(count);
    }
    return true;
}

uint64_t room_for(uint64_t size) {
    return 2 * (size + size / kSpareRoom) + kSpareRoom;
}

bool finish(UniqueFile file) {
    return std::fflush(file.get()) == 0 && std::fclose(file.take()) == 0;
}

bool finish_on_disk(UniqueFile file) {
    return std::fflush(file.get()) == 0 && file_io::sync_where_possible(::fileno(file.get())) &&
           finish(std::move(file));
}

}  // namespace backup_io
