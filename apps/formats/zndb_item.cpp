#include "formats/zndb_item.h"

#include <cstring>

namespace {

bool is_well_formed(const zndb_item_head &head) {
    if (head.kind > static_cast<uint8_t>(ItemKind::kExpectMissing) ||
        head.store > static_cast<uint8_t>(StoreId::kFactory) || head.unused != 0) {
        return false;
    }
    const uint32_t value_max = has_value(static_cast<ItemKind>(head.kind)) ? ZNDB_VALUE_LEN - 1 : 0;
    return head.key_size < ZNDB_KEY_LEN && head.value_size <= value_max;
}

}  // namespace

void write_item(void *to, const ZndbItem &item) {
    const zndb_item_head head = {static_cast<uint8_t>(item.kind), static_cast<uint8_t>(item.store),
                                 static_cast<uint8_t>(item.key.size()), 0,
                                 static_cast<uint32_t>(item.value.size())};
    auto *bytes = static_cast<char *>(to);
    std::memcpy(bytes, &head, sizeof(head));
    bytes += sizeof(head);
    bytes += item.key.copy(bytes, item.key.size());
    (void)item.value.copy(bytes, item.value.size());
}

bool ZndbItems::next(ZndbItem &item) {
    zndb_item_head head = {};
    if (left_ < sizeof(head)) {
        return false;
    }
    std::memcpy(&head, next_, sizeof(head));
    if (!is_well_formed(head) || left_ - sizeof(head) < head.key_size + head.value_size) {
        return false;
    }

    const char *key = next_ + sizeof(head);
    item = {static_cast<ItemKind>(head.kind),
            static_cast<StoreId>(head.store),
            {key, head.key_size},
            {key + head.key_size, head.value_size}};
    next_ += item_size(item);
    left_ -= item_size(item);
    return true;
}
