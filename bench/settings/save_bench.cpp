/*
 * What a save of the database costs, and what gets cost meanwhile. Prints one JSON object.
 *
 * save-bench SAVES GETS: in a device tree in which the database runs, and perhaps with slow-sync preloaded.
 *
 *   set_20_us                    20 sets, median
 *   save_us, save_p99_us         a save of 1,000 settings of which 20 have changed
 *   get_us, get_p99_us           GETS gets while nothing else happens
 *   get_during_save_us, get_during_save_p99_us
 *                                as many gets while saves, one after another, are in progress
 *   gets_during_save             their number: those during which a save was in progress
 */
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "frwk_common.h"
#include "peers/require.h"
#include "zndb.h"

namespace {

constexpr int kKeys = 1000;
constexpr int kChanged = 20;

using Clock = std::chrono::steady_clock;
using Times = std::vector<double>;

std::string key_of(int number) {
    return "bench_setting_" + std::to_string(1000 + number % kKeys);
}

template <typename Call>
double microseconds(Call call) {
    const auto begin = Clock::now();
    call();
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

double quantile(Times times, double part) {
    require(!times.empty(), "something to measure");
    const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(times.size() - 1));
    std::nth_element(times.begin(), times.begin() + place, times.end());
    return times[static_cast<size_t>(place)];
}

void print(const char *name, double value) {
    static bool first = true;
    (void)std::printf("%s\"%s\": %.1f", first ? "{" : ", ", name, value);
    first = false;
}

void set_some(int from, int count, int value) {
    for (int i = from; i < from + count; ++i) {
        require(zndb_set(key_of(i).c_str(), std::to_string(value).c_str()) == 0, "zndb_set");
    }
}

void save() {
    require(zndb_save() == 0, "zndb_save");
}

void measure_saves(int saves) {
    Times setting;
    Times saving;
    for (int i = 0; i < saves; ++i) {
        setting.push_back(microseconds([i] { set_some(i * kChanged, kChanged, i + 1); }));
        saving.push_back(microseconds(save));
    }
    print("set_20_us", quantile(setting, 0.5));
    print("save_us", quantile(saving, 0.5));
    print("save_p99_us", quantile(saving, 0.99));
}

double time_of_get(int number) {
    char value[ZNDB_VALUE_LEN];
    const std::string key = key_of(number);
    return microseconds([&] { require(zndb_get(key.c_str(), value, sizeof(value)) == 0, "zndb_get"); });
}

void print_gets(const char *median, const char *p99, const Times &times) {
    print(median, quantile(times, 0.5));
    print(p99, quantile(times, 0.99));
}

Times gets_alone(int gets) {
    Times times;
    for (int i = 0; i < gets; ++i) {
        times.push_back(time_of_get(i));
    }
    return times;
}

/* Those that began and ended while a save was in progress. */
Times gets_during_saves(int gets) {
    std::atomic<int> saving{0};
    std::atomic<bool> ending{false};
    std::thread saver([&] {
        for (int i = 0; !ending; ++i) {
            set_some(i * kChanged, kChanged, -i);
            ++saving;
            save();
            ++saving;
        }
    });
    Times times;
    for (int i = 0; times.size() < static_cast<size_t>(gets); ++i) {
        const int before = saving;
        const double time = time_of_get(i);
        if (before % 2 == 1 && saving == before) {
            times.push_back(time);
        }
    }
    ending = true;
    saver.join();
    return times;
}

}  // namespace

int main(int argc, char **argv) {
    require(argc == 3, "usage: save-bench SAVES GETS");
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    set_some(0, kKeys, 0);
    save();
    measure_saves(std::atoi(argv[1]));
    const int gets = std::atoi(argv[2]);
    print_gets("get_us", "get_p99_us", gets_alone(gets));
    const Times during = gets_during_saves(gets);
    print_gets("get_during_save_us", "get_during_save_p99_us", during);
    print("gets_during_save", static_cast<double>(during.size()));
    (void)std::printf("}\n");
    return 0;
}
