/*
 * Many modules that change one event's file at random while others publish the event. A publisher takes no
 * lock: it may read a line in part while a subscriber rewrites the file, and ignores it. The file itself
 * stays whole.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "event_files.h"
#include "support/module_process.h"

namespace {

/* No name of these is part of another one's. */
constexpr int kChurning[] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 24, 31};
constexpr int kPublishing[] = {33, 35};
constexpr int kStaying = 28; /* so that the file never goes, which would sync the host's disks each time */

/* Of each module. All together they make 10,000. */
constexpr int kChanges = 425;
constexpr int kPublications = 750;

struct Module {
    int id;
    std::string name;
    std::unique_ptr<ModuleProcess> process;
};

Module start(int id) {
    ModuleOptions options;
    options.debug = false;
    Module module = {id, "", std::make_unique<ModuleProcess>(id, options)};
    const std::string row = module.process->ask("row " + std::to_string(id));
    module.name = row.substr(0, row.find(' '));
    return module;
}

class SubscriptionChurn : public EventFiles {
  protected:
    SubscriptionChurn() {
        for (const int id : kChurning) {
            churning_.push_back(start(id));
        }
        for (const int id : kPublishing) {
            publishing_.push_back(start(id));
        }
        EXPECT_EQ("ret=0", staying_.process->ask("sub link"));
    }

    /* Lets all of them go, and waits until the last is done. Fills the names of those still subscribed. */
    void run() {
        for (const Module &module : churning_) {
            const std::string seed = std::to_string(module.id);
            module.process->tell("churn link " + std::to_string(kChanges) + " " + seed);
        }
        for (const Module &module : publishing_) {
            module.process->tell("pub-burst link 9001 " + std::to_string(kPublications));
        }
        for (const Module &module : publishing_) {
            EXPECT_EQ("done", module.process->reply());
        }
        for (const Module &module : churning_) {
            const std::string reply = module.process->reply();
            EXPECT_EQ("failed=0", reply.substr(0, reply.find(' '))) << module.name;
            if (reply == "failed=0 listed=1") {
                subscribed_.push_back(module.name);
            }
        }
    }

    std::vector<Module> churning_;
    std::vector<Module> publishing_;
    Module staying_ = start(kStaying);
    std::vector<std::string> subscribed_;
};

TEST_F(SubscriptionChurn, LeavesAWellFormedFileAfterTenThousandOperations) {
    run();
    std::vector<std::string> expected = subscribed_;
    expected.push_back(staying_.name);
    std::sort(expected.begin(), expected.end());
    std::vector<std::string> listed = subscribers();
    EXPECT_EQ(staying_.name, listed.front());
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(expected, listed);

    EXPECT_EQ("done", publishing_[0].process->ask("pub link 9002 -"));
    EXPECT_TRUE(staying_.process->wait_for_message("33 9002 0 -"));
    for (const Module &module : churning_) {
        if (std::count(subscribed_.begin(), subscribed_.end(), module.name) != 0) {
            EXPECT_TRUE(module.process->wait_for_message("33 9002 0 -")) << module.name;
        }
    }
}

}  // namespace
