/*
 * The steps on files that writing and reading a backup share. They leave the cause of a failure in errno,
 * 0 where a file merely ended, and log nothing. Any thread, one file a thread.
 */
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>

#include "support/owned_block.h"
#include "support/unique_fd.h"

namespace backup_io {

enum class Copied {
    kAll,
    kShortRead,
    kShortWrite
};

/*
 * Opens a file as fopen does, closed on exec and without a buffer: a full disk shows in the write that it
 * refuses, not at the end.
 */
UniqueFile open_to_write(const char *path, const char *mode);

/* The same for an open file, which it takes over. */
UniqueFile write_to(UniqueFd fd, const char *mode);

/* Moves to the end of a file and tells its size; nothing when that fails. */
std::optional<uint64_t> seek_to_end(std::FILE *file);

/* Reads exactly size bytes; false when there are fewer. */
bool read_all(std::FILE *file, void *bytes, size_t size);

enum class Text {
    kAll,
    kNoMemory,
    kShortRead
};

/* Reads exactly length bytes and puts a NUL behind them. text: receives the block with kAll. */
Text read_text(std::FILE *file, uint32_t length, OwnedBlock *text);

/* Copies exactly length bytes from where the files stand, a chunk at a time. */
Copied copy(std::FILE *from, std::FILE *to, uint32_t length);

/* Copies exactly length bytes from one descriptor to another. */
bool copy_bytes(int from, int to, uint64_t length);

/* What a file and its enciphered form, beside it for a moment, take on a disk at most. */
uint64_t room_for(uint64_t size);

/* Writes out and closes a file; false when not all of it was written. */
bool finish(UniqueFile file);

/* The same, and then the content outlasts a power cut, where there is a disk under the file. */
bool finish_on_disk(UniqueFile file);

/* Makes what was written to a file outlast a power cut, where there is a disk under it. */
bool sync(int fd);

}  // namespace backup_io
