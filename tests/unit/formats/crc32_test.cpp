#include "formats/crc32.h"

#include <gtest/gtest.h>

#include <string>

namespace {

uint32_t crc_of(std::string_view bytes) {
    Crc32 crc;
    crc.add(bytes);
    return crc.value();
}

/* The figures of zlib's crc32. */
TEST(Crc32, IsThatOfZlib) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(0u, crc_of(""));
    EXPECT_EQ(0xCBF43926u, crc_of("123456789"));
    EXPECT_EQ(0xCAB11777u, crc_of(std::string(32, 'a')));
    EXPECT_EQ(0x29058C73u, crc_of(all));
}

TEST(Crc32, OfPiecesIsThatOfTheWhole) {
    Crc32 crc;
    for (const char *piece : {"1234", "", "5", "6789"}) {
        crc.add(piece);
    }
    EXPECT_EQ(0xCBF43926u, crc.value());
}

}  // namespace
