/*
 * The example of docs/backup-format.md, generated and read back.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "system/backup/backup_fixture.h"

namespace {

constexpr size_t kPerLine = 16;
constexpr size_t kHexColumn = 10;

std::string hex(const std::string &bytes, const char *between) {
    std::string text;
    for (const char byte : bytes) {
        char digits[3];
        (void)std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
        text += (text.empty() ? "" : between) + std::string(digits);
    }
    return text;
}

/* Bytes as the page shows them: offset, sixteen bytes, and those of them that are letters. */
std::string dump(const std::string &bytes) {
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += kPerLine) {
        const std::string part = bytes.substr(at, kPerLine);
        std::string letters = part;
        std::replace_if(
            letters.begin(), letters.end(), [](unsigned char c) { return std::isprint(c) == 0; }, '.');
        std::string digits = hex(part, " ");
        digits.resize(3 * kPerLine - 1, ' ');
        char offset[24];
        (void)std::snprintf(offset, sizeof(offset), "%08zx", at);
        text += std::string(offset) + "  " + digits + "  " + letters + "\n";
    }
    return text;
}

/* The bytes that a dump shows. */
std::string bytes_of(const std::string &dumped) {
    std::string bytes;
    std::istringstream lines(dumped);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream digits(line.substr(kHexColumn, 3 * kPerLine - 1));
        for (std::string byte; digits >> byte;) {
            bytes += static_cast<char>(std::strtoul(byte.c_str(), nullptr, 16));
        }
    }
    return bytes;
}

/* The page's one block of bytes. */
std::string example_of_the_page() {
    const std::string page = file_text(PAGE);
    const std::string opening = "```hex\n";
    const size_t begin = page.find(opening);
    const size_t end = page.find("```", begin + opening.size());
    EXPECT_NE(std::string::npos, end);
    return page.substr(begin + opening.size(), end - begin - opening.size());
}

class BackupPage : public BackupSystem {
  protected:
    void SetUp() override { start_with("ssid=home\nwebs_backup_account=true\n"); }
};

TEST_F(BackupPage, ShowsTheBytesThatADeviceWrites) {
    write_file(kAccounts, "admin:x\n");
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    const std::string bytes = deciphered(kBackup);
    EXPECT_EQ(dump(bytes), example_of_the_page());

    const std::string page = file_text(PAGE);
    const std::string end = bytes.substr(bytes.size() - 24);
    EXPECT_NE(std::string::npos, page.find("`" + hex(end.substr(0, 4), " ") + "`"));
    EXPECT_NE(std::string::npos, page.find("`" + hex(end.substr(4, 16), "") + "`"));
    EXPECT_NE(std::string::npos, page.find("`" + hex(end.substr(20), " ") + "`"));
}

TEST_F(BackupPage, ShowsBytesThatADeviceTakes) {
    const std::string bytes = bytes_of(example_of_the_page());
    EXPECT_EQ(example_of_the_page(), dump(bytes));
    write_file(kDataManager, "made since");
    ASSERT_EQ(0, zndb_set("ssid", "away"));

    write_enciphered(kBackup, bytes);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_EQ("admin:x\n", file_text(kAccounts));
    EXPECT_FALSE(std::filesystem::exists(kDataManager));
}

}  // namespace
