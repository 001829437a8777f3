#include "formats/zndb_view_block.h"

namespace view {

namespace {

bool is_power_of_two(uint32_t number) {
    return number != 0 && (number & (number - 1)) == 0;
}

}  // namespace

std::optional<Block> Block::open(const void *bytes, size_t size) {
    if (size < sizeof(Head) + kTailSize || size > INT32_MAX || size % kWord != 0) {
        return std::nullopt;
    }
    const Block head_only(bytes, static_cast<uint32_t>(size), 0);
    const uint32_t chains = head_only.head(offsetof(Head, chains));
    const bool is_block = head_only.is_whole() && head_only.head(offsetof(Head, format)) == kFormat &&
                          head_only.head(offsetof(Head, size)) == size && is_power_of_two(chains) &&
                          chains <= (size - sizeof(Head) - kTailSize) / kWord;
    return is_block ? std::optional(Block(bytes, static_cast<uint32_t>(size), chains)) : std::nullopt;
}

}  // namespace view
