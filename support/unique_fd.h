/*
 * Owners of descriptors and streams. An owner releases its handle, if it has one, at the end of its scope,
 * and keeps errno.
 */
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

/*
 * The sole owner of a handle. Traits: Handle, kNone (the value for no handle) and release(handle).
 */
template <typename Traits>
class Owned {
  public:
    using Handle = typename Traits::Handle;

    Owned() = default;
    explicit Owned(Handle handle) : handle_(handle) {}
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    Owned(Owned &&other) noexcept : handle_(other.take()) {}
    Owned &operator=(Owned &&other) noexcept {
        reset(other.take());
        return *this;
    }
    ~Owned() { reset(); }

    Handle get() const { return handle_; }
    explicit operator bool() const { return handle_ != Traits::kNone; }

    /* Hands the handle over to the caller. */
    [[nodiscard]] Handle take() { return std::exchange(handle_, Traits::kNone); }

    /* Releases the present handle and owns the given one instead. */
    void reset(Handle handle = Traits::kNone) {
        const Handle old = std::exchange(handle_, handle);
        if (old == Traits::kNone) {
            return;
        }
        const int kept = errno;
        Traits::release(old);
        errno = kept;
    }

  private:
    Handle handle_ = Traits::kNone;
};

struct FdTraits {
    using Handle = int;
    static constexpr Handle kNone = -1;
    static void release(Handle fd) { ::close(fd); }
};

struct FileTraits {
    using Handle = std::FILE *;
    static constexpr Handle kNone = nullptr;
    static void release(Handle file) { (void)std::fclose(file); }
};

using UniqueFd = Owned<FdTraits>;
using UniqueFile = Owned<FileTraits>;

/* Makes a stream of a descriptor, as fdopen does. Returns nothing owned, with errno set, when that fails. */
inline UniqueFile open_stream(UniqueFd fd, const char *mode) {
    UniqueFile file(fd ? ::fdopen(fd.get(), mode) : nullptr);
    if (file) {
        (void)fd.take();
    }
    return file;
}
