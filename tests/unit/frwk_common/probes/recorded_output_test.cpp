/*
 * The probes with outputs of several tool versions, from tests/recorded.
 */
#include <cctype>
#include <string>

#include "frwk_common.h"
#include "support/tool_record.h"
#include "unit/frwk_common/probes/cpu_states.h"
#include "unit/frwk_common/probes/tool_fixture.h"

namespace {

struct Recording {
    const char *file;
    const char *version; /* for the table of what was tried */
    frwk_cpustate state; /* members that this form doesn't name keep what they held */
};

struct DfRecording {
    const char *file;
    const char *version;
    const char *partition;
    int32_t column;
    int32_t number; /* or kNone */
};

constexpr uint32_t kKept = kUntouchedState.usr;
constexpr int32_t kNone = 7777;

void PrintTo(const Recording &recording, std::ostream *out) {
    *out << recording.file;
}

void PrintTo(const DfRecording &recording, std::ostream *out) {
    *out << recording.file << " " << recording.partition;
}

template <typename Any>
std::string name_of(const testing::TestParamInfo<Any> &info) {
    std::string name = std::to_string(info.index) + "_";
    for (const char c : testing::PrintToString(info.param)) {
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

class CpuRecording : public ToolTest, public testing::WithParamInterface<Recording> {
  protected:
    void expect_state(void (*probe)(frwk_cpustate *)) {
        const std::string file = GetParam().file;
        tool_prints_file(std::string(RECORDED_OUTPUTS) + "/" + file);
        frwk_cpustate state = kUntouchedState;
        probe(&state);
        EXPECT_EQ(GetParam().state, state);
        const bool has_state = !(GetParam().state == kUntouchedState);
        record_tool_version(
            has_state ? "processors, recorded output" : "processors, recorded output: no state",
            file.substr(0, file.find('/')), GetParam().version);
    }
};

class TopRecording : public CpuRecording {};
class MpstatRecording : public CpuRecording {};
class PartitionRecording : public ToolTest, public testing::WithParamInterface<DfRecording> {};

}  // namespace

TEST_P(TopRecording, GivesItsState) {
    expect_state(frwk_get_cpustate_top);
}

INSTANTIATE_TEST_SUITE_P(
    RecordedOutput, TopRecording,
    testing::Values(Recording{"top/busybox-1.35-screen.txt", "busybox 1.35", {3, 0, 1, 95, 5}},
                    Recording{"top/busybox-1.35-batch.txt", "busybox 1.35, batch mode", {0, 0, 0, 100, 0}},
                    Recording{
                        "top/busybox-1.22-decimals.txt", "busybox 1.22 with decimals", {12, 0, 8, 77, 23}},
                    Recording{"top/busybox-1.13.txt", "busybox 1.13", {100, 0, 0, 0, 100}},
                    Recording{"top/busybox-1.10-short.txt", "busybox 1.10", {2, 1, 5, 92, 8}},
                    Recording{"top/bsd.txt", "BSD", {kKept, 0, 3, 94, 6}},
                    Recording{"top/procps-4.0-batch.txt", "procps 4.0, batch mode", kUntouchedState},
                    Recording{"top/procps-3.2.txt", "procps 3.2", kUntouchedState},
                    Recording{"top/toybox-0.8.txt", "toybox 0.8", kUntouchedState}),
    name_of<Recording>);

TEST_P(MpstatRecording, GivesItsState) {
    expect_state(frwk_get_cpustate_mpstat);
}

INSTANTIATE_TEST_SUITE_P(
    RecordedOutput, MpstatRecording,
    testing::Values(
        Recording{"mpstat/sysstat-12.6.txt", "sysstat 12.6", {13, 1, 4, 77, 23}},
        Recording{"mpstat/sysstat-12.6-comma.txt", "sysstat 12.6 with a decimal comma", {1, 92, 6, 0, 100}},
        Recording{"mpstat/sysstat-11.4-am-pm.txt", "sysstat 11.4 with AM and PM", {0, 0, 0, 100, 0}},
        Recording{"mpstat/sysstat-10.0.txt", "sysstat 10.0", {99, 0, 0, 0, 100}},
        Recording{"mpstat/sysstat-8.1-interrupts.txt", "sysstat 8.1 with interrupts", {5, 0, 12, 82, 18}},
        Recording{"mpstat/tabs.txt", "separated by tabs", {7, 0, 3, 89, 11}},
        Recording{"mpstat/sysstat-12.6-german.txt", "sysstat 12.6 in German", kUntouchedState},
        Recording{"mpstat/sysstat-12.6-french.txt", "sysstat 12.6 in French", kUntouchedState},
        Recording{"mpstat/sysstat-7.0-usage.txt", "sysstat 7.0 without the option", kUntouchedState}),
    name_of<Recording>);

TEST_P(PartitionRecording, GivesItsNumber) {
    const DfRecording &recording = GetParam();
    tool_prints_file(std::string(RECORDED_OUTPUTS) + "/" + recording.file);
    int32_t number = kNone;
    EXPECT_EQ(recording.number == kNone ? -1 : 0,
              frwk_get_partion_info(recording.partition, recording.column, &number));
    EXPECT_EQ(recording.number, number);
    record_tool_version("partition, recorded output", "df", recording.version);
}

INSTANTIATE_TEST_SUITE_P(
    RecordedOutput, PartitionRecording,
    testing::Values(DfRecording{"df/coreutils-9.1.txt", "coreutils 9.1", "/m_data", 5, 48},
                    DfRecording{"df/coreutils-9.1.txt", "coreutils 9.1", "mmcblk0p8", 5, 100},
                    DfRecording{"df/coreutils-9.1.txt", "coreutils 9.1", "/dev/root", 5, 25},
                    DfRecording{"df/coreutils-9.1.txt", "coreutils 9.1", "/m_data", 4, 101351},
                    DfRecording{"df/coreutils-9.1.txt", "coreutils 9.1", "mmcblk1p1", 5, kNone},
                    DfRecording{"df/coreutils-9.1-german.txt", "coreutils 9.1 in German", "/m_data", 5, 48},
                    DfRecording{"df/busybox-1.35.txt", "busybox 1.35", "ubi1:m_data", 5, 9},
                    DfRecording{"df/busybox-1.35.txt", "busybox 1.35", "ubi2", 5, kNone},
                    /* a long device name has a line of its own, so a column is missing */
                    DfRecording{"df/busybox-1.19-wrapped.txt", "busybox 1.19, long name",
                                "by-partlabel/m_data", 5, 0},
                    DfRecording{"df/busybox-1.19-wrapped.txt", "busybox 1.19, long name", " /m_data", 4, 46},
                    /* no per-cent sign: the block size's last digit goes */
                    DfRecording{"df/toolbox-4.4.txt", "toolbox 4.4", "/m_data", 5, 409}),
    name_of<DfRecording>);
