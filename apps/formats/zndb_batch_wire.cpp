#include "formats/zndb_batch_wire.h"

bool ZndbBatchItems::add(const ZndbItem &item) {
    if (count_ == items_.size()) {
        return false;
    }
    items_[count_++] = item;
    return true;
}

bool read_batch_body(const void *body, int32_t size, ZndbBatchItems &items) {
    if (body == nullptr || size <= 0) {
        return false;
    }
    ZndbItems bytes(body, static_cast<size_t>(size));
    ZndbItem item = {};
    while (bytes.next(item)) {
        if (!items.add(item)) {
            return false;
        }
    }
    return bytes.at_end();
}
