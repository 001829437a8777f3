/*
 * In front of the C library's functions that change files, in the service on trial: steps that fail or end
 * the process as TrialControl says, and the shadow of what is safe from a power cut.
 */
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "model/disk_shadow.h"
#include "model/trial_control.h"

namespace {

using model::Place;
using model::TrialControl;

template <typename Function>
Function real_function(const char *name) {
    void *found = ::dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

TrialControl *map_control() {
    const int fd = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, model::kControlFile, O_RDWR | O_CLOEXEC));
    if (fd < 0) {
        return nullptr;
    }
    void *mapped = ::mmap(nullptr, sizeof(TrialControl), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return mapped != MAP_FAILED ? static_cast<TrialControl *>(mapped) : nullptr;
}

TrialControl *control() {
    static TrialControl *const mapped = map_control();
    return mapped;
}

struct Row {
    const char *prefix;
    Place place;
};

constexpr Row kPlaces[] = {
    {"/m_data/usr/db", model::kPlainDisk},
    {"/m_data/usr_permanent/db", model::kPermDisk},
    {"/m_data/factor", model::kFactoryDisk},
    {"/tmp/m_tmp/zndb/journal", model::kJournals},
};

Place place_of(const char *path) {
    for (const Row &row : kPlaces) {
        if (std::strncmp(path, row.prefix, std::strlen(row.prefix)) == 0) {
            return row.place;
        }
    }
    return model::kElsewhere;
}

Place place_of(int fd) {
    char link[PATH_MAX] = "";
    const std::string name = "/proc/self/fd/" + std::to_string(fd);
    return ::readlink(name.c_str(), link, sizeof(link) - 1) > 0 ? place_of(link) : model::kElsewhere;
}

/* Counts down to a step. Returns true at the last one. */
bool is_due(std::atomic<uint32_t> &steps) {
    uint32_t left = steps.load();
    while (left > 0 && !steps.compare_exchange_weak(left, left - 1)) {
    }
    return left == 1;
}

enum class Needs {
    kRoom,   /* on the disk */
    kNoRoom, /* it frees some, but changes a file */
    kNothing /* it may be done on a full and on a read-only disk */
};

bool refuses(const TrialControl &trial, Place place, Needs needs) {
    const bool here = (trial.refusing.load() & place) != 0;
    return here && (needs == Needs::kRoom || (needs == Needs::kNoRoom && trial.refusal.load() == EROFS));
}

[[noreturn]] void die(TrialControl &trial) {
    trial.died = 1;
    (void)::kill(::getpid(), SIGKILL);
    for (;;) {
        (void)::pause();
    }
}

/* The error with which a step fails, or 0. half: called before the process ends itself. */
template <typename Half>
int error_of_step(Place place, Needs needs, const Half &half) {
    TrialControl *trial = place != model::kElsewhere ? control() : nullptr;
    if (trial == nullptr) {
        return 0;
    }
    if (is_due(trial->dies_in)) {
        half();
        die(*trial);
    }
    const bool fails = is_due(trial->fails_in);
    if (!fails && !refuses(*trial, place, needs)) {
        return 0;
    }
    trial->disturbed = 1;
    half();
    return fails ? trial->error.load() : trial->refusal.load();
}

int error_of_step(Place place, Needs needs) {
    return error_of_step(place, needs, [] {});
}

int refused(int error) {
    errno = error;
    return -1;
}

/* A step that is carried out or fails. */
template <typename Step>
int step(Place place, Needs needs, const Step &carry_out) {
    const int error = error_of_step(place, needs);
    return error == 0 ? carry_out() : refused(error);
}

}  // namespace

/* Begins the definition of a function that all libraries of the process call instead of the C library's. */
#define TRIAL_IN_FRONT(RESULT, NAME, SYMBOL, PARAMS)                                              \
    extern "C" __attribute__((visibility("default"))) RESULT trial_##NAME PARAMS __asm__(SYMBOL); \
    extern "C" RESULT trial_##NAME PARAMS

TRIAL_IN_FRONT(ssize_t, write, "write", (int fd, const void *from, size_t size)) {
    static const auto real = real_function<ssize_t (*)(int, const void *, size_t)>("write");
    const int error = error_of_step(place_of(fd), Needs::kRoom, [=] { (void)!real(fd, from, size / 2); });
    return error == 0 ? real(fd, from, size) : refused(error);
}

TRIAL_IN_FRONT(int, open, "open64", (const char *path, int flags, ...)) {
    static const auto real = real_function<int (*)(const char *, int, ...)>("open64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const bool creates = (flags & O_CREAT) != 0;
    return step(creates ? place_of(path) : model::kElsewhere, Needs::kRoom,
                [=] { return real(path, flags, mode); });
}

TRIAL_IN_FRONT(int, openat, "openat64", (int folder, const char *path, int flags, ...)) {
    static const auto real = real_function<int (*)(int, const char *, int, ...)>("openat64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const bool creates = (flags & O_CREAT) != 0;
    return step(creates ? place_of(path) : model::kElsewhere, Needs::kRoom,
                [=] { return real(folder, path, flags, mode); });
}

TRIAL_IN_FRONT(int, ftruncate, "ftruncate64", (int fd, off64_t size)) {
    static const auto real = real_function<int (*)(int, off64_t)>("ftruncate64");
    return step(place_of(fd), Needs::kNoRoom, [=] { return real(fd, size); });
}

TRIAL_IN_FRONT(int, mkdir, "mkdir", (const char *path, mode_t mode)) {
    static const auto real = real_function<int (*)(const char *, mode_t)>("mkdir");
    return step(place_of(path), Needs::kRoom, [=] { return real(path, mode); });
}

TRIAL_IN_FRONT(int, renameat, "renameat", (int from, const char *path, int to, const char *target)) {
    static const auto real = real_function<int (*)(int, const char *, int, const char *)>("renameat");
    return step(place_of(target), Needs::kNoRoom, [=] { return real(from, path, to, target); });
}

TRIAL_IN_FRONT(int, rename, "rename", (const char *path, const char *target)) {
    static const auto real = real_function<int (*)(const char *, const char *)>("rename");
    return step(place_of(target), Needs::kNoRoom, [=] { return real(path, target); });
}

TRIAL_IN_FRONT(int, link, "link", (const char *path, const char *name)) {
    static const auto real = real_function<int (*)(const char *, const char *)>("link");
    return step(place_of(name), Needs::kRoom, [=] { return real(path, name); });
}

TRIAL_IN_FRONT(int, linkat, "linkat", (int from, const char *path, int to, const char *name, int flags)) {
    static const auto real = real_function<int (*)(int, const char *, int, const char *, int)>("linkat");
    return step(place_of(name), Needs::kRoom, [=] { return real(from, path, to, name, flags); });
}

TRIAL_IN_FRONT(int, unlink, "unlink", (const char *path)) {
    static const auto real = real_function<int (*)(const char *)>("unlink");
    return step(place_of(path), Needs::kNoRoom, [=] { return real(path); });
}

TRIAL_IN_FRONT(int, unlinkat, "unlinkat", (int folder, const char *path, int flags)) {
    static const auto real = real_function<int (*)(int, const char *, int)>("unlinkat");
    return step(place_of(path), Needs::kNoRoom, [=] { return real(folder, path, flags); });
}

TRIAL_IN_FRONT(int, fsync, "fsync", (int fd)) {
    return step(place_of(fd), Needs::kNothing, [=] {
        model::note_synced(fd);
        return 0;
    });
}
