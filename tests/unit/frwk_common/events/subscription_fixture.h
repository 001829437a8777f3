/*
 * What the tests of events share: a process that is module 3, router, and the subscription files of the
 * event "link".
 */
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/memory_usage.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/module_fixture.h"

inline constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
inline constexpr char kSubscribeFolderEx[] = "/m_webui/subscribe";
inline constexpr char kLinkFile[] = "/m_data/usr/subscribe/link";
inline constexpr char kSubscribeLockFile[] = "/tmp/m_tmp/lock/subscribe";

/* What subscribing and unsubscribing report of a file that can't be opened, before its cause. */
inline constexpr char kNotOpened[] = "can't open event key file!";

/* Keys that name no file of the folder. */
inline constexpr const char *kKeysThatNameNoFile[] = {nullptr,      "",    ".",           "..",
                                                      "../escaped", "a/b", "/m_data/usr", "sub/"};

/* Removes a folder with everything in it. */
inline void remove_tree(const std::string &path) {
    (void)std::system(("rm -rf '" + path + "'").c_str());
}

/*
 * Opening files except that of the lock fails with this error if the flags have one of these bits; 0 stands
 * for all files.
 */
inline void refuse_to_open(int bits, int error) {
    doubles::libc::open.stand_in([bits, error](const char *path, int flags, mode_t mode) {
        const bool is_lock = std::string(path) == kSubscribeLockFile;
        if (!is_lock && (bits == 0 || (flags & bits) != 0)) {
            errno = error;
            return -1;
        }
        return doubles::libc::open.real(path, flags, mode);
    });
}

/* Every test starts with both folders empty, and leaks no block and no descriptor. */
class SubscriptionTest : public ModuleTest {
  protected:
    SubscriptionTest() {
        (void)mkdir("/tmp/m_tmp", 0755);
        (void)mkdir("/tmp/m_tmp/lock", 0755);
        remove_folders();
        (void)mkdir(kSubscribeFolder, 0755);
        (void)mkdir(kSubscribeFolderEx, 0755);
        doubles::libc::sync.stand_in([] {});
        live_blocks_ = live_blocks();
        descriptors_ = open_descriptors();
    }
    ~SubscriptionTest() override {
        doubles::restore_all();
        EXPECT_EQ(live_blocks(), live_blocks_);
        EXPECT_EQ(open_descriptors(), descriptors_);
        EXPECT_EQ(g_s_sub_lock_file, nullptr);
        remove_folders();
        remove_tree(kSubscribeLockFile);
    }

    /* The content of a file after the module subscribes, or unsubscribes. */
    static std::string after_sub(const std::string &content) {
        write_file(kLinkFile, content);
        EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
        return read_file(kLinkFile);
    }
    static std::string after_unsub(const std::string &content) {
        write_file(kLinkFile, content);
        EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
        return read_file(kLinkFile);
    }

    static void remove_folders() {
        remove_tree(kSubscribeFolder);
        remove_tree(kSubscribeFolderEx);
    }

    LogCapture log_;

  private:
    uint32_t live_blocks_ = 0;
    size_t descriptors_ = 0;
};
