#include "apptest/arrivals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>

#include "apptest/body_text.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "output/json_output.h"
#include "output/output_failure.h"
#include "output/terminal.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int64_t kLongestWait = 1000000; /* milliseconds of one poll; longer waits are repeated */

void print_line(const Arrival &arrival) {
    const std::string body =
        arrival.body.empty() ? "" : ": " + shown_text(Stream::kOutput, body_line(arrival.body));
    (void)std::printf(
        "%s %s %zu %s%s\n",
        styled(Stream::kOutput, Style::kStrong, shown_text(Stream::kOutput, module_text(arrival.src)))
            .c_str(),
        shown_text(Stream::kOutput, message_text(arrival.msgid)).c_str(), arrival.body.size(),
        arrival.body.size() == 1 ? "byte" : "bytes", body.c_str());
}

void print_object(const Arrival &arrival) {
    const Json object = json_members();
    add_member(object, "from", json_text(module_text(arrival.src)));
    add_member(object, "message", json_number(arrival.msgid));
    add_member(object, "name", json_text(message_name(arrival.msgid)));
    add_member(object, "length", json_number(static_cast<int64_t>(arrival.body.size())));
    add_member(object, "hex", json_text(hex_of(arrival.body)));
    if (is_text(arrival.body)) {
        add_member(object, "text", json_text(without_nuls(arrival.body)));
    }
    print_json_line(object);
}

/* Milliseconds until a time, -1 for no limit. */
int left_until(Clock::time_point end, bool limited) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return limited ? static_cast<int>(std::clamp<int64_t>(left + 1, 0, kLongestWait)) : -1;
}

}  // namespace

Arrivals::Arrivals(const ArrivalLimits &limits, bool json)
    : limits_(limits), json_(json), wake_(::eventfd(0, EFD_CLOEXEC)) {}

void Arrivals::take(const Arrival &arrival) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        return;
    }
    if (json_) {
        print_object(arrival);
    } else {
        print_line(arrival);
    }
    if (std::fflush(stdout) != 0) {
        output_error_ = errno;
    }
    ++taken_;
    closed_ = output_error_ != 0 || taken_ == limits_.count;
    if (closed_) {
        (void)::eventfd_write(wake_, 1);
    }
}

ExitCode Arrivals::wait(const SignalWatch &watch) {
    const bool limited = limits_.seconds > 0;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(limits_.seconds));
    while (!finished() && SignalWatch::caught() == 0 && (!limited || Clock::now() < end)) {
        (void)watch.wait(wake_, left_until(end, limited));
    }
    return verdict();
}

bool Arrivals::finished() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return closed_;
}

ExitCode Arrivals::verdict() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    if (output_error_ != 0) {
        return output_failure(output_error_);
    }
    if (taken_ < limits_.count && SignalWatch::caught() == 0) {
        return complain(ExitCode::kRefused, std::to_string(taken_) + " of " + std::to_string(limits_.count) +
                                                " messages arrived in time");
    }
    return ExitCode::kDone;
}
