#include "formats/debug_marker.h"

#include <gtest/gtest.h>

#include <iterator>

TEST(DebugMarker, TheSettingAndTheFilesAreThese) {
    EXPECT_STREQ("device_debug_mode", kDebugModeKey);
    ASSERT_EQ(2u, std::size(kDebugMarkers));
    EXPECT_STREQ("rom", kDebugMarkers[0].keep);
    EXPECT_STREQ("/m_data/usr/device_debug_mode", kDebugMarkers[0].path);
    EXPECT_STREQ("perm", kDebugMarkers[1].keep);
    EXPECT_STREQ("/m_data/usr_permanent/device_debug_mode", kDebugMarkers[1].path);
}
