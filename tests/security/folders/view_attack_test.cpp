/*
 * Another user attacks the database's view in shared memory, whose content would become settings of everybody
 * who reads it.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "security/folders/attacked_device.h"
#include "support/child.h"
#include "support/other_user.h"
#include "system/zndb/zndb_process.h"
#include "zndb_ext.h"

namespace {

constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kFolder[] = "/tmp/m_tmp/zndb";
constexpr char kView[] = "/tmp/m_tmp/zndb/view";
constexpr char kSocket[] = "/tmp/m_tmp/ipc/zndb";

const std::string kNoService = "ret " + std::to_string(E_ZNDB_RET_IPC);

std::string viewed(const char *key) {
    char value[ZNDB_VALUE_LEN] = "";
    const int ret = zndb_view_get(key, value, sizeof(value));
    return ret == 0 ? value : "ret " + std::to_string(ret);
}

/* What a process sees that has not mapped anything yet. */
std::string viewed_anew(const char *key) {
    return run_in_child([key] { return std::string(zndb_view_serial() != 0 ? "view " : "") + viewed(key); })
        .report;
}

class ViewAttack : public ZndbTest {
  protected:
    ViewAttack() { clean_device(); }

    /* Clients read the service's own view, and without it nothing. */
    void expect_unharmed(const char *what) {
        EXPECT_EQ(kNoService, viewed_anew("lan_ip")) << what;
        start();
        EXPECT_EQ(0, zndb_set("lan_ip", "10.0.0.1")) << what << zndb_->errors();
        EXPECT_EQ("view 10.0.0.1", viewed_anew("lan_ip")) << what;
        EXPECT_EQ(::geteuid(), owner_of(kView)) << what;
        EXPECT_EQ(0640u, mode_of(kView)) << what;
        EXPECT_EQ(kPrecious, file_text(kVictim)) << what;
        zndb_.reset();
    }

    /* Puts a copy of the service's view there, which belongs to the other user. */
    static void forge_view() {
        EXPECT_EQ(0, as_other_user([] {
                      std::error_code error;
                      std::filesystem::copy_file(kView, "/tmp/m_tmp/zndb/theirs", error);
                      std::filesystem::rename("/tmp/m_tmp/zndb/theirs", kView, error);
                      return error ? 1 : 0;
                  }));
    }
};

using ViewAttackByAnotherUser = ByAnotherUser<ViewAttack>;

TEST_F(ViewAttackByAnotherUser, WhatStandsInTheViewsPlaceIsNotRead) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, kView, std::string(4096, 'x'));
        expect_unharmed(name_of(what));
    }
}

TEST_F(ViewAttackByAnotherUser, WhatStandsInItsSuccessorsPlaceMakesWay) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, std::string(kView) + ".tmp");
        expect_unharmed(name_of(what));
    }
}

TEST_F(ViewAttackByAnotherUser, AWholeFolderOfTheirsIsNotRead) {
    open_to_all(kTempFolder);
    ASSERT_EQ(0, as_other_user([] {
                  return ::mkdir(kFolder, 0777) == 0 && write_text(kView, std::string(4096, 'x')) ? 0 : 1;
              }));
    expect_unharmed("a folder with a view");
}

TEST_F(ViewAttackByAnotherUser, AForgedViewIsNotReadAndTheNextChangeReplacesIt) {
    environment_ = {"QUOR_ZNDB_VIEW_MODE=0644"};
    start();
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    open_to_all(kFolder);
    forge_view();
    ASSERT_EQ(kOtherUser, owner_of(kView));
    EXPECT_EQ("1", viewed_anew("lan_ip")) << "from the service";
    ASSERT_TRUE(wait_until([] {
        static int number = 1;
        EXPECT_EQ(0, zndb_set("lan_ip", std::to_string(++number).c_str()));
        return viewed_anew("lan_ip") == "view " + std::to_string(number);
    })) << zndb_->errors();
    EXPECT_EQ(::geteuid(), owner_of(kView));
}

TEST_F(ViewAttackByAnotherUser, WhoMayNotReadItAsksTheService) {
    environment_ = {"QUOR_ZNDB_VIEW_MODE=0600"};
    start();
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    ASSERT_EQ(0, ::chmod(kSocket, 0777));
    EXPECT_EQ(1, as_other_user([] { return zndb_view_serial() == 0 && viewed("lan_ip") == "1" ? 1 : 0; }));
}

}  // namespace
