/*
 * File operations for writing and reading a backup. They set errno on failure, to 0 if a file ended early,
 * and log nothing. Any thread, but one thread per file.
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
 * Opens a file as fopen does, closed on exec and unbuffered, so that the write that fills the disk fails, not
 * a later flush.
 */
UniqueFile open_to_write(const char *path, const char *mode);

/* The same for an open descriptor; takes ownership. */
UniqueFile write_to(UniqueFd fd, const char *mode);

/* Moves to the end of a file and returns its size; nothing on failure. */
std::optional<uint64_t> seek_to_end(std::FILE *file);

/* Reads exactly size bytes; false if there are fewer. */
bool read_all(std::FILE *file, void *bytes, size_t size);

enum class Text {
    kAll,
    kNoMemory,
    kShortRead
};

/* Reads exactly length bytes and appends a NUL. text: receives the block if the result is kAll. */
Text read_text(std::FILE *file, uint32_t length, OwnedBlock *text);

/* Copies exactly length bytes from and to the present positions, in chunks. */
Copied copy(std::FILE *from, std::FILE *to, uint32_t length);

/* Copies exactly length bytes from one descriptor to another. */
bool copy_bytes(int from, int to, uint64_t length);

/* The space for a file and its encrypted form at the same time, in bytes. */
uint64_t room_for(uint64_t size);

/* Flushes and closes a file; false if not everything was written. */
bool finish(UniqueFile file);

/* The same, and syncs the file, if its file system can be synced. */
bool finish_on_disk(UniqueFile file);

}  // namespace backup_io
