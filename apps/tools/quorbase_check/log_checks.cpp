#include <fcntl.h>
#include <unistd.h>

#include "checks.h"
#include "os_log.h"

namespace {

constexpr char kWords[] = "a line of the check";

/* Standard error goes to a file of the examination from here on. */
std::string catch_errors(const Examination &that) {
    std::string path = that.file("errors", "");
    const UniqueFd file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    (void)::dup2(file.get(), STDERR_FILENO);
    return path;
}

bool shows(const std::string &path, const std::string &text) {
    return Examination::content(path).find(text) != std::string::npos;
}

int *int_word(const Examination &that, const char *name) {
    void *const word = that.demand(name);
    const size_t size = that.loaded().variable_size(name);
    that.expect(size >= sizeof(int), std::string(name) + " is no int variable");
    return static_cast<int *>(word);
}

}  // namespace

void checks::check_g_debug_log_enable(const Examination &that) {
    that.expect(*int_word(that, "g_debug_log_enable") == 0, "is not 0 before os_debug_enable");
}

void checks::check_g_syslog_level(const Examination &that) {
    const int level = *int_word(that, "g_syslog_level");
    that.expect(level >= 0 && level <= OS_LOG_VERBOSE, "is no level: " + std::to_string(level));
}

void checks::check_os_log_init(const Examination &that) {
    constexpr uint32_t kUser = 19;
    CALL(that, os_log_init)("quorbase-check", kUser);
    that.end(Verdict::kCalled, "");
}

void checks::check_os_debug_enable(const Examination &that) {
    const int *const word = int_word(that, "g_debug_log_enable");
    CALL(that, os_debug_enable)();
    that.expect(*word != 0, "leaves g_debug_log_enable at 0");
}

void checks::check_os_mask_check(const Examination &that) {
    that.expect(CALL(that, os_mask_check)(OS_LOG_VERBOSE) != 0, "masks a level though no mask was set");
}

void checks::check_os_debug_print(const Examination &that) {
    const std::string errors = catch_errors(that);
    CALL(that, os_debug_print)(OS_LOG_WARNING, "file.c", "function", 1, "%s %d", kWords, 7);
    that.expect(shows(errors, std::string(kWords) + " 7"), "writes no formatted line on standard error");
}

void checks::check_os_trace_print(const Examination &that) {
    CALL(that, os_trace_print)(OS_LOG_DEBUG, "file.c", "function", 1, "%s", kWords);
    that.end(Verdict::kCalled, "");
}

void checks::check_os_log_assert(const Examination &that) {
    const std::string errors = catch_errors(that);
    CALL(that, os_log_assert)("file.c", "function", 1, 1, "condition", kWords);
    that.expect(!shows(errors, kWords), "logs a condition that holds");
    that.end(Verdict::kCalled, "");
}
