/*
 * The CRC-32 of zlib, gzip and PNG: polynomial 0xEDB88320, all bits inverted at both ends. Pure.
 *
 * A table here costs less than a library on each of the three architectures, and this layer is linked with
 * nothing.
 */
#pragma once

#include <cstdint>
#include <string_view>

class Crc32 {
  public:
    void add(std::string_view bytes);

    /* That of all bytes so far. */
    uint32_t value() const { return ~state_; }

  private:
    uint32_t state_ = 0xFFFFFFFF;
};
