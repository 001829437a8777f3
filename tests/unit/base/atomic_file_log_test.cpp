#include "atomic_file_log.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "doubles/log_capture.h"

namespace {

using Placed = AtomicFile::Placed;

TEST(AtomicFileLog, TellsOfALeftoverThatIsRemoved) {
    const LogCapture log;
    log_removed_leftover("kind.unfinished.aB3dE6");
    EXPECT_EQ(1u, log.count("removed kind.unfinished.aB3dE6, which a killed process left")) << log.text();
}

TEST(AtomicFileLog, WarnsOfAFolderThatCannotBeSynced) {
    const LogCapture log;
    errno = EIO;
    EXPECT_TRUE(is_in_place(Placed::kUnsynced, "/folder/target"));
    EXPECT_EQ(1u, log.count("can't sync the folder of /folder/target, errno=5")) << log.text();
}

TEST(AtomicFileLog, SaysNothingOfWhatTheCallerKnows) {
    const LogCapture log;
    EXPECT_TRUE(is_in_place(Placed::kYes, "/folder/target"));
    EXPECT_FALSE(is_in_place(Placed::kNo, "/folder/target"));
    EXPECT_EQ("", log.text());
}

}  // namespace
