#include "soak_fleet.h"

#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "frwk_common.h"

namespace soak {

namespace {

/* What modules log of peers that are down is left out of the host's log. */
const std::vector<std::string> kEnvironment = {"QUOR_DEBUG=0", "QUOR_SYSLOG_LEVEL=0"};

[[noreturn]] void give_up(const char *what, uint32_t module, const std::string &errors) {
    (void)std::fprintf(stderr, "soak: module %u %s\n%s\n", module, what, errors.c_str());
    std::exit(2);
}

}  // namespace

Fleet::Fleet(Board &board, std::string board_path) : board_(board), board_path_(std::move(board_path)) {}

void Fleet::launch(uint32_t module, uint32_t generation) {
    std::vector<std::string> command = {ZNDB_PROGRAM};
    if (module != kDatabase) {
        command = {SOAK_MODULE, board_path_, std::to_string(module), std::to_string(generation)};
    }
    processes_[module] = std::make_unique<ChildProcess>(command, kEnvironment);
}

bool Fleet::serves(uint32_t module, uint32_t generation) const {
    return module == kDatabase ? frwk_get_module_status(kDatabase) == 1
                               : board_.modules[module].serving == generation;
}

void Fleet::start() {
    for (uint32_t module = 1; module < kModules; ++module) {
        board_.generation[module] = 1;
        revive(module);
    }
}

void Fleet::kill(uint32_t module) {
    ++board_.generation[module];
    processes_[module]->kill();
    ++(module == kDatabase ? database_kills_ : kills_);
}

void Fleet::revive(uint32_t module) {
    const uint32_t generation = board_.generation[module] + 1;
    launch(module, generation);
    if (!wait_until([&] { return serves(module, generation) || !processes_[module]->running(); }) ||
        !processes_[module]->running()) {
        give_up("does not start", module, processes_[module]->errors());
    }
    board_.generation[module] = generation;
}

void Fleet::pause() {
    board_.paused = 1;
    for (uint32_t module = 1; module < kModules; ++module) {
        const bool counts = module != kDatabase && !is_down(module);
        if (counts && !wait_until([&] { return board_.modules[module].idle == 1; })) {
            give_up("does not end its step", module, processes_[module]->errors());
        }
    }
}

void Fleet::resume() {
    board_.paused = 0;
}

void Fleet::look_after() {
    for (uint32_t module = 1; module < kModules; ++module) {
        if (!is_down(module) && !processes_[module]->running()) {
            give_up("ended", module, processes_[module]->errors());
        }
    }
}

}  // namespace soak
