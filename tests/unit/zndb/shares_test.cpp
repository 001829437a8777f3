#include "shares.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "store.h"
#include "unit/zndb/zndb_files.h"

namespace base = doubles::base;

namespace {

constexpr Sender kRouter = 3;
constexpr StoreId P = StoreId::kPlain;

class SharesTest : public testing::Test {
  protected:
    SharesTest() {
        ::unsetenv("QUOR_ZNDB_SHARE");
        base::os_uptime_sec.stand_in([this] { return now_; });
    }
    ~SharesTest() override {
        ::unsetenv("QUOR_ZNDB_SHARE");
        base::os_uptime_sec.restore();
    }

    void change(Sender by, int keys) {
        for (int i = 0; i < keys; ++i) {
            const std::string key = std::to_string(by) + "." + std::to_string(i);
            store_.set(key, "v");
            store_.charge(key, by);
        }
    }

    uint32_t now_ = 0;
    Store store_;
    Shares shares_{[] { return SentBy{kRouter, 33}; }, 3};
    LogCapture log_;
};

TEST_F(SharesTest, AreAQuarterOfAStoreByDefault) {
    EXPECT_EQ(4096u, share_limit());
    ::setenv("QUOR_ZNDB_SHARE", "10", 1);
    EXPECT_EQ(10u, share_limit());
    ::setenv("QUOR_ZNDB_SHARE", "0", 1);
    EXPECT_EQ(0u, share_limit());
    EXPECT_EQ("", log_.text());
}

TEST_F(SharesTest, AVariableThatIsNoNumberIsLoggedAndIgnored) {
    for (const char *text : {"many", "-1", "32769"}) {
        log_.clear();
        ::setenv("QUOR_ZNDB_SHARE", text, 1);
        EXPECT_EQ(4096u, share_limit()) << text;
        EXPECT_TRUE(log_.contains(std::string("QUOR_ZNDB_SHARE=") + text + " is ignored")) << log_.text();
    }
}

TEST_F(SharesTest, ASenderHasItsOwn) {
    EXPECT_EQ(kRouter, shares_.sender().sender);
    change(kRouter, 2);
    change(4, 3);
    EXPECT_TRUE(shares_.allows(P, store_, {kRouter, 33}, 1));
    EXPECT_FALSE(shares_.allows(P, store_, {kRouter, 33}, 2));
    EXPECT_FALSE(shares_.allows(P, store_, {4, 44}, 1));
    EXPECT_TRUE(shares_.allows(P, store_, {5, 55}, 3));
}

TEST_F(SharesTest, NobodyAndEverybodyWithoutALimitHasAllThereIs) {
    change(kRouter, 5);
    EXPECT_TRUE(shares_.allows(P, store_, {kNobody, 0}, 100000));
    Shares unlimited([] { return SentBy{kRouter, 33}; }, 0);
    EXPECT_TRUE(unlimited.allows(P, store_, {kRouter, 33}, 100000));
    Shares none;
    EXPECT_EQ(kNobody, none.sender().sender);
    EXPECT_TRUE(none.allows(P, store_, none.sender(), 1));
}

TEST_F(SharesTest, ARefusalIsLoggedWithTheProcessOnceASecondForEachSender) {
    change(kRouter, 3);
    change(4, 3);
    const std::string line = " refused: it would have more than 3 unsaved changed keys of the perm store";
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(shares_.allows(StoreId::kPerm, store_, {kRouter, 33}, 1));
        EXPECT_FALSE(shares_.allows(StoreId::kPerm, store_, {4, 44}, 1));
    }
    EXPECT_EQ((std::vector<std::string>{"process 33" + line, "process 44" + line}), warnings(log_));
    ++now_;
    log_.clear();
    EXPECT_FALSE(shares_.allows(StoreId::kPerm, store_, {kRouter, 34}, 1));
    EXPECT_EQ((std::vector<std::string>{"process 34" + line}), warnings(log_));
}

}  // namespace
