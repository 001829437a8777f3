/*
 * Settings are exported to a folder that an attacker may write to: no other file is written to, and nobody
 * else reads them.
 */
#include <fcntl.h>

#include "security/backup/shared_folder.h"
#include "support/file_info.h"
#include "system/tools/tool_run.h"

namespace {

constexpr char kExport[] = "/m_data/usr/shared/export.txt";
constexpr char kAside[] = "/m_data/usr/shared/aside";

class ExportSwap : public SharedFolder {
  protected:
    static int export_settings() { return run_tool({"zndb_tool", "export", kExport}).status; }
};

TEST_P(ExportSwap, FollowsNoLink) {
    std::filesystem::create_symlink(kPrecious, kExport);
    EXPECT_EQ(2, export_settings());
    expect_no_harm();
}

TEST_P(ExportSwap, FeedsNoPipe) {
    ASSERT_EQ(0, ::mkfifo(kExport, 0666));
    const int reader = ::open(kExport, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(2, export_settings());
    char byte = 0;
    EXPECT_EQ(0, ::read(reader, &byte, 1));
    ::close(reader);
}

TEST_P(ExportSwap, IsHiddenFromWhoHoldsTheOldFileOpen) {
    put_attackers_file(kExport, "");
    const int reader = ::open(kExport, O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(0, export_settings());
    char byte = 0;
    EXPECT_EQ(0, ::read(reader, &byte, 1));
    ::close(reader);
    EXPECT_EQ(0600u, mode_of(kExport));
    EXPECT_EQ(::geteuid(), owner_of(kExport));
}

TEST_P(ExportSwap, WritesToNoOtherFile) {
    Attacker attacker(GetParam(), [] {
        for (const char *place : {kExport, "/m_data/usr/shared/export.txt.part"}) {
            (void)::symlink(kPrecious, kAside);
            (void)::rename(kAside, place);
            (void)::unlink(place);
        }
    });
    for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
        attacker.wait_for_a_move();
        (void)export_settings();
        expect_no_harm();
    }
}

QUOR_ATTACKED(ExportSwap);

}  // namespace
