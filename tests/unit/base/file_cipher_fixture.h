/*
 * A file under the product's key, and its encrypted and decrypted forms.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "cipher.h"
#include "support/folder_names.h"
#include "support/open_descriptors.h"
#include "support/temp_folder.h"
#include "unit/base/product_key_fixture.h"

/* The sizes of the header before the chunks, of a full chunk's content, and of a chunk's seal. */
inline constexpr size_t kBeginningSize = 36;
inline constexpr size_t kChunkSize = 65536;
inline constexpr size_t kSealSize = 17;
inline constexpr size_t kSealedChunkSize = kChunkSize + kSealSize;

/* The same bytes for each size, and no two chunks alike. */
inline std::string some_content(size_t size) {
    std::mt19937 random(4713);
    std::string content(size, '\0');
    for (char &byte : content) {
        byte = static_cast<char>(random());
    }
    return content;
}

class FileCipherTest : public ProductKeyTest {
  protected:
    void SetUp() override {
        ProductKeyTest::SetUp();
        descriptors_before_ = open_descriptors();
    }

    /* No call of a test leaks a descriptor. */
    void TearDown() override {
        ProductKeyTest::TearDown();
        EXPECT_EQ(descriptors_before_, open_descriptors());
    }

    std::string path() const { return folder_.path("file"); }

    void put(const std::string &content) const { folder_.file("file", content); }

    std::string content() const { return key_file_bytes(path().c_str()); }

    int32_t encipher() const { return zn_encrypt_file_ex(path().c_str()); }

    int32_t decipher() const { return zn_decrypt_file_ex(path().c_str()); }

    /* The encrypted form of a content. */
    std::string enciphered(const std::string &plain) const {
        put(plain);
        EXPECT_EQ(1, encipher());
        return content();
    }

    /* The decrypted content of a file with these bytes. */
    std::string deciphered(const std::string &bytes) const {
        put(bytes);
        EXPECT_EQ(1, decipher());
        return content();
    }

    /* Whether a file with these bytes is refused and unchanged, and is the only file in its folder. */
    bool is_refused(const std::string &bytes) const {
        put(bytes);
        return decipher() == 0 && content() == bytes && stands_alone();
    }

    /* The names in the file's folder. */
    std::vector<std::string> names() const { return names_in(folder_.path()); }

    bool stands_alone() const { return names() == std::vector<std::string>{"file"}; }

    const TempFolder folder_;

  private:
    size_t descriptors_before_ = 0;
};
