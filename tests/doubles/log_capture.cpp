/*
 * Log lines of the code under test, kept for questions.
 */
#include "doubles/log_capture.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "doubles/base_doubles.h"

/* Shared with the stand-ins, so that a thread that logs late finds it alive. */
struct LogCapture::State {
    mutable std::mutex mutex;
    mutable std::condition_variable grown;
    std::vector<LogLine> lines;
    size_t assertions = 0;

    void add_assertion(const LogLine &line) {
        for (const LogChannel channel : {LogChannel::kDebug, LogChannel::kSystem}) {
            add({channel, line.level, line.file, line.function, line.line, line.text});
        }
        const std::lock_guard<std::mutex> lock(mutex);
        ++assertions;
    }

    void add(LogLine line) {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(std::move(line));
        grown.notify_all();
    }

    std::vector<LogLine> of(LogChannel channel) const {
        const std::lock_guard<std::mutex> lock(mutex);
        std::vector<LogLine> found;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                     [channel](const LogLine &line) { return line.channel == channel; });
        return found;
    }

    /* The caller holds the mutex. */
    bool has(const std::string &text) const {
        return std::any_of(lines.begin(), lines.end(), [&text](const LogLine &line) {
            return line.text.find(text) != std::string::npos;
        });
    }
};

namespace {

size_t count_in(const std::vector<LogLine> &lines, const std::string &text) {
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&text](const LogLine &line) {
        return line.text.find(text) != std::string::npos;
    }));
}

std::string assertion_text(const char *condition, const char *message) {
    return std::string("ASSERT(") + condition + ") " + message;
}

}  // namespace

LogCapture::LogCapture()
    : state_(std::make_shared<State>()),
      debug_before_(__atomic_load_n(&g_debug_log_enable, __ATOMIC_RELAXED)),
      level_before_(__atomic_load_n(&g_syslog_level, __ATOMIC_RELAXED)) {
    const auto to = [state = state_](LogChannel channel) {
        return
            [state, channel](int level, const char *file, const char *function, int line, const char *text) {
                state->add({channel, level, file, function, line, text});
            };
    };
    doubles::base::os_debug_print.stand_in(to(LogChannel::kDebug));
    doubles::base::os_trace_print.stand_in(to(LogChannel::kSystem));
    doubles::base::os_log_assert.stand_in([state = state_](const char *file, const char *function, int line,
                                                           int condition, const char *text,
                                                           const char *message) {
        if (condition != 0) {
            return;
        }
        state->add_assertion(
            {LogChannel::kDebug, OS_LOG_WARNING, file, function, line, assertion_text(text, message)});
    });
    __atomic_store_n(&g_debug_log_enable, 1, __ATOMIC_RELAXED);
    __atomic_store_n(&g_syslog_level, OS_LOG_VERBOSE, __ATOMIC_RELAXED);
}

LogCapture::~LogCapture() {
    __atomic_store_n(&g_debug_log_enable, debug_before_, __ATOMIC_RELAXED);
    __atomic_store_n(&g_syslog_level, level_before_, __ATOMIC_RELAXED);
    doubles::base::os_debug_print.restore();
    doubles::base::os_trace_print.restore();
    doubles::base::os_log_assert.restore();
}

bool LogCapture::contains(const std::string &text) const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->has(text);
}

size_t LogCapture::count(const std::string &text) const {
    return std::max(count_in(debug_lines(), text), count_in(system_lines(), text));
}

bool LogCapture::wait_for(const std::string &text, int seconds) const {
    std::unique_lock<std::mutex> lock(state_->mutex);
    // On the steady clock the wait is one that the thread sanitizer does not know.
    const auto limit = std::chrono::system_clock::now() + std::chrono::seconds(seconds);
    return state_->grown.wait_until(lock, limit, [this, &text] { return state_->has(text); });
}

size_t LogCapture::assertions() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->assertions;
}

std::vector<LogLine> LogCapture::debug_lines() const {
    return state_->of(LogChannel::kDebug);
}

std::vector<LogLine> LogCapture::system_lines() const {
    return state_->of(LogChannel::kSystem);
}

std::string LogCapture::text() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    std::string all;
    for (const LogLine &line : state_->lines) {
        all += line.channel == LogChannel::kDebug ? "debug  " : "system ";
        all += std::to_string(line.level) + " " + line.file + " " + line.function + ": " + line.text + "\n";
    }
    return all;
}

void LogCapture::clear() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->lines.clear();
}
