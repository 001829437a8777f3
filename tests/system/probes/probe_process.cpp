#include "system/probes/probe_process.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "support/wait_until.h"

namespace {

std::vector<std::string> with_program(std::vector<std::string> words, const std::vector<std::string> &probe) {
    words.emplace_back(PROBE_MODULE);
    words.insert(words.end(), probe.begin(), probe.end());
    return words;
}

}  // namespace

ProbeTest::ProbeTest() : path_(std::string(kTools) + ":" + getenv("PATH")) {
    std::filesystem::remove_all(kTools);
    std::filesystem::create_directory(kTools);
}

void ProbeTest::use_busybox(const std::string &tool) {
    constexpr char kBusybox[] = "/usr/bin/busybox";
    ASSERT_TRUE(std::filesystem::exists(kBusybox)) << "busybox is not installed";
    std::filesystem::create_symlink(kBusybox, std::string(kTools) + "/" + tool);
}

void ProbeTest::use_script(const std::string &tool, const std::string &script) {
    const std::string path = std::string(kTools) + "/" + tool;
    ASSERT_TRUE(write_text(path, "#!/bin/sh\n" + script + "\n"));
    ASSERT_EQ(0, chmod(path.c_str(), 0755));
}

std::string ProbeTest::answer(const std::vector<std::string> &command) {
    ChildProcess process(command, {"PATH=" + path_, "LC_ALL=C", "QUOR_DEBUG=1"});
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
