#include "faults/faulty_device.h"

#include <filesystem>

#include "cipher.h"
#include "frwk_common.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace faults {

namespace {

bool serves() {
    return frwk_get_module_status(E_APPS_MODULE_ZNDB) == 1;
}

}  // namespace

void become_module(int32_t id) {
    static const bool done = [id] {
        frwk_module_init(id, nullptr);
        return true;
    }();
    ASSERT_TRUE(done);
}

FaultyDevice::FaultyDevice() {
    become_module(E_APPS_MODULE_MONITOR_TOOL);
    for (const char *folder : {"/m_data/usr/db", "/m_data/usr_permanent", "/tmp/m_tmp/zndb"}) {
        std::filesystem::remove_all(folder);
    }
    for (const char *folder :
         {"/m_data/usr/db", "/m_data/usr_permanent", "/m_data/usr/subscribe", "/tmp/m_tmp/lock"}) {
        std::filesystem::create_directories(folder);
    }
}

void FaultyDevice::start_database() {
    zndb_ = std::make_unique<ChildProcess>(std::vector<std::string>{ZNDB_PROGRAM});
    ASSERT_TRUE(wait_until(serves)) << zndb_->errors();
}

void FaultyDevice::start_peers() {
    monitor_ = std::make_unique<ModuleProcess>(kMonitor);
    peer_ = std::make_unique<ModuleProcess>(kPeer);
}

void put_text(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    ASSERT_TRUE(write_text(path, text)) << path;
}

std::string deciphered(const std::string &path, const std::string &copy) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(copy).parent_path());
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing, error);
    return !error && zn_decrypt_file_ex(copy.c_str()) != 0 ? file_text(copy) : "";
}

std::string stored(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return zndb_get(key.c_str(), value, sizeof(value)) == 0 ? value : "";
}

std::string stored_perm(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return zndb_get_perm(key.c_str(), value, sizeof(value)) == 0 ? value : "";
}

}  // namespace faults
