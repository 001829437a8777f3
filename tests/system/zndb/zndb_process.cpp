#include "system/zndb/zndb_process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "frwk_common.h"

namespace {

constexpr char kStartHook[] = "/usr/bin/apps_init";
const std::string kGate = "/tmp/m_tmp/gate";

/* A module without a service; any number of them may run. */
void become_module() {
    static const bool done = [] {
        frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
        return true;
    }();
    ASSERT_TRUE(done);
}

bool serves() {
    return frwk_get_module_status(E_APPS_MODULE_ZNDB) == 1;
}

std::string outcome(int ret, const char *value) {
    return ret == 0 ? value : "ret " + std::to_string(ret);
}

}  // namespace

HeldStart::HeldStart() {
    EXPECT_EQ(0, ::mkfifo(kGate.c_str(), 0600));
    gate_ = ::open(kGate.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_TRUE(write_text(kStartHook, "#!/bin/sh\n[ \"$1\" = zndb ] && read line < " + kGate + "\n"));
    std::filesystem::permissions(kStartHook, std::filesystem::perms::owner_all);
}

HeldStart::~HeldStart() {
    (void)::close(gate_); /* the hook reads the end of its input */
    std::filesystem::remove(kStartHook);
    std::filesystem::remove(kGate);
}

std::unique_ptr<ChildProcess> ZndbTest::run(const std::vector<std::string> &command) const {
    std::vector<std::string> environment = environment_;
    environment.emplace_back("QUOR_DEBUG=1");  // it logs what it refuses to its standard error
    return std::make_unique<ChildProcess>(command, environment);
}

ZndbTest::ZndbTest() {
    become_module();
    for (const char *folder : {"/m_data/usr/db", "/m_data/usr_permanent/db", "/tmp/m_tmp/zndb"}) {
        std::filesystem::remove_all(folder);
    }
    for (const char *path : {paths::kDefaultsFile, paths::kFactoryFile}) {
        std::filesystem::remove(path);
    }
    std::filesystem::create_directories("/m_data/usr/db");
}

void ZndbTest::start() {
    zndb_ = run({ZNDB_PROGRAM});
    ASSERT_TRUE(wait_until(serves)) << zndb_->errors();
}

void ZndbTest::start_held() {
    zndb_ = run({ZNDB_PROGRAM});
    ASSERT_TRUE(wait_until([] { return ask_zndb(E_APPS_MSG_SYS_PROBE, "") == 0; })) << zndb_->errors();
}

void ZndbTest::start_after(const std::string &command) {
    zndb_.reset(); /* or the new one may find the lock taken */
    std::vector<std::string> words = {"unshare", "--mount"};
    if (geteuid() != 0) {
        words.emplace_back("--map-root-user");
    }
    for (const std::string &word :
         {std::string("sh"), std::string("-c"), command + " && exec " ZNDB_PROGRAM}) {
        words.push_back(word);
    }
    zndb_ = run(words);
    ASSERT_TRUE(wait_until(serves)) << zndb_->errors();
}

void ZndbTest::restart() {
    zndb_->kill();
    start();
}

void ZndbTest::cut_power() {
    zndb_->kill();
    std::filesystem::remove_all("/tmp/m_tmp/zndb");
    start();
}

void ZndbTest::end_by(int32_t msgid) {
    EXPECT_EQ(kZndbNoAnswer, ask_zndb(msgid, ""));
    EXPECT_EQ(0, zndb_->exit_status()) << zndb_->errors();
}

void ZndbTest::come_up_after(int32_t msgid) {
    end_by(msgid);
    std::filesystem::remove_all("/tmp/m_tmp/zndb");
    start();
}

std::string ZndbTest::file_of_zndb(const std::string &path) const {
    return file_text("/proc/" + std::to_string(zndb_->pid()) + "/root" + path);
}

std::string plain(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return outcome(zndb_get(key.c_str(), value, sizeof(value)), value);
}

std::string perm(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return outcome(zndb_get_perm(key.c_str(), value, sizeof(value)), value);
}

std::string def(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return outcome(zndb_get_def(key.c_str(), value, sizeof(value)), value);
}

int32_t ask_zndb(int32_t msgid, const std::string &body) {
    int32_t result = kZndbNoAnswer;
    const void *data = body.empty() ? nullptr : body.data();
    (void)frwk_ipc_msg_set(E_APPS_MODULE_ZNDB, msgid, data, static_cast<uint32_t>(body.size()), 3, &result);
    return result;
}

std::string set_body(const std::string &key, const std::string &value) {
    std::string bytes(1056, '\0');
    std::copy(key.begin(), key.end(), bytes.begin());
    std::copy(value.begin(), value.end(), bytes.begin() + 32);
    return bytes;
}
