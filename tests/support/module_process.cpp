#include "support/module_process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <sstream>

namespace {

std::string new_record_path(int id) {
    static std::atomic<int> count{0};
    return "/tmp/record." + std::to_string(::getpid()) + "." + std::to_string(id) + "." +
           std::to_string(++count);
}

std::vector<std::string> module_environment(const ModuleOptions &options) {
    std::vector<std::string> environment = options.environment;
    environment.push_back(options.debug ? "QUOR_DEBUG=1" : "QUOR_DEBUG=0");
    return environment;
}

}  // namespace

std::vector<std::string> module_command(int id, const ModuleOptions &options, const std::string &record) {
    std::vector<std::string> command = {SCRIPTED_MODULE, "--id", std::to_string(id), "--record", record};
    if (!options.registered) {
        command.emplace_back("--unregistered");
    }
    if (!options.exit_handler) {
        command.emplace_back("--no-exit-handler");
    }
    return command;
}

ModuleProcess::ModuleProcess(int id, const ModuleOptions &options)
    : record_(new_record_path(id)),
      process_(module_command(id, options, record_), module_environment(options)) {
    reply();
}

ModuleProcess::~ModuleProcess() {
    const std::string errors = process_.errors();
    for (const char *finding : {"Sanitizer: ", "runtime error: "}) {
        EXPECT_EQ(std::string::npos, errors.find(finding)) << errors;
    }
    ::unlink(record_.c_str());
}

std::string ModuleProcess::ask(const std::string &command) {
    tell(command);
    return reply();
}

std::string ModuleProcess::reply() {
    return process_.read_line().value_or("no reply");
}

std::vector<std::string> ModuleProcess::messages() const {
    std::istringstream text(file_text(record_));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool ModuleProcess::wait_for_messages(size_t count) const {
    return wait_until([&] { return messages().size() >= count; });
}

bool ModuleProcess::wait_for_message(const std::string &message) const {
    return wait_until([&] {
        const std::vector<std::string> all = messages();
        return std::find(all.begin(), all.end(), message) != all.end();
    });
}
