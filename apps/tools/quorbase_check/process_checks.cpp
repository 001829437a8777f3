#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "checks.h"
#include "formats/device_paths.h"
#include "os_process.h"

namespace {

/* The first line of a command's output, without its end. */
std::string first_line(const Examination &that, const char *command) {
    std::FILE *const stream = CALL(that, os_popen)(command, "r");
    that.expect(stream != nullptr, "can't be tried: os_popen gives no stream");
    std::array<char, 64> line = {};
    const bool read = std::fgets(line.data(), line.size(), stream) != nullptr;
    (void)CALL(that, os_pclose)(stream);
    const std::string text(read ? line.data() : "");
    return text.substr(0, text.find('\n'));
}

/* Leaves a process running in a scope. Returns its id. */
pid_t leave_process(const Examination &that) {
    CALL(that, os_command_scope_open)();
    const std::string id = first_line(that, "sleep 1000 > /dev/null & echo $!");
    that.expect(!id.empty(), "can't be tried: os_popen gives no output");
    return static_cast<pid_t>(std::strtol(id.c_str(), nullptr, 10));
}

/* A process that has ended keeps its id until its parent takes notice, which may be never. */
bool runs(pid_t process) {
    const std::string folder = std::string(paths::kProcessFolder) + "/" + std::to_string(process);
    const std::string facts = Examination::content(folder + "/stat");
    const size_t end_of_name = facts.rfind(") ");
    return end_of_name != std::string::npos && facts.compare(end_of_name, 3, ") Z") != 0;
}

/* One that was killed may take a moment to end. */
bool runs_on(pid_t process) {
    constexpr int kLooks = 100;
    constexpr useconds_t kPause = 10000;
    for (int i = 0; i < kLooks && runs(process); ++i) {
        (void)::usleep(kPause);
    }
    return runs(process);
}

}  // namespace

void checks::check_os_system(const Examination &that) {
    const auto run = CALL(that, os_system);
    const std::string file = that.path("made");
    const int32_t status = run(("echo done | cat > '" + file + "'; exit 3").c_str());
    that.expect(Examination::content(file) == "done\n", "does not run its text through a shell");
    that.expect(WIFEXITED(status) && WEXITSTATUS(status) == 3, "does not return what system(3) returns");
}

void checks::check_os_popen(const Examination &that) {
    that.expect(CALL(that, os_popen)("exit 0", "r") != nullptr, "gives no stream");
    that.expect(first_line(that, "echo one; echo two") == "one", "does not give a command's output");
    const std::string file = that.path("written");
    std::FILE *const stream = CALL(that, os_popen)(("cat > '" + file + "'").c_str(), "w");
    that.expect(stream != nullptr, "gives no stream to a command");
    (void)std::fputs("written", stream);
    (void)CALL(that, os_pclose)(stream);
    that.expect(Examination::content(file) == "written", "does not give a command its input");
}

void checks::check_os_pclose(const Examination &that) {
    std::FILE *const stream = CALL(that, os_popen)("exit 3", "r");
    that.expect(stream != nullptr, "can't be tried: os_popen gives no stream");
    const int32_t status = CALL(that, os_pclose)(stream);
    that.expect(WIFEXITED(status) && WEXITSTATUS(status) == 3, "does not return the command's status");
}

void checks::check_os_command_scope_open(const Examination &that) {
    const pid_t process = leave_process(that);
    that.expect(runs(process), "ends a process before the scope is closed");
    (void)CALL(that, os_command_scope_close)();
}

void checks::check_os_command_scope_close(const Examination &that) {
    const pid_t process = leave_process(that);
    that.expect(CALL(that, os_command_scope_close)() == 0, "fails");
    const bool is_left = runs_on(process);
    (void)::kill(process, SIGKILL);
    that.expect(!is_left, "leaves a process running");
}

void checks::check_os_command_untranslated(const Examination &that) {
    const auto untranslated = CALL(that, os_command_untranslated);
    (void)::setenv("LC_ALL", "C.UTF-8", 1); /* NOLINT(concurrency-mt-unsafe) */
    that.expect(untranslated(1) == 0, "is on at first");
    that.expect(first_line(that, "echo $LC_ALL") == "C", "does not set LC_ALL=C for commands");
    that.expect(untranslated(0) == 1, "does not return the previous setting");
    that.expect(first_line(that, "echo $LC_ALL") == "C.UTF-8", "changes the environment of other commands");
}
