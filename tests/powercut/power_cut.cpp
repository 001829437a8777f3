#include "powercut/power_cut.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "powercut/disk_history.h"

namespace powercut {

namespace {

/* The content of the images, read by the device's own code. */
std::set<std::string> findings(const PowerCut &power_cut, const std::vector<DiskImage> &images) {
    std::set<std::string> found;
    for (const DiskImage &image : images) {
        write_disk(power_cut.folders, image);
        found.insert(power_cut.read());
    }
    return found;
}

}  // namespace

void check_power_cuts(const PowerCut &power_cut) {
    power_cut.prepare();
    const std::string before = power_cut.read();
    power_cut.prepare();
    const DiskHistory history(power_cut.folders, power_cut.call);
    const std::string after = power_cut.read();
    ASSERT_NE(before, after) << power_cut.name;

    const std::vector<DiskImage> during = history.during();
    std::set<std::string> allowed = power_cut.also;
    allowed.insert({before, after});
    for (const std::string &found : findings(power_cut, during)) {
        EXPECT_EQ(1u, allowed.count(found)) << power_cut.name << ": during the call " << found;
    }

    const std::vector<DiskImage> afterwards = history.afterwards();
    for (const std::string &found : findings(power_cut, afterwards)) {
        EXPECT_EQ(after, found) << power_cut.name << ": although the call has returned";
    }
    std::printf("%-40s %4zu steps %6zu disks\n", power_cut.name, history.steps(),
                during.size() + afterwards.size());
}

}  // namespace powercut
