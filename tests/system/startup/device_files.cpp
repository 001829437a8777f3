#include "device_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/wait_until.h"

namespace {

constexpr char kConfig[] = "/etc/quor_apps_cfg.xml";
constexpr char kStartupList[] = "/etc/quor_apps_startup";
constexpr char kStartHook[] = "/usr/bin/apps_init";

/* Where modules keep their locks and sockets. */
constexpr char kRunFolder[] = "/tmp/m_tmp";

}  // namespace

void DeviceFiles::write_config(const std::string &text) {
    ASSERT_TRUE(write_text(kConfig, text));
}

void DeviceFiles::write_startup_list(const std::string &text) {
    ASSERT_TRUE(write_text(kStartupList, text));
}

void DeviceFiles::write_start_hook(const std::string &lines) {
    ASSERT_TRUE(write_text(kStartHook, "#!/bin/sh\n" + lines));
    ASSERT_EQ(0, ::chmod(kStartHook, 0755));
}

void DeviceFiles::remove_all() {
    ::unlink(kConfig);
    ::unlink(kStartupList);
    ::unlink(kStartHook);
    for (const auto &entry : std::filesystem::directory_iterator(kRunFolder)) {
        std::filesystem::remove_all(entry.path());
    }
}
