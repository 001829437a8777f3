#include "model/service_on_trial.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cstdlib>
#include <filesystem>

#include "formats/device_paths.h"
#include "model/run_plan.h"
#include "support/unique_fd.h"
#include "support/wait_until.h"

namespace model {

namespace {

namespace fs = std::filesystem;

TrialControl *make_control() {
    fs::create_directories(kTrialFolder);
    const UniqueFd fd(::open(kControlFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!fd || ::ftruncate(fd.get(), sizeof(TrialControl)) != 0) {
        std::abort();
    }
    void *mapped = ::mmap(nullptr, sizeof(TrialControl), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    return mapped != MAP_FAILED ? static_cast<TrialControl *>(mapped) : nullptr;
}

void make_device() {
    for (const char *folder : {"/m_data/usr/db", "/m_data/usr_permanent/db", "/m_data/factor",
                               "/m_webui/usr/db", paths::kJournalFolder}) {
        fs::remove_all(folder);
    }
    fs::create_directories("/m_data/usr/subscribe");
    fs::create_directories("/m_data/usr_permanent");
    fs::create_directories("/m_webui/usr/db");
    std::string defaults;
    for (const auto &[key, value] : default_values()) {
        defaults += key + "=" + value + "\n";
    }
    (void)write_text(paths::kDefaultsFile, defaults);
}

}  // namespace

ServiceOnTrial::ServiceOnTrial(std::string program, bool logs)
    : program_(std::move(program)), logs_(logs), control_(make_control()) {
    make_device();
    begin_shadow();
}

ServiceOnTrial::~ServiceOnTrial() {
    (void)::munmap(control_, sizeof(*control_));
}

void ServiceOnTrial::start() {
    log_ += process_ ? process_->errors() : "";
    process_.reset(); /* or the new one may find the lock taken */
    std::vector<std::string> environment;
    if (logs_) {
        environment.emplace_back("QUOR_DEBUG=1");
    }
    process_ = std::make_unique<ChildProcess>(std::vector<std::string>{program_}, environment);
}

void ServiceOnTrial::terminate() {
    process_->send_signal(SIGTERM);
}

void ServiceOnTrial::cut_power(Unsynced unsynced) {
    leave_after_power_cut(unsynced);
    fs::remove_all(paths::kJournalFolder);
}

void ServiceOnTrial::trouble(const Trouble &trouble) {
    control_->disturbed = 0;
    control_->died = 0;
    control_->error = trouble.error;
    control_->fails_in = trouble.way == Trouble::Way::kFails ? trouble.step : 0;
    control_->dies_in = trouble.way == Trouble::Way::kDies ? trouble.step : 0;
}

void ServiceOnTrial::refuse(uint32_t places, int error) {
    control_->refusal = error;
    control_->refusing = places;
}

bool ServiceOnTrial::end_trouble() {
    control_->fails_in = 0;
    control_->dies_in = 0;
    return control_->disturbed != 0 || died();
}

}  // namespace model
