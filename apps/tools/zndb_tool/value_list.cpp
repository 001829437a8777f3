#include "zndb_tool/value_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frwk_utils.h"

namespace {

/* Each character of an item needs at most five characters. */
constexpr size_t kLongestEscape = 5;

}  // namespace

std::vector<std::string> split_list(const std::string &text) {
    if (text.empty()) {
        return {};
    }
    std::vector<std::string> items(static_cast<size_t>(std::count(text.begin(), text.end(), ',')) + 1);
    std::string storage = text;
    char *next = storage.data();
    for (std::string &item : items) {
        std::string decoded(text.size() + 1, '\0');
        (void)frwk_zndb_get_value(next, FRWK_DATA_TYPE_STRING, decoded.data(),
                                  static_cast<uint32_t>(decoded.size()), &next);
        decoded.resize(std::strlen(decoded.c_str()));
        item = std::move(decoded);
    }
    return items;
}

std::string join_list(const std::vector<std::string> &items) {
    size_t room = 2;
    for (const std::string &item : items) {
        room += item.size() * kLongestEscape + 2;
    }
    std::string storage(room, '\0');
    frwk_codec_buf_t list = {static_cast<uint32_t>(room), 0, storage.data()};
    for (size_t i = 0; i < items.size(); ++i) {
        (void)frwk_zndb_add_value(&list, FRWK_DATA_TYPE_STRING, items[i].c_str(), i == 0 ? 1 : 0);
    }
    return storage.substr(0, list.len);
}
