/*
 * A call that changes files, and power cuts at every moment of it.
 */
#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace powercut {

struct PowerCut {
    const char *name;

    /* All that the call changes and a power cut does not clear. */
    std::vector<std::string> folders;

    /* Prepares the device for the call. */
    std::function<void()> prepare;

    std::function<void()> call;

    /* What the device's own code finds, in a word. */
    std::function<std::string()> read;

    /* What else may be found when the power goes during the call, beside the old and the new; see the page.
     */
    std::set<std::string> also = {};
};

/*
 * Cuts the power at every moment of the call: the old or the new must be found, and when it has returned the
 * new. Prints the steps of the call and the disks that were looked at.
 */
void check_power_cuts(const PowerCut &power_cut);

}  // namespace powercut
