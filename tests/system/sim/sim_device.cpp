#include "system/sim/sim_device.h"

#include <algorithm>
#include <filesystem>

#include "libmal.h"
#include "support/wait_until.h"

namespace {

constexpr int kMonitor = 1;
constexpr int kMnet = 4;

/* Writes a file and the folders above it. */
void write_deep(const std::filesystem::path &path, const std::string &content) {
    std::filesystem::create_directories(path.parent_path());
    ASSERT_TRUE(write_text(path, content)) << path;
}

}  // namespace

SimDevice::SimDevice() {
    std::filesystem::remove_all(kSubnetFolder);
    std::filesystem::remove(MAL_SIMULATION_FILE);
    EXPECT_TRUE(write_text("/m_data/usr/db/user_data.txt", "mnet_sim_subnet_switch=on\n"));
}

void SimDevice::power_on() {
    start();
    monitor_ = std::make_unique<ModuleProcess>(kMonitor);
}

void SimDevice::reboot() {
    EXPECT_EQ("ret=15", monitor_->ask("async 2 2 3 -"));
    EXPECT_EQ(0, zndb_->exit_status()) << zndb_->errors();
    module_.reset();
    std::filesystem::remove_all("/tmp/m_tmp/zndb");
    start();
}

void SimDevice::start_module(const std::vector<std::string> &environment) {
    module_.reset();
    ModuleOptions options;
    options.environment = environment;
    module_ = std::make_unique<ModuleProcess>(kMnet, options);
}

void SimDevice::adapt(int type) {
    start_module();
    EXPECT_EQ("done", module_->ask("adapt " + std::to_string(type)));
}

size_t SimDevice::count_logged(const std::string &text) const {
    const std::string all = log();
    size_t count = 0;
    for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) {
        ++count;
    }
    return count;
}

size_t SimDevice::reboots() const {
    const std::vector<std::string> messages = monitor_->messages();
    return static_cast<size_t>(std::count(messages.begin(), messages.end(), "4 1001 4 21030000"));
}

bool SimDevice::wait_for_reboots(size_t count) const {
    return wait_until([&] { return reboots() == count; });
}

void insert_sim(const std::string &mcc, const std::string &mnc, const std::string &spn) {
    simulate("mpss=1\nsim_status=2\nmcc=" + mcc + "\nmnc=" + mnc + "\nspn=" + spn + "\n");
}

/* The modem must never see half of a file. */
void simulate(const std::string &lines) {
    const std::string whole = std::string(MAL_SIMULATION_FILE) + ".new";
    write_deep(whole, lines);
    std::filesystem::rename(whole, MAL_SIMULATION_FILE);
}

void put_file(const std::string &name, const std::string &content) {
    write_deep(kSubnetFolder + "/" + name, content);
}
