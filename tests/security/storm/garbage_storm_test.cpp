/*
 * Hundreds of thousands of garbage requests to a module and to the database: both continue to serve, and no
 * setting changes.
 */
#include <gtest/gtest.h>

#include <iostream>
#include <random>
#include <string>

#include "frwk_common.h"
#include "security/storm/storm_count.h"
#include "support/module_process.h"
#include "system/messaging/raw_peer.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr size_t kHeaderSize = 24;
constexpr uint32_t kLastExitMessage = 4;
constexpr uint32_t kFirstOfZndb = 2000;
constexpr uint32_t kLastOfZndb = 2014;
constexpr uint32_t kReset = 2012;

class GarbageStorm : public ZndbTest {
  protected:
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(random_()) % bound; }

    std::string any_bytes(size_t size) {
        std::string bytes(size, '\0');
        for (char &byte : bytes) {
            byte = static_cast<char>(random_());
        }
        return bytes;
    }

    /* A length as it should be, or near a limit, or anything. */
    uint32_t some_length(uint32_t honest) {
        static constexpr uint32_t kNearLimits[] = {
            0, 1, 1016, 1024, 1025, 1055, 1056, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF8, 0xFFFFFFFF};
        switch (below(3)) {
            case 0:
                return honest;
            case 1:
                return kNearLimits[below(std::size(kNearLimits))];
            default:
                return static_cast<uint32_t>(random_());
        }
    }

    /* A message that both processes know, or an unknown one. */
    uint32_t some_message() {
        switch (below(3)) {
            case 0:
                return kLastExitMessage + 1 + below(6);
            case 1:
                return kFirstOfZndb + below(kLastOfZndb - kFirstOfZndb);
            default:
                return static_cast<uint32_t>(random_());
        }
    }

    /* Half of them have a header that is nearly right. */
    std::string request() {
        const std::string body = any_bytes(below(4) == 0 ? 1056 : below(64));
        if (below(2) == 0) {
            return any_bytes(below(2 * kHeaderSize)) + body;
        }
        RawRequest header;
        header.src = below(2) == 0 ? below(60) : static_cast<uint32_t>(random_());
        header.msgid = some_message();
        header.async = below(3);
        header.timeout = 0;
        header.rsp_size = below(4) == 0 ? some_length(64) & 0xFFFFF : below(2000);
        header.data_len = some_length(static_cast<uint32_t>(body.size()));
        return header.bytes() + body;
    }

    /* The exit messages and a reset would do what they are meant to do. */
    static bool means_harm(const std::string &bytes) {
        const uint32_t msgid = word_at(bytes, 4);
        return bytes.size() >= 8 && ((msgid >= 1 && msgid <= kLastExitMessage) || msgid == kReset);
    }

    std::mt19937 random_{20261123};
};

TEST_F(GarbageStorm, BothGoOnServingAndNoSettingChanges) {
    ModuleOptions quiet;
    quiet.debug = false;
    ModuleProcess router(E_APPS_MODULE_ROUTER, quiet);
    start();
    ASSERT_EQ(0, zndb_set("kept", "as it was"));
    ASSERT_EQ(0, zndb_save());

    const int count = storm_count(3000, 320000);
    for (int i = 0; i < count; ++i) {
        const std::string bytes = request();
        if (means_harm(bytes)) {
            continue;
        }
        RawConnection peer = RawConnection::to(i % 2 == 0 ? "router" : "zndb");
        ASSERT_TRUE(peer) << "request " << i;
        (void)peer.send(bytes);
    }
    std::cout << count << " requests\n";
    EXPECT_EQ("as it was", plain("kept"));
    EXPECT_EQ(1u, frwk_get_module_status(E_APPS_MODULE_ROUTER));
    EXPECT_TRUE(router.process().running());
    EXPECT_TRUE(zndb_->running());
}

}  // namespace
