#include "formats/crc32.h"

#include <array>
#include <cstddef>

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;

constexpr std::array<uint32_t, 256> make_table() {
    std::array<uint32_t, 256> table = {};
    for (uint32_t byte = 0; byte < table.size(); ++byte) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? kPolynomial : 0);
        }
        table[byte] = value;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kTable = make_table();

}  // namespace

void Crc32::add(std::string_view bytes) {
    for (const char each : bytes) {
        state_ = (state_ >> 8) ^ kTable[(state_ ^ static_cast<unsigned char>(each)) & 0xFF];
    }
}
