/*
 * A codec list that is being written, one that is being read, and whole ones.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frwk_utils.h"

/* A list's storage, in a block of exactly its size, so that a sanitizer detects an access past it. */
class List {
  public:
    explicit List(uint32_t size, char fill = '\0') : storage_(new char[size]), buf_{size, 0, storage_.get()} {
        std::memset(storage_.get(), fill, size);
    }

    /* Fills the storage up to its len with x. */
    List &holding(uint32_t len) {
        std::memset(storage_.get(), 'x', std::min(len, buf_.size));
        buf_.len = len;
        return *this;
    }

    apps_err_e_type add(const std::string &text, bool first) {
        return frwk_zndb_add_value(&buf_, FRWK_DATA_TYPE_STRING, text.c_str(), first ? 1 : 0);
    }
    apps_err_e_type add_int(int32_t value, bool first) {
        return frwk_zndb_add_value(&buf_, FRWK_DATA_TYPE_INT, &value, first ? 1 : 0);
    }

    frwk_codec_buf_t *buf() { return &buf_; }
    uint32_t len() const { return buf_.len; }
    std::string text() const { return std::string(buf_.data, buf_.len); }
    std::string bytes() const { return std::string(buf_.data, buf_.size); }

  private:
    std::unique_ptr<char[]> storage_;
    frwk_codec_buf_t buf_;
};

/* A list that is being read, in a block that ends with its NUL. */
class Reader {
  public:
    explicit Reader(const std::string &text) : text_(new char[text.size() + 1]), next_(text_.get()) {
        std::memcpy(text_.get(), text.c_str(), text.size() + 1);
    }

    std::string take(apps_err_e_type expected = E_APPS_ERR_SUCCESS) {
        char item[1024] = "untouched";
        EXPECT_EQ(expected, frwk_zndb_get_value(next_, FRWK_DATA_TYPE_STRING, item, sizeof(item), &next_));
        return item;
    }
    int32_t take_int() {
        int32_t value = -1;
        EXPECT_EQ(E_APPS_ERR_SUCCESS,
                  frwk_zndb_get_value(next_, FRWK_DATA_TYPE_INT, &value, sizeof(value), &next_));
        return value;
    }

    char *text() { return text_.get(); }
    char *next() { return next_; }
    ptrdiff_t offset() const { return next_ - text_.get(); }

  private:
    std::unique_ptr<char[]> text_;
    char *next_;
};

inline std::string first_item(const std::string &list) {
    return Reader(list).take();
}

/* A list of items that need no escaping. */
inline std::string joined(const std::vector<std::string> &items) {
    std::string list;
    for (size_t i = 0; i < items.size(); ++i) {
        list += (i == 0 ? "" : ",") + items[i];
    }
    return list;
}

/* The same with another item at an index. */
inline std::string list_with(std::vector<std::string> items, size_t index, const std::string &item) {
    items.at(index) = item;
    return joined(items);
}
