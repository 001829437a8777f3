/*
 * Who may change the factory overlay, and how much one sender may change, in the real service: it asks the
 * kernel who has connected and who holds which lock.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "apps_err.h"
#include "apps_message.h"
#include "frwk_module.h"
#include "support/child.h"
#include "support/other_user.h"
#include "support/record_lock_holder.h"
#include "system/zndb/zndb_process.h"
#include "zndb_ext.h"

namespace {

/* The results of every request that changes the overlay. */
std::string write_overlay() {
    const int32_t set = ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("f", "v"));
    const int32_t saved = ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SAVE, "");
    const int compared = zndb_compare_and_set(ZNDB_STORE_FACTORY, "c", nullptr, "v");
    return std::to_string(set) + " " + std::to_string(saved) + " " + std::to_string(compared);
}

const std::string kDone = "0 0 0";
const std::string kRefused = std::to_string(E_APPS_ERR_ZNDB_READ_ONLY) + " " +
                             std::to_string(E_APPS_ERR_ZNDB_READ_ONLY) + " " +
                             std::to_string(E_ZNDB_RET_REFUSED);

/* What a process sees that holds a module's instance lock. */
std::string as_holder_of(const std::string &module, const std::function<std::string()> &body) {
    return run_in_child([&] { return hold_instance_lock(module) ? body() : "no lock"; }).report;
}

class ZndbAccess : public ZndbTest {
  protected:
    size_t refusals() const {
        const std::string log = zndb_->errors();
        const std::string words = "may not write the factory overlay";
        size_t count = 0;
        for (size_t at = log.find(words); at != std::string::npos; at = log.find(words, at + 1)) {
            ++count;
        }
        return count;
    }
};

TEST_F(ZndbAccess, AToolOfTheServicesUserWritesTheOverlay) {
    start();
    EXPECT_EQ(kDone, write_overlay());
    EXPECT_EQ("v", def("f"));
    EXPECT_EQ(0u, refusals());
}

TEST_F(ZndbAccess, AModuleWithTheFlagAdminWritesTheOverlay) {
    start();
    EXPECT_EQ(kDone, as_holder_of("device", write_overlay));
}

TEST_F(ZndbAccess, AnotherModuleDoesNotWriteTheOverlayAndIsLoggedWithItsProcess) {
    start();
    const std::string report =
        as_holder_of("router", [] { return write_overlay() + "; " + std::to_string(::getpid()); });
    EXPECT_EQ(kRefused, report.substr(0, report.find(';')));
    EXPECT_EQ("ret 3", def("f"));
    EXPECT_TRUE(wait_until([this] { return refusals() == 3; })) << zndb_->errors();
    const std::string process = report.substr(report.find(';') + 2);
    EXPECT_NE(std::string::npos, zndb_->errors().find("process " + process + " of user")) << zndb_->errors();
}

TEST_F(ZndbAccess, EverybodyReadsTheOverlay) {
    start();
    EXPECT_EQ(kDone, write_overlay());
    const std::string report = as_holder_of("router", [] {
        std::string keys;
        const auto add = [](const char *key, const char *, void *context) {
            *static_cast<std::string *>(context) += key;
            return 0;
        };
        return def("f") + std::to_string(zndb_list(ZNDB_STORE_FACTORY, "", add, &keys)) + keys;
    });
    EXPECT_EQ("v0cf", report);
}

TEST_F(ZndbAccess, TheServicesEnvironmentNamesOtherWriters) {
    environment_ = {"QUOR_ZNDB_FACTORY_WRITERS=router"};
    start();
    EXPECT_EQ(kDone, as_holder_of("router", write_overlay));
    EXPECT_EQ(kRefused, as_holder_of("device", write_overlay));
    EXPECT_EQ(kRefused, write_overlay());
}

class ZndbAccessByAnotherUser : public ByAnotherUser<ZndbAccess> {};

TEST_F(ZndbAccessByAnotherUser, AToolDoesNotWriteTheOverlay) {
    start();
    ASSERT_EQ(0, ::chmod("/tmp/m_tmp/ipc/zndb", 0777)); /* as on a device that lets others ask */
    EXPECT_EQ(1, as_other_user([] { return write_overlay() == kRefused ? 1 : 0; }));
    EXPECT_EQ("ret 3", def("f"));
}

/* ---- shares ---- */

class ZndbShares : public ZndbTest {
  protected:
    static int set(const std::string &name, int number) {
        return zndb_set((name + std::to_string(number)).c_str(), "v");
    }

    /* Sets keys until one is refused; returns how many were not. */
    static std::string fill(const std::string &name, int most) {
        int done = 0;
        while (done < most && set(name, done) == 0) {
            ++done;
        }
        return std::to_string(done);
    }

    void start_with_share(int keys) {
        environment_ = {"QUOR_ZNDB_SHARE=" + std::to_string(keys)};
        start();
    }
};

TEST_F(ZndbShares, ASenderHasAQuarterOfAStoreAndASaveGivesItBack) {
    start();
    EXPECT_EQ("4096", fill("a", 5000));
    EXPECT_TRUE(
        zndb_->wait_for_error("process " + std::to_string(::getpid()) +
                              " refused: it would have more than 4096 unsaved changed keys of the plain "
                              "store"))
        << zndb_->errors();
    EXPECT_EQ(E_ZNDB_RET_REFUSED, zndb_compare_and_set(ZNDB_STORE_PLAIN, "more", nullptr, "v"));
    EXPECT_EQ(0, zndb_set("a0", "again"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "v"));
    EXPECT_EQ("10", run_in_child([] { return fill("b", 10); }).report);
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_set("more", "v"));
}

TEST_F(ZndbShares, AModuleThatIsStartedAgainHasWhatItHadLeft) {
    start_with_share(10);
    EXPECT_EQ("6", as_holder_of("router", [] { return fill("a", 6); }));
    EXPECT_EQ("4", as_holder_of("router", [] { return fill("b", 100); }));
    EXPECT_EQ("10", as_holder_of("wlan", [] { return fill("c", 100); }));
    EXPECT_EQ("10", run_in_child([] { return fill("d", 100); }).report);
}

TEST_F(ZndbShares, AServiceThatIsStartedAgainCountsAnew) {
    start_with_share(10);
    EXPECT_EQ("10", fill("a", 100));
    restart();
    EXPECT_EQ("v", plain("a9"));
    EXPECT_EQ("10", fill("b", 100));
}

}  // namespace
