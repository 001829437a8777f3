#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "formats/zndb_view_reader.h"
#include "formats/zndb_view_writer.h"

namespace {

using view::Change;
using view::Found;
using view::Next;
using view::Place;
using view::Position;
using Words = std::vector<uint32_t>;

constexpr StoreId P = StoreId::kPlain;
constexpr StoreId M = StoreId::kPerm;
constexpr StoreId F = StoreId::kFactory;

constexpr uint32_t kInstance = 77;
constexpr uint32_t kFirstSerial = 100;

std::string get(const view::Reader &reader, StoreId store, const std::string &key) {
    char value[ZNDB_VALUE_LEN];
    switch (reader.get(store, key, value, sizeof(value))) {
        case Found::kYes:
            return value;
        case Found::kNo:
            return "none";
        case Found::kTooLong:
            return "too long";
        case Found::kBusy:
            return "busy";
        default:
            return "damaged";
    }
}

/* A change as a line. */
std::string line_of(Next next, const Change &change) {
    const std::string key = (change.place == Place::kPerm ? "perm " : "") + std::string(change.key);
    switch (next) {
        case Next::kNothing:
            return "nothing";
        case Next::kSet:
            return key + "=" + change.value;
        case Next::kDeleted:
            return key + " deleted";
        case Next::kReset:
            return "reset";
        case Next::kMissed:
            return "missed";
        case Next::kBusy:
            return "busy";
        default:
            return "damaged";
    }
}

view::Reader reader_of(const Words &words) {
    return view::Reader(view::Block::open(words.data(), words.size() * 4).value());
}

class ZndbView : public testing::Test {
  protected:
    ZndbView() : words_(view::size_for(10, 400) / 4), writer_(make()), reader_(reader_of(words_)) {}

    view::Writer make() {
        view::Writer writer(words_.data(), words_.size() * 4, 10, kInstance, kFirstSerial);
        writer.publish();
        return writer;
    }

    void set(StoreId store, const std::string &key, const std::string &value) {
        writer_.begin();
        EXPECT_TRUE(writer_.set(store, key, value)) << key;
        writer_.end();
    }
    void erase(StoreId store, const std::string &key) {
        writer_.begin();
        EXPECT_TRUE(writer_.erase(store, key)) << key;
        writer_.end();
    }
    void clear() {
        writer_.begin();
        EXPECT_TRUE(writer_.clear(P));
        writer_.end();
    }
    void compact() {
        writer_.begin();
        EXPECT_TRUE(writer_.compact());
        writer_.end();
    }

    std::string plain(const std::string &key) const { return get(reader_, P, key); }
    std::string perm(const std::string &key) const { return get(reader_, M, key); }

    /* The changes since the last call, each followed by a comma. */
    std::string told(const std::string &prefix = "") {
        std::string lines;
        for (;;) {
            Change change = {};
            const Next next = reader_.next(prefix, position_, change);
            if (next == Next::kNothing) {
                return lines;
            }
            lines += line_of(next, change) + ",";
            if (next == Next::kBusy || next == Next::kDamaged) {
                return lines;
            }
        }
    }

    Words words_;
    view::Writer writer_;
    view::Reader reader_;
    Position position_;
};

TEST_F(ZndbView, TheBytesAreThese) {
    set(M, "key", "value");
    const uint32_t head[] = {0x5645495a,       1, 4096, 16, 4, 101, 0x46524553, 77, 0,
                             128 + 12 + 4 + 8, 0, 100,  100};
    for (size_t i = 0; i < std::size(head); ++i) {
        EXPECT_EQ(head[i], words_[i]) << i;
    }
    EXPECT_EQ(1, std::count(words_.begin() + 16, words_.begin() + 32, 128u));
    EXPECT_EQ(0u, words_[32]);
    EXPECT_EQ(101u, words_[33]);
    EXPECT_EQ(3u | 1u << 8 | 0u << 12 | 5u << 16, words_[34]);
    EXPECT_EQ(0x5645495au, words_.back());
    EXPECT_EQ(0, std::memcmp(&words_[35], "key\0value\0\0\0", 12));
}

TEST_F(ZndbView, AReaderFindsWhatTheWriterSets) {
    set(P, "a", "");
    set(P, "longer key", "some value");
    set(P, std::string(31, 'k'), "v");
    EXPECT_EQ("", plain("a"));
    EXPECT_EQ("some value", plain("longer key"));
    EXPECT_EQ("v", plain(std::string(31, 'k')));
    EXPECT_EQ("none", plain("longer ke"));
    EXPECT_EQ("none", plain("longer key "));
    EXPECT_EQ("none", plain(""));
}

TEST_F(ZndbView, APlainKeyFallsBackToTheFactoryOverlayAndThenToTheDefaults) {
    for (const std::string key : {"d", "df", "dfp"}) {
        ASSERT_TRUE(writer_.add(Place::kDefaults, key, "default"));
    }
    set(F, "df", "factory");
    set(P, "dfp", "plain");
    set(F, "dfp", "factory");
    set(M, "d", "perm");
    EXPECT_EQ("default", plain("d"));
    EXPECT_EQ("factory", plain("df"));
    EXPECT_EQ("plain", plain("dfp"));
    EXPECT_EQ("perm", perm("d"));
    EXPECT_EQ("none", perm("df"));
    erase(P, "dfp");
    EXPECT_EQ("factory", plain("dfp"));
    erase(F, "dfp");
    EXPECT_EQ("default", plain("dfp"));
}

TEST_F(ZndbView, AValueThatDoesntFitIsTooLong) {
    set(P, "k", "12345");
    char value[6] = "";
    EXPECT_EQ(Found::kTooLong, reader_.get(P, "k", value, 5));
    EXPECT_EQ(Found::kTooLong, reader_.get(P, "k", value, 0));
    EXPECT_STREQ("", value);
    EXPECT_EQ(Found::kYes, reader_.get(P, "k", value, 6));
    EXPECT_STREQ("12345", value);
}

TEST_F(ZndbView, TheSerialGrowsWithEachChange) {
    EXPECT_EQ(kFirstSerial, reader_.serial());
    set(P, "k", "v");
    EXPECT_EQ(kFirstSerial + 1, reader_.serial());
    erase(P, "k");
    EXPECT_EQ(kFirstSerial + 2, reader_.serial());
    clear();
    EXPECT_EQ(kFirstSerial + 3, reader_.serial());
    writer_.begin();
    EXPECT_TRUE(writer_.set(P, "a", "1"));
    EXPECT_TRUE(writer_.set(P, "b", "1"));
    EXPECT_EQ(kFirstSerial + 3, reader_.serial());
    writer_.end();
    EXPECT_EQ(kFirstSerial + 5, reader_.serial());
}

TEST_F(ZndbView, DuringAChangeAReaderGivesUp) {
    set(P, "k", "old");
    Change change;
    Position position;
    ASSERT_TRUE(reader_.start(position));
    writer_.begin();
    EXPECT_TRUE(writer_.set(P, "k", "new"));
    EXPECT_EQ("busy", plain("k"));
    EXPECT_EQ(Next::kBusy, reader_.next("", position, change));
    EXPECT_FALSE(reader_.start(position));
    writer_.end();
    EXPECT_EQ("new", plain("k"));
}

TEST_F(ZndbView, WithoutRoomNothingChanges) {
    set(P, "k", "old");
    writer_.begin();
    int taken = 0;
    while (writer_.set(P, "k" + std::to_string(taken), std::string(100, 'v'))) {
        ++taken;
    }
    EXPECT_FALSE(writer_.set(P, "k", std::string(100, 'n')));
    writer_.end();
    EXPECT_GT(taken, 20);
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(std::string(100, 'v'), plain("k" + std::to_string(taken - 1)));
    EXPECT_EQ(kFirstSerial + 1 + static_cast<uint32_t>(taken), reader_.serial());
}

TEST_F(ZndbView, MovingTheRecordsTogetherMakesRoomAndKeepsTheValues) {
    set(P, "kept", "before");
    int sets = 0;
    for (writer_.begin(); writer_.set(P, "k", std::to_string(sets)); ++sets) {
    }
    EXPECT_TRUE(writer_.has_garbage());
    EXPECT_TRUE(writer_.compact());
    EXPECT_FALSE(writer_.has_garbage());
    EXPECT_TRUE(writer_.set(P, "after", "v"));
    writer_.end();
    EXPECT_EQ("before", plain("kept"));
    EXPECT_EQ(std::to_string(sets - 1), plain("k"));
    EXPECT_EQ("v", plain("after"));
    EXPECT_EQ(3u, writer_.keys());
    EXPECT_EQ(size_t{12 + 4 + 8 + 12 + 4 + 4 + 12 + 8 + 4}, writer_.used());
}

TEST_F(ZndbView, AnotherBlockTakesTheRecordsOver) {
    set(P, "a", "1");
    set(P, "a", "2");
    erase(P, "gone");
    set(M, "b", "3");
    Words more(view::size_for(100, 4000) / 4);
    view::Writer larger(more.data(), more.size() * 4, 100, kInstance, 1);
    ASSERT_TRUE(larger.take_over(writer_));
    larger.publish();
    ASSERT_TRUE(view::Block::open(more.data(), more.size() * 4));
    const view::Reader reader = reader_of(more);
    EXPECT_EQ("2", get(reader, P, "a"));
    EXPECT_EQ("3", get(reader, M, "b"));
    EXPECT_EQ(reader_.serial(), reader.serial());
    EXPECT_EQ(2u, larger.keys());

    Words less(more.size() / 8);
    view::Writer small(less.data(), 128 + 20, 1, kInstance, 1);
    EXPECT_FALSE(small.take_over(writer_));
}

TEST_F(ZndbView, ARetiredBlockIsStaleAndItsSerialChanges) {
    set(P, "k", "v");
    EXPECT_TRUE(reader_.is_fresh());
    EXPECT_EQ(reader_.serial_word(), view::retire(words_.data()));
    EXPECT_FALSE(reader_.is_fresh());
    EXPECT_EQ(kFirstSerial + 2, *reader_.serial_word());
    Change change;
    EXPECT_EQ(Next::kBusy, reader_.next("", position_, change));
}

TEST_F(ZndbView, WhoWatchesIsToldEachChangeOnce) {
    set(P, "before", "v");
    ASSERT_TRUE(reader_.start(position_));
    EXPECT_EQ("", told());
    set(P, "k", "1");
    EXPECT_EQ("k=1,", told());
    EXPECT_EQ("", told());
    set(M, "k", "2");
    erase(P, "k");
    set(F, "k", "not told");
    EXPECT_EQ("perm k=2,k deleted,", told());
    EXPECT_EQ(reader_.serial(), position_.seen);
}

TEST_F(ZndbView, OfSeveralChangesOfAKeyTheLastIsTold) {
    ASSERT_TRUE(reader_.start(position_));
    set(P, "k", "1");
    set(P, "other", "v");
    set(P, "k", "2");
    erase(P, "gone");
    set(P, "gone", "v");
    erase(P, "gone");
    EXPECT_EQ("other=v,k=2,gone deleted,", told());
}

TEST_F(ZndbView, OnlyKeysWithThePrefixAreTold) {
    ASSERT_TRUE(reader_.start(position_));
    for (const char *key : {"wifi_ssid", "wifi", "wif", "lan_wifi_", "wifi_key"}) {
        set(P, key, "v");
    }
    EXPECT_EQ("wifi_ssid=v,wifi_key=v,", told("wifi_"));
}

TEST_F(ZndbView, WhatWasMovedIsToldOnceToo) {
    set(P, "a", "old");
    set(P, "b", "old");
    ASSERT_TRUE(reader_.start(position_));
    set(P, "c", "1");
    EXPECT_EQ("c=1,", told());
    set(P, "a", "2");
    compact();
    EXPECT_EQ("a=2,", told());
    erase(P, "b");
    compact();
    set(P, "c", "3");
    EXPECT_EQ("b deleted,c=3,", told());
}

TEST_F(ZndbView, AResetIsToldBeforeWhatFollowsIt) {
    ASSERT_TRUE(reader_.start(position_));
    set(P, "k", "before");
    set(M, "p", "kept");
    clear();
    set(P, "k", "after");
    EXPECT_EQ("reset,perm p=kept,k=after,", told());
    EXPECT_EQ("kept", perm("p"));
    EXPECT_EQ("after", plain("k"));
    clear();
    EXPECT_EQ("none", plain("k"));
    EXPECT_EQ("reset,", told("any prefix"));
}

TEST_F(ZndbView, WhoHasMissedForgottenDeletesIsToldSo) {
    for (int i = 0; i < 20; ++i) {
        set(P, "key" + std::to_string(i), "v");
    }
    ASSERT_TRUE(reader_.start(position_));
    Position late = position_;
    for (int i = 0; i < 20; ++i) {
        erase(P, "key" + std::to_string(i));
    }
    compact();
    set(P, "k", "v");
    EXPECT_EQ("missed,", told());
    EXPECT_LE(writer_.used(), 4096u / 16 + 20);

    late.seen = reader_.serial() - 2;
    position_ = late;
    EXPECT_EQ("key19 deleted,k=v,", told());
}

TEST_F(ZndbView, ManyRecordsThatAreNotToldAreSkipped) {
    ASSERT_TRUE(reader_.start(position_));
    writer_.begin();
    for (int i = 0; i < 150; ++i) {
        ASSERT_TRUE(writer_.set(F, "key", ""));
    }
    ASSERT_TRUE(writer_.set(P, "k", "v"));
    writer_.end();
    EXPECT_EQ("k=v,", told());
}

TEST_F(ZndbView, ASerialIsNever0) {
    Words words(words_.size());
    view::Writer writer(words.data(), words.size() * 4, 1, kInstance, UINT32_MAX);
    writer.publish();
    writer.begin();
    EXPECT_TRUE(writer.set(P, "k", "v"));
    writer.end();
    EXPECT_EQ(1u, reader_of(words).serial());
    EXPECT_TRUE(view::is_later(1, UINT32_MAX));
    EXPECT_FALSE(view::is_later(UINT32_MAX, 1));
}

TEST_F(ZndbView, BytesThatAreNoBlockAreRefused) {
    const size_t size = words_.size() * 4;
    EXPECT_TRUE(view::Block::open(words_.data(), size));
    EXPECT_FALSE(view::Block::open(words_.data(), size - 4));
    EXPECT_FALSE(view::Block::open(words_.data(), size - 1));
    EXPECT_FALSE(view::Block::open(words_.data(), 60));
    EXPECT_FALSE(view::Block::open(words_.data(), 0));
    for (const auto &[word, value] :
         {std::pair<size_t, uint32_t>{0, 0}, {1, 2}, {2, 4092}, {3, 0}, {3, 3}, {3, 4096}, {3, 1u << 31}}) {
        Words other = words_;
        other[word] = value;
        EXPECT_FALSE(view::Block::open(other.data(), size)) << word << ": " << value;
    }
}

/* A file that is cut leaves zeros, at least up to the end of its last page. */
TEST_F(ZndbView, ABlockThatIsCutWhileItIsReadIsNotRead) {
    set(P, "k", "v");
    ASSERT_TRUE(reader_.start(position_));
    const Words sound = words_;
    for (const size_t left : {size_t{0}, size_t{1}, size_t{5}, size_t{20}, size_t{34}, size_t{1023}}) {
        words_ = sound;
        std::fill(words_.begin() + static_cast<std::ptrdiff_t>(left), words_.end(), 0);
        EXPECT_FALSE(reader_.is_fresh()) << left;
        EXPECT_FALSE(writer_.is_whole()) << left;
        EXPECT_EQ("busy", plain("k")) << left;
        EXPECT_EQ("busy", plain("none")) << left;
        EXPECT_EQ("busy,", told()) << left;
        EXPECT_FALSE(reader_.start(position_)) << left;
    }
}

TEST_F(ZndbView, ASequenceIsNever0) {
    words_[4] = UINT32_MAX - 1;
    set(P, "k", "v");
    EXPECT_EQ(2u, words_[4]);
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbView, ACircleOfRecordsIsDamage) {
    set(P, "k", "v");
    words_[32] = 128;
    EXPECT_EQ("damaged", get(reader_, M, "k"));
    writer_.begin();
    EXPECT_TRUE(writer_.set(M, "k", "v"));
    writer_.end();
}

TEST_F(ZndbView, ARecordOutsideTheBlockIsDamage) {
    ASSERT_TRUE(reader_.start(position_));
    set(P, "k", "v");
    const Words sound = words_;
    for (const uint32_t form : {32u, 1u | 1024u << 16, 1u | 4u << 8, 1u | 3u << 12}) {
        words_[34] = form;
        EXPECT_EQ("damaged", plain("k")) << form;
        Position position = position_;
        Change change;
        EXPECT_EQ(Next::kDamaged, reader_.next("", position, change));
    }
    for (const uint32_t offset : {1u, 126u, 124u, 4088u, 4096u, UINT32_MAX}) {
        words_ = sound;
        std::replace(words_.begin() + 16, words_.begin() + 32, 128u, offset);
        EXPECT_EQ("damaged", plain("k")) << offset;
    }
    words_ = sound;
    writer_.begin();
    words_[34] = 32;
    EXPECT_FALSE(writer_.clear(P));
    writer_.end();
}

/* The reader's own checks: it must end, and the sanitizers see what it touches. */
TEST_F(ZndbView, WhateverTheBytesAreAReaderEnds) {
    std::mt19937 engine(17);
    const auto random = [&engine] { return static_cast<uint32_t>(engine()); };
    for (int i = 0; i < 10; ++i) {
        set(P, "key" + std::to_string(i), std::string(static_cast<size_t>(i) * 20, 'v'));
    }
    const Words sound = words_;
    for (int round = 0; round < 3000; ++round) {
        words_ = sound;
        for (int flips = 0; flips < 8; ++flips) {
            words_[4 + random() % 200] = round % 2 == 0 ? random() : random() % 1100 * 4;
        }
        words_[4] = (words_[4] & ~1u) + 2;
        (void)plain("key" + std::to_string(random() % 10));
        Position position = {0, 0, random() % 2, random() % 5000};
        Change change;
        (void)reader_.next("key", position, change);
    }
}

/* A value is one of those that were set, and each key's grow. */
TEST_F(ZndbView, AReaderNeverSeesAHalfChange) {
    std::atomic<bool> ended{false};
    std::vector<std::thread> readers;
    for (int number = 0; number < 3; ++number) {
        readers.emplace_back([this, &ended] {
            int last = 0;
            while (!ended) {
                const std::string value = plain("key");
                if (value == "busy" || value == "none") {
                    continue;
                }
                const int now = std::atoi(value.c_str());
                EXPECT_EQ(std::string(static_cast<size_t>(now % 50), 'x'),
                          value.substr(std::to_string(now).size()));
                EXPECT_LE(last, now);
                last = now;
            }
        });
    }
    for (int number = 1; number < 20000; ++number) {
        const std::string value = std::to_string(number) + std::string(static_cast<size_t>(number % 50), 'x');
        writer_.begin();
        if (!writer_.set(P, "key", value)) {
            EXPECT_TRUE(writer_.compact());
            EXPECT_TRUE(writer_.set(P, "key", value));
        }
        writer_.end();
    }
    ended = true;
    for (std::thread &reader : readers) {
        reader.join();
    }
}

/* From a thousand keys on, of any length that names have, and with values of a single character too. */
TEST(ZndbViewSize, IsAtMostThreeTimesThatOfTheTexts) {
    for (const size_t keys : {1000u, 1025u, 1367u, 1500u, 2049u, 4097u, 8193u, 16384u}) {
        for (size_t key = 12; key < ZNDB_KEY_LEN; ++key) {
            for (const size_t value : {1u, 2u, 3u, 5u, 9u, 100u, 1023u}) {
                const size_t size = view::size_for(keys, keys * view::record_size(key, value));
                EXPECT_LE(size, 3 * keys * (key + value)) << keys << " " << key << " " << value;
                EXPECT_EQ(0u, size % 4096);
            }
        }
    }
}

TEST(ZndbViewSize, IsAtMostThreeTimesThatOfShortKeysWithLongerValues) {
    for (const size_t value : {10u, 20u, 100u, 1000u}) {
        EXPECT_LE(view::size_for(1000, 1000 * view::record_size(10, value)), 3 * 1000 * (10 + value))
            << value;
    }
}

}  // namespace
