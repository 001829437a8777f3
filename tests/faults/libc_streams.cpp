/*
 * In front of the functions for streams. A stream whose reading or writing fails says so afterwards.
 */
#include <atomic>
#include <cstdio>
#include <cstring>

#include "faults/in_front.h"
#include "faults/stand_in_file.h"

using faults::Call;
using faults::Fault;

namespace {

/* The bits of a stream that ferror and feof look at. */
constexpr int kErrorFlag = 0x0020;
constexpr int kEndFlag = 0x0010;

/* Any thread may open a file meanwhile. */
std::atomic<const char *> g_path{nullptr};
std::atomic<const char *> g_stand_in{nullptr};

const char *file_for(const char *path) {
    const char *replaced = g_path;
    return replaced != nullptr && std::strcmp(path, replaced) == 0 ? g_stand_in.load() : path;
}

void mark(FILE *stream, const Fault &fault) {
    stream->_flags |= fault.way == Fault::Way::kFails ? kErrorFlag : kEndFlag;
    if (fault.way == Fault::Way::kFails) {
        errno = fault.error;
    }
}

int next_byte(Call call, int (*real)(FILE *), FILE *stream) {
    const Fault fault = faults::take(call);
    if (fault.way == Fault::Way::kNone) {
        return real(stream);
    }
    mark(stream, fault);
    return EOF;
}

}  // namespace

faults::StandInFile::StandInFile(const char *path, const char *stand_in) {
    g_stand_in = stand_in;
    g_path = path;
}

faults::StandInFile::~StandInFile() {
    g_path = nullptr;
}

/* A short read ends after a part of the bytes. */
QUOR_IN_FRONT(size_t, fread, (void *to, size_t size, size_t count, FILE *stream)) {
    QUOR_REAL(size_t, fread, (void *, size_t, size_t, FILE *));
    const Fault fault = faults::take(Call::fread);
    if (fault.way == Fault::Way::kNone) {
        return real(to, size, count, stream);
    }
    const size_t part = fault.way == Fault::Way::kShort ? count / 2 : 0;
    const size_t result = part > 0 ? real(to, size, part, stream) : 0;
    mark(stream, fault);
    return result;
}

/* A short write is one to a full disk. */
QUOR_IN_FRONT(size_t, fwrite, (const void *from, size_t size, size_t count, FILE *stream)) {
    QUOR_REAL(size_t, fwrite, (const void *, size_t, size_t, FILE *));
    const Fault fault = faults::take(Call::fwrite);
    if (fault.way == Fault::Way::kNone) {
        const size_t result = real(from, size, count, stream);
        faults::carried_out(Call::fwrite, -1);
        return result;
    }
    const size_t part = fault.way == Fault::Way::kShort ? count / 2 : 0;
    const size_t result = part > 0 ? real(from, size, part, stream) : 0;
    mark(stream, {Fault::Way::kFails, fault.error != 0 ? fault.error : ENOSPC});
    return result;
}

QUOR_IN_FRONT(char *, fgets, (char *to, int size, FILE *stream)) {
    QUOR_REAL(char *, fgets, (char *, int, FILE *));
    const Fault fault = faults::take(Call::fgets);
    if (fault.way == Fault::Way::kNone) {
        return real(to, size, stream);
    }
    mark(stream, fault);
    return nullptr;
}

QUOR_IN_FRONT(int, getc, (FILE * stream)) {
    QUOR_REAL(int, getc, (FILE *));
    return next_byte(Call::getc, real, stream);
}

QUOR_IN_FRONT(int, fgetc, (FILE * stream)) {
    QUOR_REAL(int, fgetc, (FILE *));
    return next_byte(Call::fgetc, real, stream);
}

/* The stream is closed in any case. */
QUOR_IN_FRONT(int, fclose, (FILE * stream)) {
    QUOR_REAL(int, fclose, (FILE *));
    const Fault fault = faults::take(Call::fclose);
    const int result = real(stream);
    faults::carried_out(Call::fclose, -1);
    return fault.way == Fault::Way::kNone ? result : faults::refuse(fault, EOF);
}

QUOR_PASS(FILE *, fopen64, nullptr, (const char *path, const char *mode), (file_for(path), mode))
