/*
 * MD5 with libmd. Only this file uses that library.
 */
#include "md5.h"

#include <cstddef>
#include <cstring>

#include "support/file_io.h"
#include "support/unique_fd.h"

/* libmd's header has the same name as ours, so the build defines its path. */
#include LIBMD_HEADER

namespace {

constexpr size_t kPieceSize = 16384;

static_assert(MD5_DIGEST_SIZE == MD5_DIGEST_LENGTH);
static_assert(MD5_TEXT_SIZE == 2 * MD5_DIGEST_SIZE + 1);

bool add_file(int fd, MD5_CTX *context) {
    uint8_t piece[kPieceSize];
    size_t count = 0;
    do {
        if (!file_io::read_up_to(fd, piece, sizeof(piece), &count)) {
            return false;
        }
        MD5Update(context, piece, count);
    } while (count == sizeof(piece));
    return true;
}

void write_hex(const uint8_t *digest, char *text) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < MD5_DIGEST_SIZE; ++i) {
        *text++ = kDigits[digest[i] >> 4];
        *text++ = kDigits[digest[i] & 0xF];
    }
    *text = '\0';
}

}  // namespace

int32_t md5_encrypt_file(const char *path, uint8_t digest[MD5_DIGEST_SIZE]) {
    if (path == nullptr || digest == nullptr) {
        return 0;
    }
    struct stat found;
    const UniqueFd fd = file_io::open_regular(path, &found);
    if (!fd) {
        return 0;
    }

    MD5_CTX context;
    MD5Init(&context);
    if (!add_file(fd.get(), &context)) {
        return 0;
    }
    MD5Final(digest, &context);
    return 1;
}

int32_t md5_encrypt_file_str(const char *path, char *text) {
    if (text == nullptr) {
        return 0;
    }
    text[0] = '\0';

    uint8_t digest[MD5_DIGEST_SIZE];
    if (md5_encrypt_file(path, digest) == 0) {
        return 0;
    }
    write_hex(digest, text);
    return 1;
}
