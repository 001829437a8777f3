/*
 * The uptime with an offset from the real database.
 */
#include <string>

#include "frwk_common.h"
#include "os_time.h"
#include "system/zndb/zndb_process.h"

namespace {

class UptimeOffset : public ZndbTest {
  protected:
    /* The difference between the kernel's uptime and ours; a second may end between the two calls. */
    static uint32_t lag() {
        for (;;) {
            const uint32_t before = os_uptime_sec();
            const uint32_t uptime = frwk_uptime();
            if (os_uptime_sec() == before) {
                return before - uptime;
            }
        }
    }
};

}  // namespace

TEST_F(UptimeOffset, IsReadOnceTheDatabaseRunsAndThenKept) {
    EXPECT_EQ(0u, lag());

    start();
    EXPECT_EQ(0u, lag());
    EXPECT_EQ(0, zndb_set("device_uptime_offset", "1"));
    EXPECT_EQ(1u, lag());

    EXPECT_EQ(0, zndb_set("device_uptime_offset", "2"));
    EXPECT_EQ(1u, lag());
    zndb_->kill();
    EXPECT_EQ(1u, lag());
}
