/*
 * The command of apptest that loads a module with requests.
 */
#include <cstdio>

#include "apptest/apptest_options.h"
#include "apptest/load_run.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/user_signals.h"
#include "output/human_units.h"
#include "output/json_output.h"
#include "output/progress_bar.h"
#include "output/text_table.h"

namespace {

constexpr int kLookMilliseconds = 100;
constexpr double kDefaultSeconds = 5;
constexpr int kSecondsDigits = 3;

constexpr uint32_t kMostClients = 1000;
constexpr double kHighestRate = 1e6;

struct Percentile {
    const char *name;
    double percent;
};

constexpr Percentile kPercentiles[] = {{"p50", 50}, {"p90", 90}, {"p99", 99}, {"p99.9", 99.9}};

double per_second(const LoadResult &result) {
    return result.seconds > 0 ? static_cast<double>(result.answered) / result.seconds : 0;
}

std::string rounded(double number, int digits) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.*f", digits, number);
    return text;
}

uint64_t total(const std::map<apps_err_e_type, uint64_t> &counts) {
    uint64_t sum = 0;
    for (const auto &count : counts) {
        sum += count.second;
    }
    return sum;
}

/* Shows the progress bar until the run ends; Ctrl-C stops the run. */
void watch_run(LoadRun &run, const SignalWatch &watch) {
    const ProgressBar bar;
    while (run.done() < 1 && SignalWatch::caught() == 0) {
        bar.show(run.done(), std::to_string(run.finished()) + " requests");
        (void)watch.wait(-1, kLookMilliseconds);
    }
    run.stop();
}

void add_codes(TextTable &table, const char *what, const std::map<apps_err_e_type, uint64_t> &counts) {
    for (const auto &[code, times] : counts) {
        table.add({std::string(what) + " " + code_text(code), std::to_string(times)});
    }
}

void print_table(const LoadResult &result) {
    TextTable table({"RESULT", "VALUE"});
    table.add({"answered", std::to_string(result.answered)});
    add_codes(table, "refused", result.refused);
    add_codes(table, "lost", result.lost);
    table.add({"seconds", rounded(result.seconds, kSecondsDigits)});
    table.add({"answers per second", rounded(per_second(result), 1)});
    table.add({"fastest", milliseconds_text(static_cast<double>(result.latencies.lowest()))});
    table.add({"mean", milliseconds_text(result.latencies.mean())});
    for (const Percentile &percentile : kPercentiles) {
        const uint64_t time = result.latencies.percentile(percentile.percent);
        table.add({percentile.name, milliseconds_text(static_cast<double>(time))});
    }
    table.add({"slowest", milliseconds_text(static_cast<double>(result.latencies.highest()))});
    table.print();
}

Json codes_as_json(const std::map<apps_err_e_type, uint64_t> &counts) {
    Json object = json_members();
    for (const auto &[code, times] : counts) {
        add_member(object, code_name(code), json_number(static_cast<int64_t>(times)));
    }
    return object;
}

Json latencies_as_json(const LatencyHistogram &latencies) {
    Json object = json_members();
    add_member(object, "lowest", json_number(static_cast<int64_t>(latencies.lowest())));
    add_member(object, "mean", json_number(static_cast<int64_t>(latencies.mean())));
    for (const Percentile &percentile : kPercentiles) {
        add_member(object, percentile.name,
                   json_number(static_cast<int64_t>(latencies.percentile(percentile.percent))));
    }
    add_member(object, "highest", json_number(static_cast<int64_t>(latencies.highest())));
    return object;
}

void print_object(const LoadResult &result) {
    const Json object = json_members();
    add_member(object, "answered", json_number(static_cast<int64_t>(result.answered)));
    add_member(object, "refused", codes_as_json(result.refused));
    add_member(object, "lost", codes_as_json(result.lost));
    add_member(object, "seconds", json_word(rounded(result.seconds, kSecondsDigits)));
    add_member(object, "answers_per_second", json_word(rounded(per_second(result), 1)));
    add_member(object, "microseconds", latencies_as_json(result.latencies));
    print_json(object);
}

/* "7 E_APPS_ERR_NOTFOUND, 17 E_APPS_ERR_BUSY" */
std::string code_list(const std::map<apps_err_e_type, uint64_t> &counts) {
    std::string all;
    for (const auto &count : counts) {
        all += (all.empty() ? "" : ", ") + code_text(count.first);
    }
    return all;
}

/* The exit code of the worst result. */
ExitCode judge(const LoadResult &result, const std::string &module) {
    const uint64_t lost = total(result.lost);
    const uint64_t refused = total(result.refused);
    if (lost > 0) {
        return complain(ExitCode::kUnreachable, std::to_string(lost) + " requests to " + module +
                                                    " were lost: " + code_list(result.lost));
    }
    if (refused > 0) {
        return complain(ExitCode::kRefused, std::to_string(refused) + " requests were refused by " + module +
                                                ": " + code_list(result.refused));
    }
    return ExitCode::kDone;
}

LoadPlan plan_of(const AppTestOptions &options, const Envelope &envelope) {
    const bool endless = options.count == 0 && options.seconds <= 0;
    return {envelope,
            options.clients,
            options.rate,
            options.count,
            endless ? kDefaultSeconds : options.seconds,
            options.room.value_or(kDefaultRoom),
            options.timeout};
}

/* Ctrl-C ends the run early, and the results until then are printed. */
ExitCode load_module(const AppTestOptions &options) {
    Envelope envelope;
    const ExitCode code = read_envelope(options, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    const RequestOutcome probe = send_request(envelope.module, E_APPS_MSG_SYS_PROBE, "");
    if (!probe.done()) {
        return report_outcome(probe, envelope.module, "load");
    }
    int signal_number = 0;
    LoadResult result;
    {
        auto watch = std::make_unique<SignalWatch>();
        LoadRun run(plan_of(options, envelope));
        watch_run(run, *watch);
        signal_number = SignalWatch::caught();
        watch.reset(); /* so that a second Ctrl-C ends the tool at once */
        result = run.result();
    }
    if (options.json) {
        print_object(result);
    } else {
        print_table(result);
    }
    end_by_signal(signal_number);
    return judge(result, module_text(envelope.module));
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
    Command load = tool.add("load", "Send many requests and print how fast they were answered",
                            "apptest load wlan sys_status --room 4 --seconds 10\n"
                            "apptest load zndb zndb_get --nul lan_ip --clients 8 --rate 2000 --json\n",
                            g_options.runs(load_module));
    g_options.add_module(load);
    g_options.add_message(load).required();
    g_options.add_body(load);
    g_options.add_timeout(load);
    g_options.add_room(load);
    g_options.add_limits(load, "requests");
    load.add("--clients", g_options.clients, "Number of concurrent clients")
        .value("N")
        .within(1, kMostClients)
        .shows_default();
    load.add("--rate", g_options.rate, "Total request rate, per second (default: unlimited)")
        .value("N")
        .within_real(0.01, kHighestRate);
    g_options.add_json(load, "Print JSON");
}

const CommandGroup kCommands(3, declare);

}  // namespace
