/*
 * The processes of a soak: 51 modules and the real database, started, killed and restarted. For one
 * thread.
 */
#pragma once

#include <array>
#include <memory>
#include <string>

#include "soak_board.h"
#include "support/child_process.h"

namespace soak {

class Fleet {
  public:
    Fleet(Board &board, std::string board_path);

    /* Starts all of them, each when the one before it serves. */
    void start();

    /* Kills a module with SIGKILL; others see that it is down. */
    void kill(uint32_t module);

    /* Restarts a killed module and waits until it serves. */
    void revive(uint32_t module);

    /* Lets every module end its step, and waits until the last one has. */
    void pause();
    void resume();

    /* Complains of processes that ended by themselves. */
    void look_after();

    bool is_down(uint32_t module) const { return !is_up(board_.generation[module]); }
    int pid(uint32_t module) const { return processes_[module]->pid(); }
    size_t descriptors(uint32_t module) const { return processes_[module]->descriptors(); }
    uint64_t kills() const { return kills_; }
    uint64_t database_kills() const { return database_kills_; }

  private:
    void launch(uint32_t module, uint32_t generation);
    bool serves(uint32_t module, uint32_t generation) const;

    Board &board_;
    std::string board_path_;
    std::array<std::unique_ptr<ChildProcess>, kModules> processes_;
    uint64_t kills_ = 0;
    uint64_t database_kills_ = 0;
};

}  // namespace soak
