#include "formats/way_back_text.h"

#include <gtest/gtest.h>

namespace {

WayBack parsed(const std::string &text) {
    WayBack way_back;
    EXPECT_TRUE(parse_way_back(text, way_back)) << text;
    return way_back;
}

bool is_read(const std::string &text) {
    WayBack way_back;
    return parse_way_back(text, way_back);
}

const WayBack kApplied = {false,
                          false,
                          false,
                          "",
                          {{StoreId::kPlain, "a", "1", "2"},
                           {StoreId::kPerm, "b", std::nullopt, "new"},
                           {StoreId::kFactory, "c", "old", std::nullopt}}};

const std::string kAppliedText = "zndb way-back 1\n<P+a=1\n>P+a=2\n<M-b\n>M+b=new\n<F+c=old\n>F-c\n=7\n";

}  // namespace

TEST(WayBackText, HasEachKeyAsItWasAndAsItIs) {
    EXPECT_EQ(kAppliedText, format_way_back(kApplied));
    const WayBack way_back = parsed(kAppliedText);
    ASSERT_EQ(3u, way_back.changes.size());
    EXPECT_EQ("1", way_back.changes[0].before);
    EXPECT_EQ("2", way_back.changes[0].after);
    EXPECT_EQ(StoreId::kPerm, way_back.changes[1].store);
    EXPECT_EQ(std::nullopt, way_back.changes[1].before);
    EXPECT_EQ("c", way_back.changes[2].key);
    EXPECT_EQ(std::nullopt, way_back.changes[2].after);
    EXPECT_FALSE(way_back.is_kept || way_back.is_whole || way_back.plain_was_reset);
    EXPECT_EQ(kAppliedText, format_way_back(way_back));
}

TEST(WayBackText, OfAWholeStoreHasTheFilesAndOnlyWhatWas) {
    const WayBack whole = {true, true, false, "+-+", {{StoreId::kPlain, "a", "1", std::nullopt}}};
    const std::string text = "zndb way-back 1\nkept\nwhole\nfiles +-+\n<P+a=1\n=5\n";
    EXPECT_EQ(text, format_way_back(whole));
    const WayBack way_back = parsed(text);
    EXPECT_TRUE(way_back.is_kept && way_back.is_whole);
    EXPECT_EQ("+-+", way_back.files);
}

TEST(WayBackText, SaysThatThePlainStoreWasReset) {
    WayBack reset = kApplied;
    reset.plain_was_reset = true;
    EXPECT_TRUE(parsed(format_way_back(reset)).plain_was_reset);
}

TEST(WayBackText, OfNoChangeIsAWayBackToo) {
    EXPECT_TRUE(is_read("zndb way-back 1\nwhole\n=2\n"));
}

TEST(WayBackText, CutAnywhereIsRefused) {
    for (size_t size = 0; size < kAppliedText.size(); ++size) {
        EXPECT_FALSE(is_read(kAppliedText.substr(0, size))) << size;
    }
}

TEST(WayBackText, MalformedIsRefused) {
    for (const char *text :
         {"=0\n", "zndb way-back 2\n=1\n", "zndb way-back 1\n=2\n", "zndb way-back 1\n\n=2\n",
          "zndb way-back 1\nother\n=2\n", "zndb way-back 1\nfiles x\n=2\n", "zndb way-back 1\n<P!\n=2\n",
          "zndb way-back 1\n<Q+a=1\n=2\n", "zndb way-back 1\n>P+a=1\n=2\n",
          "zndb way-back 1\n<P+a=1\n>P+b=1\n=3\n", "zndb way-back 1\n<P+a=1\n>M+a=1\n=3\n",
          "zndb way-back 1\n<P+a=1\nkept\n=3\n", "zndb way-back 1\n<P+a=1\n=2\nmore\n"}) {
        EXPECT_FALSE(is_read(text)) << text;
    }
}

TEST(WayBackText, HasAtMostTheKeysOfAFullStore) {
    WayBack way_back;
    way_back.is_whole = true;
    way_back.changes.assign(kWayBackChangesMax, {StoreId::kPlain, "k", "v", std::nullopt});
    EXPECT_TRUE(is_read(format_way_back(way_back)));
    way_back.changes.push_back(way_back.changes[0]);
    EXPECT_FALSE(is_read(format_way_back(way_back)));
}
