#include "apptest/answer_room.h"

#include <gtest/gtest.h>

namespace {

TEST(AnswerRoom, ThatIsTooSmallIsNamedWithTheSizeWhereItIsKnown) {
    EXPECT_EQ("; --room 3 is too small, the answer has 4 bytes",
              room_hint(E_APPS_ERR_PARAM, E_APPS_MSG_SYS_STATUS, 3));
    EXPECT_EQ("; --room 23 is too small, the answer has 24 bytes",
              room_hint(E_APPS_ERR_PARAM, E_APPS_MSG_SYS_MEMORY, 23));
    EXPECT_EQ("; --room 3 is too small for the answer", room_hint(E_APPS_ERR_OUTOFBUF, 5004, 3));
}

TEST(AnswerRoom, ThatIsLargeEnoughIsNotTheReason) {
    EXPECT_EQ("", room_hint(E_APPS_ERR_PARAM, E_APPS_MSG_SYS_STATUS, 4));
    EXPECT_EQ("", room_hint(E_APPS_ERR_PARAM, 5004, 0));
    EXPECT_EQ("", room_hint(E_APPS_ERR_BUSY, E_APPS_MSG_SYS_STATUS, 0));
}

}  // namespace
