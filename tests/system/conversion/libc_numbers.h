/*
 * What a 32-bit C library reads from a text, as it travels from the reference program to the test: 40 bytes,
 * laid out alike in 32-bit and 64-bit programs.
 */
#ifndef QUOR_LIBC_NUMBERS_H
#define QUOR_LIBC_NUMBERS_H

#include <stdint.h>

/* The most bytes of texts in one request, their NULs included. */
#define REFERENCE_BLOCK_MAX (256u * 1024u)

struct libc_numbers {
    int64_t of_strtoll;
    uint64_t of_strtoull;
    uint64_t of_strtod; /* the double's bits */
    int32_t of_strtol;
    uint32_t of_strtoul;
    uint32_t of_strtod_cast; /* the bits of the double cast to float */
    uint32_t reserved;       /* 0 */
};

#endif
