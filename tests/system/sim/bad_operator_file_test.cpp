/*
 * Malformed operator files, and their effect on the real database.
 */
#include <gtest/gtest.h>

#include <string>

#include "support/random_bytes.h"
#include "system/sim/sim_device.h"

using namespace std::string_literals;

namespace {

class BadOperatorFile : public SimDevice {
  protected:
    /* Applies a file at boot. Returns whether the run counts as successful. */
    bool applies(const std::string &content) {
        put_file("46001/custom_data.txt", content);
        insert_sim("460", "01");
        power_on();
        adapt(kBoot);
        EXPECT_EQ(logged("sim subnet adapt failed") ? "2" : "1", status());
        EXPECT_EQ("46001", perm("mnet_sim_subnet_plmn"));
        return !logged("sim subnet adapt failed");
    }
};

const std::string kLongestPair = std::string(31, 'k') + "=" + std::string(1023, 'v');

TEST_F(BadOperatorFile, Empty) {
    EXPECT_FALSE(applies(""));
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", perm("mnet_sim_subnet_md5"));
}

TEST_F(BadOperatorFile, Binary) {
    EXPECT_TRUE(applies("apn=internet\n" + random_bytes(20000)));
    EXPECT_EQ("internet", perm("apn"));
}

TEST_F(BadOperatorFile, OfTenMegabytes) {
    std::string content = std::string(10u << 20, 'x') + "\n";
    EXPECT_TRUE(applies(content + "apn=internet\n"));
    EXPECT_EQ("internet", perm("apn"));
}

TEST_F(BadOperatorFile, WithALineOf1055Characters) {
    ASSERT_EQ(1055u, kLongestPair.size());
    EXPECT_TRUE(applies(kLongestPair + "\napn=internet\n"));
    EXPECT_EQ(std::string(1023, 'v'), perm(std::string(31, 'k')));
    EXPECT_EQ("internet", perm("apn"));
}

TEST_F(BadOperatorFile, WithALineOf1056Characters) {
    EXPECT_TRUE(applies(kLongestPair + "w\napn=internet\n"));
    EXPECT_EQ("ret 3", perm(std::string(31, 'k')));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ(1u, count_logged("buf is kkk"));
}

TEST_F(BadOperatorFile, WithALineOf1057Characters) {
    EXPECT_TRUE(applies(kLongestPair + "ww\napn=internet\n"));
    EXPECT_EQ("ret 3", perm(std::string(31, 'k')));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ(1u, count_logged("buf is kkk"));
    EXPECT_EQ(1u, count_logged("not found '='"));
}

TEST_F(BadOperatorFile, WithNulBytes) {
    EXPECT_TRUE(applies("apn=inter\0net\nmode=4G\n\0late=1\nlater=1\n"s));
    EXPECT_EQ("inter", perm("apn"));
    EXPECT_EQ("4G", perm("mode"));
    EXPECT_EQ("ret 3", perm("later"));
    EXPECT_TRUE(logged("subnet data format error, data=0"));
}

TEST_F(BadOperatorFile, WithCrLfAndNoLastLineEnd) {
    EXPECT_TRUE(applies("\r\n# a comment\r\napn=internet\r\nmode=4G"));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("4G", perm("mode"));
}

TEST_F(BadOperatorFile, WithPairsThatTheDatabaseRefuses) {
    EXPECT_TRUE(applies("=no key\n" + std::string(32, 'k') + "=key too long\nkey=" + std::string(1024, 'v') +
                        "\napn=internet\n"));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("ret 3", perm("key"));
}

}  // namespace
