/*
 * zndb-model --service PROGRAM [--runs N] [--seed S] [--steps] [--no-shrinking]: random runs of the whole
 * database service, each judged by the reference model. Run number I has the seed S + I; --runs 1 --seed S
 * repeats one. Runs in its own device tree; see docs/testing.md.
 *
 * The status is 0 when every promise was kept, 1 when one was broken, and 2 for wrong arguments. --steps
 * prints each operation and its outcome.
 */
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "model/run_plan.h"
#include "model/shrink.h"
#include "model/trial.h"

namespace {

using model::Operation;

constexpr size_t kShrinkingRuns = 150;
constexpr std::chrono::seconds kShrinkingTime{60};

struct Options {
    std::string service = {};
    uint64_t runs = 1;
    uint64_t seed = 1;
    bool steps = false;
    bool shrinks = true;
};

bool read_options(int argc, char **argv, Options &options) {
    for (int at = 1; at < argc; ++at) {
        const std::string name = argv[at];
        const char *value = at + 1 < argc ? argv[at + 1] : nullptr;
        if (name == "--steps") {
            options.steps = true;
            continue;
        }
        if (name == "--no-shrinking") {
            options.shrinks = false;
            continue;
        }
        if (value == nullptr) {
            return false;
        }
        if (name == "--service") {
            options.service = value;
        } else if (name == "--runs") {
            options.runs = std::strtoull(value, nullptr, 10);
        } else if (name == "--seed") {
            options.seed = std::strtoull(value, nullptr, 10);
        } else {
            return false;
        }
        ++at;
    }
    return !options.service.empty() && options.runs > 0;
}

void print(const std::vector<Operation> &operations) {
    for (size_t i = 0; i < operations.size(); ++i) {
        std::cout << "  " << i << " " << model::describe(operations[i]) << "\n";
    }
}

void report(uint64_t seed, const std::vector<Operation> &operations, const model::Broken &broken) {
    std::cout << "zndb-model: FAILED with --seed " << seed << ", at operation " << broken.number << " of "
              << operations.size() << "\n  " << model::describe(operations[broken.number]) << "\n  "
              << broken.what << std::endl;
}

/* Prints few operations that break a promise too, and the log of the service. */
void report_shrunk(const Options &options, const std::vector<Operation> &operations,
                   const model::Broken &broken) {
    std::vector<Operation> fewer(operations.begin(),
                                 operations.begin() + static_cast<std::ptrdiff_t>(broken.number) + 1);
    const auto end = std::chrono::steady_clock::now() + kShrinkingTime;
    fewer = model::shrink(
        fewer,
        [&](const auto &some) {
            return std::chrono::steady_clock::now() < end &&
                   model::try_service(some, {options.service}).has_value();
        },
        kShrinkingRuns);
    std::cout << "These operations suffice:\n";
    print(fewer);
    const auto again = model::try_service(fewer, {options.service, true});
    std::cout << (again ? again->what : "but not every time") << std::endl;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    if (!read_options(argc, argv, options)) {
        std::cerr << "usage: zndb-model --service PROGRAM [--runs N] [--seed S] [--steps] [--no-shrinking]\n";
        return 2;
    }
    const auto begin = std::chrono::steady_clock::now();
    size_t count = 0;
    for (uint64_t seed = options.seed; seed < options.seed + options.runs; ++seed) {
        const std::vector<Operation> operations = model::plan_of(seed);
        count += operations.size();
        if (const auto broken = model::try_service(operations, {options.service, false, options.steps})) {
            report(seed, operations, *broken);
            if (options.shrinks) {
                report_shrunk(options, operations, *broken);
            }
            return 1;
        }
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::cout << "zndb-model: passed, " << options.runs << " runs from --seed " << options.seed << ", "
              << count << " operations, " << taken.count() << " s\n";
    return 0;
}
