#include "formats/zndb_list_wire.h"

#include <cstring>

#include "formats/text_field.h"

namespace {

const void *items_of(const void *bytes, size_t size) {
    const size_t head = size < sizeof(zndb_list_head) ? size : sizeof(zndb_list_head);
    return static_cast<const char *>(bytes) + head;
}

size_t items_size(size_t size) {
    return size < sizeof(zndb_list_head) ? 0 : size - sizeof(zndb_list_head);
}

}  // namespace

zndb_list_request list_body(const ListRequest &request) {
    zndb_list_request body = {};
    body.store = static_cast<uint32_t>(request.store);
    body.listed = static_cast<uint32_t>(request.listed);
    (void)request.prefix.copy(body.prefix, sizeof(body.prefix) - 1);
    (void)request.after.copy(body.after, sizeof(body.after) - 1);
    return body;
}

bool read_list_body(const void *body, int32_t size, ListRequest &request) {
    if (body == nullptr || size != static_cast<int32_t>(sizeof(zndb_list_request))) {
        return false;
    }
    const auto *bytes = static_cast<const char *>(body);
    zndb_list_request words;
    std::memcpy(&words, bytes, sizeof(words));
    ListRequest read = {static_cast<StoreId>(words.store), static_cast<Listed>(words.listed), {}, {}};
    if (words.store > static_cast<uint32_t>(StoreId::kFactory) ||
        words.listed > static_cast<uint32_t>(Listed::kUnsaved) ||
        !field_text(bytes + offsetof(zndb_list_request, prefix), ZNDB_KEY_LEN, read.prefix) ||
        !field_text(bytes + offsetof(zndb_list_request, after), ZNDB_KEY_LEN, read.after)) {
        return false;
    }
    request = read;
    return true;
}

ListPage::ListPage(void *buffer, size_t size) : buffer_(static_cast<unsigned char *>(buffer)), size_(size) {
    write_head();
}

void ListPage::write_head() {
    std::memcpy(buffer_, &head_, sizeof(head_));
}

void ListPage::mark(uint32_t flag) {
    head_.flags |= flag;
    write_head();
}

bool ListPage::add(const ZndbItem &item) {
    if (item_size(item) > size_ - used_) {
        mark(kListGoesOn);
        return false;
    }
    write_item(buffer_ + used_, item);
    used_ += item_size(item);
    ++head_.count;
    write_head();
    return true;
}

ListedPage::ListedPage(const void *bytes, size_t size) : items_(items_of(bytes, size), items_size(size)) {
    zndb_list_head head = {1, 0}; /* of a page without a head, which lacks its item */
    if (size >= sizeof(head)) {
        std::memcpy(&head, bytes, sizeof(head));
    }
    left_ = head.count;
    flags_ = head.flags;
}

bool ListedPage::next(ZndbItem &item) {
    ZndbItem read = {};
    if (left_ == 0 || !items_.next(read) || read.kind > ItemKind::kDelete) {
        return false;
    }
    --left_;
    item = read;
    return true;
}
