/*
 * A file in memory, shared with everybody who maps it.
 *
 * Somebody may cut the file meanwhile. Then the memory is replaced by zeros of this process's own, as soon as
 * it is read where the file had been, instead of ending the process with SIGBUS: whoever uses it must notice.
 * So the first map of a process installs a handler of SIGBUS, which leaves every other fault to the handler
 * before it.
 */
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <utility>

class MappedFile {
  public:
    MappedFile() = default;
    ~MappedFile() { reset(); }
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;
    MappedFile(MappedFile &&other) noexcept
        : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    MappedFile &operator=(MappedFile &&other) noexcept {
        if (this != &other) {
            reset();
            data_ = std::exchange(other.data_, nullptr);
            size_ = std::exchange(other.size_, 0);
        }
        return *this;
    }

    /*
     * Maps the beginning of a file. rights: PROT_READ, or with PROT_WRITE. size: not beyond the file's end.
     * Returns false, with errno set, and maps nothing, on failure.
     */
    bool map(int fd, size_t size, int rights);

    explicit operator bool() const { return data_ != nullptr; }
    void *data() const { return data_; }
    size_t size() const { return size_; }

    /* Hands the memory over to the caller, who calls unmap. */
    [[nodiscard]] void *take() { return std::exchange(data_, nullptr); }
    static void unmap(void *data, size_t size);

    void reset();

  private:
    void *data_ = nullptr;
    size_t size_ = 0;
};
