/*
 * The bodies byte by byte, put together here and never by the product's own records.
 */
#include "formats/zndb_wire.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

/* A set as it travels: the key at 0, the value at 32, 1056 bytes, zero elsewhere. */
std::string set_bytes(const std::string &key, const std::string &value) {
    std::string bytes(1056, '\0');
    bytes.replace(0, key.size(), key);
    bytes.replace(32, value.size(), value);
    return bytes;
}

std::string bytes_of(const zndb_kv_t &body) {
    return {reinterpret_cast<const char *>(&body), sizeof(body)};
}

bool reads_set(const std::string &bytes, Entry &entry) {
    return read_set_body(bytes.data(), static_cast<int32_t>(bytes.size()), entry);
}

/* The key of a body, or a mark for a refused body. */
std::string key_of(const std::string &bytes) {
    std::string_view key = "unchanged";
    const bool read = read_key_body(bytes.data(), static_cast<int32_t>(bytes.size()), key);
    return std::string(read ? "" : "refused, ") + std::string(key);
}

}  // namespace

TEST(ZndbWire, ASetIsTheKeyAndTheValueAtTheirPlaces) {
    EXPECT_EQ(set_bytes("key", "value"), bytes_of(set_body({"key", "value"})));
    EXPECT_EQ(set_bytes("k", ""), bytes_of(set_body({"k", ""})));
}

TEST(ZndbWire, ASetTakesTheLongestTexts) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    const std::string bytes = bytes_of(set_body({key, value}));
    EXPECT_EQ(set_bytes(key, value), bytes);
    Entry entry;
    ASSERT_TRUE(reads_set(bytes, entry));
    EXPECT_EQ(key, entry.key);
    EXPECT_EQ(value, entry.value);
}

TEST(ZndbWire, TextsOfASetEndAtTheirNul) {
    Entry entry;
    const std::string bytes = set_bytes(std::string("key\0left", 8), std::string("value\0over", 10));
    ASSERT_TRUE(reads_set(bytes, entry));
    EXPECT_EQ("key", entry.key);
    EXPECT_EQ("value", entry.value);
}

TEST(ZndbWire, ASetOfAnotherFormIsRefused) {
    Entry entry = {"old", "value"};
    const std::string good = set_bytes("key", "value");
    EXPECT_FALSE(reads_set(good.substr(1), entry));
    EXPECT_FALSE(reads_set(good + '\0', entry));
    EXPECT_FALSE(reads_set(set_bytes(std::string(32, 'k'), "value"), entry));
    EXPECT_FALSE(reads_set(set_bytes("key", std::string(1024, 'v')), entry));
    EXPECT_FALSE(read_set_body(nullptr, 1056, entry));
    EXPECT_EQ("old", entry.key);
    EXPECT_EQ("value", entry.value);
}

TEST(ZndbWire, AGetIsTheKeyWithItsNul) {
    EXPECT_EQ(4u, key_body_size("key"));
    EXPECT_EQ("key", key_of(std::string("key\0", 4)));
    EXPECT_EQ(std::string(31, 'k'), key_of(std::string(31, 'k') + '\0'));
}

TEST(ZndbWire, AGetOfAnotherFormIsRefused) {
    EXPECT_EQ("refused, unchanged", key_of(""));
    EXPECT_EQ("refused, unchanged", key_of(std::string(1, '\0')));
    EXPECT_EQ("refused, unchanged", key_of(std::string("\0\0", 2)));
    EXPECT_EQ("refused, unchanged", key_of("key"));
    EXPECT_EQ("refused, unchanged", key_of(std::string("key\0\0", 5)));
    EXPECT_EQ("refused, unchanged", key_of(std::string(32, 'k') + '\0'));
    std::string_view key;
    EXPECT_FALSE(read_key_body(nullptr, 4, key));
    EXPECT_FALSE(read_key_body("key", -4, key));
}

TEST(ZndbWire, ASavesAnswerIsTwoWords) {
    const SaveResults results = {E_APPS_ERR_NOSPACE, 2003};
    const int32_t words[] = {6, 2003};
    EXPECT_EQ(0, std::memcmp(words, &results, sizeof(words)));
}
