#include "system/probes/probe_process.h"

#include <unistd.h>

#include <sstream>

#include "support/child_process.h"

namespace {

std::vector<std::string> with_program(std::vector<std::string> words, const std::vector<std::string> &probe) {
    words.emplace_back(PROBE_MODULE);
    words.insert(words.end(), probe.begin(), probe.end());
    return words;
}

}  // namespace

std::string ProbeTest::answer(const std::vector<std::string> &command) {
    ChildProcess process(command, environment_);
    process.close_input();
    const std::string line = process.read_line().value_or("(no answer)");
    EXPECT_EQ(0, process.exit_status()) << process.errors();
    errors_ = process.errors();
    return line;
}

std::string ProbeTest::ask(const std::vector<std::string> &probe) {
    return answer(with_program({}, probe));
}

std::string ProbeTest::ask_after(const std::string &command, const std::vector<std::string> &probe) {
    std::vector<std::string> words = {"unshare", "--mount"};
    if (geteuid() != 0) {
        words.emplace_back("--map-root-user");
    }
    for (const std::string &word :
         {std::string("sh"), std::string("-c"), command + " && exec \"$@\"", std::string("probe")}) {
        words.push_back(word);
    }
    return answer(with_program(words, probe));
}

std::vector<long long> numbers_of(const std::string &line) {
    std::istringstream words(line);
    std::vector<long long> numbers;
    for (long long number = 0; words >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}
