/*
 * The memory for encrypting and decrypting a large file. LARGE_FILE: its size in bytes.
 *
 * The file is sparse and contains only zeros. Decrypted zeros are left out again, so that only the encrypted
 * form needs disk space.
 */
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "os_file.h"
#include "unit/base/file_cipher_fixture.h"

namespace {

bool is_zeros(const void *data, size_t size) {
    const auto *bytes = static_cast<const char *>(data);
    return std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; });
}

ssize_t write_or_leave_out(int fd, const void *data, size_t size) {
    if (!is_zeros(data, size)) {
        return doubles::libc::write.real(fd, data, size);
    }
    const off_t end = lseek(fd, static_cast<off_t>(size), SEEK_CUR);
    return end >= 0 && ftruncate(fd, end) == 0 ? static_cast<ssize_t>(size) : -1;
}

class FileCipherMemory : public FileCipherTest {
  protected:
    void SetUp() override {
        FileCipherTest::SetUp();
        put("");
        ASSERT_EQ(0, truncate(path().c_str(), off_t{LARGE_FILE}));
        doubles::libc::write.stand_in(write_or_leave_out);
    }

    uint64_t size() const { return os_file_size(path().c_str()); }

    bool comes_back() const {
        return encipher() == 1 && size() > LARGE_FILE && decipher() == 1 && size() == LARGE_FILE;
    }
};

TEST_F(FileCipherMemory, IsTwoChunksForALargeFile) {
    size_t taken = 0;
    doubles::base::os_mem_malloc.stand_in([&taken](size_t size) {
        taken += size;
        return doubles::base::os_mem_malloc.real(size);
    });
    EXPECT_TRUE(comes_back());
    EXPECT_EQ(2 * (kChunkSize + kSealedChunkSize), taken);
}

#ifndef SANITIZED

constexpr size_t kMebibyte = 1u << 20;

bool can_allocate(size_t size) {
    void *block = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block != MAP_FAILED && munmap(block, size) == 0;
}

/* Limits the private memory of the process, libraries included. */
bool limit_data(size_t size) {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_DATA, &limit) != 0) {
        return false;
    }
    limit.rlim_cur = size;
    return setrlimit(RLIMIT_DATA, &limit) == 0;
}

/* From now on the process can't get so much memory more. The loop finds out what it has. */
bool limit_growth(size_t size) {
    size_t limit = kMebibyte; /* the system takes 0 for no limit */
    while (limit_data(limit) && !can_allocate(kMebibyte)) {
        limit += kMebibyte;
    }
    return limit_data(limit + size - 2 * kMebibyte) && !can_allocate(size);
}

TEST_F(FileCipherMemory, OfTheWholeProcessGrowsByLessThan8MiB) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(limit_growth(8 * kMebibyte) && comes_back() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_EQ(0, status);
}

#endif

}  // namespace
