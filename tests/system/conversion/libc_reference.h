/*
 * The reference program, running beside the test.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/unique_fd.h"
#include "system/conversion/libc_numbers.h"

class LibcReference {
  public:
    /* Starts the program; ready() returns whether that succeeded. */
    explicit LibcReference(const char *path);

    /* Ends the program and waits for it. */
    ~LibcReference();

    LibcReference(const LibcReference &) = delete;
    LibcReference &operator=(const LibcReference &) = delete;

    bool ready() const { return process_ > 0; }

    /*
     * Returns the numbers that the 32-bit C library reads from texts.
     *
     * texts: each with its NUL, one after the other; at most REFERENCE_BLOCK_MAX bytes.
     * Returns count answers, or none when the program failed.
     */
    std::vector<libc_numbers> ask(const std::string &texts, size_t count);

  private:
    UniqueFd channel_;
    pid_t process_ = -1;
};
