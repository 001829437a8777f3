/*
 * soak --messages N [--seed S]: many modules with mixed traffic for a fixed count of messages, of which some
 * are repeatedly killed and restarted, and so is the database. Runs in its own device tree; see
 * docs/testing.md.
 *
 * The status is 0 when everything held, 1 when something did not, and 2 when the run could not be made or
 * stood still.
 */
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "frwk_common.h"
#include "os_log.h"
#include "soak_fleet.h"
#include "soak_settings.h"
#include "soak_watch.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kBoard[] = "/tmp/m_tmp/soak.board";

/* Counted in messages. */
constexpr uint64_t kKillEvery = 4000;
constexpr uint64_t kDownFor = 400;
constexpr uint64_t kKillDatabaseEvery = 10000;

constexpr size_t kTenths = 10;

/* Nothing that the modules do takes as long. */
constexpr std::chrono::seconds kStandstill{60};

constexpr useconds_t kLookMicroseconds = 1000;

struct Options {
    uint64_t messages = 0;
    uint64_t seed = 1;
};

/* The table's spare rows get names, and all modules serve and are watched, as on a device with as many. */
std::string config_text() {
    std::string text = "<modules>";
    for (int row = 0; row < 8; ++row) {
        text += "<spare" + std::string(1, static_cast<char>('a' + row)) +
                "><flag>FRWK_FLAG_MONITORED</flag></spare" + std::string(1, static_cast<char>('a' + row)) +
                ">";
    }
    for (const char *name :
         {"at_cmd_task", "zndb_tool", "apptest", "touch_test", "monitor_tool", "logtool"}) {
        text += "<" + std::string(name) + "><flag>FRWK_FLAG_MONITORED</flag></" + name + ">";
    }
    return text + "</modules>\n";
}

uint64_t steps_done(const soak::Board &board) {
    uint64_t total = 0;
    for (const soak::Module &module : board.modules) {
        total += module.steps;
    }
    return total;
}

/* Kills modules, and restarts those that it killed a while ago. */
class Reaper {
  public:
    Reaper(soak::Board &board, soak::Fleet &fleet, uint64_t messages)
        : board_(board), fleet_(fleet), messages_(messages) {}

    void look(uint64_t done) {
        if (victim_ != 0 && done >= revive_at_) {
            revive();
        }
        if (victim_ == 0 && done >= next_ && done < killing_ends()) {
            victim_ = next_victim();
            fleet_.kill(victim_);
            revive_at_ = done + kDownFor;
            next_ = done + kKillEvery;
        }
        /* In the second half the database lives on, so that its memory can be watched too. */
        if (done >= next_database_ && done < database_killing_ends()) {
            fleet_.kill(soak::kDatabase);
            fleet_.revive(soak::kDatabase);
            next_database_ = done + kKillDatabaseEvery;
        }
    }

    void revive() {
        if (victim_ != 0) {
            fleet_.revive(victim_);
            victim_ = 0;
        }
    }

    /* A machine that is busy looks late and kills less often, but not half as often. */
    void check() {
        const uint64_t least = killing_ends() / kKillEvery / 2;
        const uint64_t least_database = database_killing_ends() / kKillDatabaseEvery / 2;
        if (fleet_.kills() < least || fleet_.database_kills() < least_database) {
            soak::complain(&board_, "%llu modules killed, the database %llu times",
                           static_cast<unsigned long long>(fleet_.kills()),
                           static_cast<unsigned long long>(fleet_.database_kills()));
        }
    }

  private:
    /* The last of the killed is back for a while before the end. */
    uint64_t killing_ends() const { return messages_ / 20 * 19; }
    uint64_t database_killing_ends() const { return messages_ / 2; }

    uint32_t next_victim() {
        for (;;) {
            const auto module =
                static_cast<uint32_t>(soak::mix(board_.seed, 1, ++draws_) % (soak::kModules - 1)) + 1;
            if (soak::is_mortal(module)) {
                return module;
            }
        }
    }

    soak::Board &board_;
    soak::Fleet &fleet_;
    const uint64_t messages_;
    uint32_t victim_ = 0; /* down now; 0 = none */
    uint64_t revive_at_ = 0;
    uint64_t next_ = kKillEvery;
    uint64_t next_database_ = kKillDatabaseEvery;
    uint64_t draws_ = 0;
};

[[noreturn]] void report_standstill(const soak::Board &board) {
    std::printf("soak: FAILED: no message for %lld s\n", static_cast<long long>(kStandstill.count()));
    for (uint32_t module = 1; module < soak::kModules; ++module) {
        const uint64_t steps = board.modules[module].steps;
        if (module != soak::kDatabase && steps < board.quota) {
            const soak::Step step = soak::step_of(board.seed, module, steps);
            std::printf("module %u is at step %llu: action %d, peer %u\n", module,
                        static_cast<unsigned long long>(steps), static_cast<int>(step.action), step.peer);
        }
    }
    std::exit(2);
}

/* Lets the modules work until so many steps are done. */
void work_until(soak::Board &board, soak::Fleet &fleet, Reaper &reaper, uint64_t goal) {
    uint64_t before = 0;
    Clock::time_point moved = Clock::now();
    for (uint64_t done = steps_done(board); done < goal; done = steps_done(board)) {
        if (done != before) {
            before = done;
            moved = Clock::now();
        } else if (Clock::now() - moved > kStandstill) {
            report_standstill(board);
        }
        reaper.look(done);
        fleet.look_after();
        ::usleep(kLookMicroseconds);
    }
}

void check_all(soak::Board &board) {
    soak::check_messages(board);
    soak::check_subscriptions(board);
    soak::check_settings(board);
}

/* Runs a tenth of the messages and samples the processes at its end. */
soak::Sample run_tenth(soak::Board &board, soak::Fleet &fleet, Reaper &reaper, uint64_t goal) {
    const uint64_t before = steps_done(board);
    const Clock::time_point begin = Clock::now();
    fleet.resume();
    work_until(board, fleet, reaper, goal);
    reaper.revive();
    fleet.pause();
    const std::chrono::duration<double> seconds = Clock::now() - begin;

    check_all(board);
    soak::Sample sample = soak::take_sample(board, fleet);
    sample.steps = steps_done(board) - before;
    sample.seconds = seconds.count();
    return sample;
}

std::vector<uint32_t> live_blocks(soak::Board &board) {
    std::vector<uint32_t> blocks;
    for (uint32_t module = 1; module < soak::kModules; ++module) {
        blocks.push_back(soak::is_mortal(module) ? 0 : soak::live_blocks(board, module));
    }
    return blocks;
}

int report(const soak::Board &board, const soak::Fleet &fleet, const std::vector<soak::Sample> &samples,
           double seconds) {
    soak::print_samples(samples);
    soak::print_totals(board, fleet, seconds);
    for (uint32_t i = 0; i < std::min<size_t>(board.complaints, std::size(board.complaint)); ++i) {
        std::printf("does not hold: %s\n", board.complaint[i]);
    }
    std::printf("soak: %s, %u things did not hold\n", board.complaints == 0 ? "passed" : "FAILED",
                board.complaints.load());
    return board.complaints == 0 ? 0 : 1;
}

int run(const Options &options) {
    std::filesystem::create_directories("/m_data/usr/subscribe");
    std::filesystem::create_directories("/m_data/usr/db");
    soak::Board &board = *soak::make_board(kBoard);
    board.seed = options.seed;
    board.quota = (options.messages + soak::kModules - 3) / (soak::kModules - 2);
    board.paused = 1;
    soak::Fleet fleet(board, kBoard);
    fleet.start();
    fleet.pause();

    const uint64_t messages = board.quota * (soak::kModules - 2);
    const Clock::time_point begin = Clock::now();
    const std::vector<uint32_t> blocks = live_blocks(board);
    Reaper reaper(board, fleet, messages);
    std::vector<soak::Sample> samples;
    for (uint64_t tenth = 1; tenth <= kTenths; ++tenth) {
        if (samples.size() == soak::kDatabaseTenth) {
            soak::fill_settings(board);
        }
        samples.push_back(run_tenth(board, fleet, reaper, messages * tenth / kTenths));
    }
    soak::check_footprints(board, samples);
    if (live_blocks(board) != blocks) {
        soak::complain(&board, "a module that stands still holds more or fewer blocks than at its start");
    }
    fleet.kill(soak::kDatabase);
    fleet.revive(soak::kDatabase);
    soak::check_settings(board);
    soak::check_counts(board, messages);
    reaper.check();
    const std::chrono::duration<double> seconds = Clock::now() - begin;
    return report(board, fleet, samples, seconds.count());
}

uint64_t number_of(const char *text) {
    char *end = nullptr;
    const uint64_t number = std::strtoull(text, &end, 10);
    return end != text && *end == '\0' ? number : 0;
}

bool read_options(int argc, char **argv, Options *options) {
    for (int at = 1; at < argc; at += 2) {
        const uint64_t number = at + 1 < argc ? number_of(argv[at + 1]) : 0;
        if (number > 0 && std::strcmp(argv[at], "--messages") == 0) {
            options->messages = number;
        } else if (number > 0 && std::strcmp(argv[at], "--seed") == 0) {
            options->seed = number;
        } else {
            return false;
        }
    }
    return options->messages > 0;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    if (!read_options(argc, argv, &options)) {
        (void)std::fprintf(stderr, "usage: soak --messages N [--seed S]\n");
        return 2;
    }
    if (!write_text("/etc/quor_apps_cfg.xml", config_text())) {
        std::perror("/etc/quor_apps_cfg.xml");
        return 2;
    }
    frwk_module_init(0, nullptr);
    g_debug_log_enable = 0;
    return run(options);
}
