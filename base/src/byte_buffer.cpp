/*
 * A growing byte buffer: one tracked block, which is replaced by a larger one.
 */
#include "byte_buffer.h"

#include <cstddef>
#include <cstring>

#include "os_mem.h"

int32_t zn_bf_init(zn_bf_t *buf, uint32_t size) {
    if (buf == nullptr) {
        return 0;
    }
    *buf = zn_bf_t{};
    return size == 0 ? 1 : zn_bf_grow(buf, size);
}

int32_t zn_bf_grow(zn_bf_t *buf, uint32_t size) {
    if (buf == nullptr || size >= OS_MEM_BLOCK_MAX) {
        return 0;
    }
    if (buf->data != nullptr && size <= buf->capacity) {
        return 1;
    }

    auto *block = static_cast<char *>(os_mem_malloc(size + size_t{1}));
    if (block == nullptr) {
        return 0;
    }
    if (buf->data != nullptr) {
        memcpy(block, buf->data, buf->length);
        os_mem_free(buf->data);
    }
    buf->data = block;
    buf->capacity = size;
    return 1;
}

void zn_bf_free(zn_bf_t *buf) {
    if (buf != nullptr) {
        os_mem_free(buf->data);
        *buf = zn_bf_t{};
    }
}
