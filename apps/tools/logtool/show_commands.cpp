/*
 * The command of logtool that shows the log.
 */
#include <ctime>
#include <utility>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/spelling_hint.h"
#include "device/text_file.h"
#include "log/log_time.h"
#include "logtool/file_show.h"
#include "logtool/journal_show.h"
#include "logtool/log_places.h"
#include "logtool/log_request.h"
#include "logtool/ring_show.h"
#include "support/log_line.h"

namespace {

/* As much as is shown of the past when the future is what matters. */
constexpr size_t kLinesBefore = 10;

// ---- what is selected ----

/* The log has lines of other programs too, so a name that is like none of a module's may be one of theirs. */
std::string module_problem(const Named &module) {
    const bool hinted = module.problem.empty() || module.problem.find("did you mean") != std::string::npos;
    return hinted ? module.problem : module.problem + "; --program selects lines of other programs";
}

ExitCode read_filter(const LogOptions &options, LogFilter *filter) {
    for (const std::string &word : options.modules) {
        const Named module = find_module(word);
        if (!module.problem.empty()) {
            return complain(ExitCode::kUsage, module_problem(module));
        }
        filter->modules.push_back(module_text(static_cast<uint32_t>(module.number)));
    }
    filter->programs = options.programs;
    filter->level = level_named(options.level);
    filter->text = options.text;
    return ExitCode::kDone;
}

/* The words were checked with the command line. */
std::optional<std::time_t> time_of_word(const std::string &word, std::time_t now) {
    std::time_t time = 0;
    return !word.empty() && read_time_word(word, now, &time).empty() ? std::optional<std::time_t>(time)
                                                                     : std::nullopt;
}

ExitCode read_period(const LogOptions &options, LogPeriod *period) {
    const std::time_t now = std::time(nullptr);
    *period = LogPeriod(time_of_word(options.since, now), time_of_word(options.until, now), now);
    const bool reversed = period->since() && period->until() && *period->since() > *period->until();
    return reversed ? complain(ExitCode::kUsage, "--since is later than --until") : ExitCode::kDone;
}

/* A follower who says where to begin wants all from there. */
size_t lines_before(const LogOptions &options) {
    return options.lines == 0 && options.follow && options.since.empty() ? kLinesBefore : options.lines;
}

// ---- what is said about it ----

/* Explains why nothing was printed. */
void explain_silence(const LogOptions &options, const LogOutput &output) {
    const std::string taken = std::to_string(output.taken());
    (void)complain(ExitCode::kDone, output.taken() == 0
                                        ? "there are no lines: " + empty_places(options)
                                        : "none of the " + taken + " lines of " + log_place(options) +
                                              " is selected by the options");
}

ExitCode finish(const LogOptions &options, const LogOutput &output, ExitCode code) {
    if (code != ExitCode::kDone || output.error() != 0) {
        return code;
    }
    if (output.without_level() > 0) {
        (void)complain(code, std::to_string(output.without_level()) + " lines without a level were left out");
    }
    if (output.wanted() == 0 && !options.follow) {
        explain_silence(options, output);
    }
    return code;
}

// ---- the command ----

/* The journal knows its lines' years and fractions of seconds, so it selects a period itself. */
ExitCode show_chosen_log(const LogRequest &request) {
    const LogSource source = chosen_source(request.options);
    if (source == LogSource::kJournal) {
        return show_journal(request);
    }
    request.output.limit_to(request.period);
    return source == LogSource::kRing ? show_ring(request)
                                      : show_file(request, chosen_log_file(request.options));
}

ExitCode show_log(const LogOptions &given) {
    LogOptions options = given;
    options.since = given.boot ? "boot" : given.since;
    if (options.follow && options.file == kStandardStream) {
        return complain(ExitCode::kUsage, "standard input can't be followed");
    }
    LogFilter filter;
    LogPeriod period;
    ExitCode code = read_filter(options, &filter);
    if (code == ExitCode::kDone) {
        code = read_period(options, &period);
    }
    if (code != ExitCode::kDone) {
        return code;
    }
    const size_t last = lines_before(options);
    LogOutput output(filter, last, options.json);
    code = show_chosen_log({options, filter, period, last, output});
    return finish(options, output, code);
}

// ---- the command line ----

LogOptions g_options;

std::string check_level(const std::string &word) {
    return level_named(word) != kNoLevel ? "" : unknown_choice("level", word, level_names());
}

std::string check_time(const std::string &word) {
    std::time_t time = 0;
    return read_time_word(word, std::time(nullptr), &time);
}

void add_selection(const Command &show) {
    show.add("-S,--since", g_options.since, "Only lines from this time on: '10:00', -1h, yesterday ...")
        .value("TIME")
        .check(check_time);
    show.add("-U,--until", g_options.until, "Only lines up to this time").value("TIME").check(check_time);
    show.flag("-b,--boot", g_options.boot, "Only lines since the device was started").excludes("--since");
    show.add("--module", g_options.modules, "Only lines of this module; may be given several times")
        .value("MODULE")
        .repeated();
    show.add("-t,--program", g_options.programs, "Only lines of this program, such as kernel; the same")
        .value("NAME")
        .repeated();
    show.add("-p,--level", g_options.level, "Only lines of this level or more urgent ones")
        .value("LEVEL")
        .check(check_level);
    show.add("--text", g_options.text, "Only lines with this text, ignoring case").value("TEXT");
    show.add("-n,--lines", g_options.lines, "Only the last N of these lines").value("N").positive();
    show.flag("-f,--follow", g_options.follow, "Continue with new lines, until Ctrl-C").excludes("--until");
}

void add_sources(const Command &show) {
    show.add("--file", g_options.file, "The log, - for standard input").value("FILE");
    show.flag("--journal", g_options.journal, "Read the journal, even if there is a log file")
        .excludes("--file");
    show.flag("--logread", g_options.ring, "Read the ring buffer of busybox, even if there is a log file")
        .excludes("--file")
        .excludes("--journal");
}

void declare(CommandLineTool &tool) {
    const Command show = tool.add("show", "Show the device's log",
                                  "logtool show --module wlan --level warning\n"
                                  "logtool show --since '10 min ago' --program kernel\n"
                                  "logtool show --since yesterday --until today -n 50\n"
                                  "logtool show --boot --level error\n"
                                  "logtool show -f --text 'errno='\n"
                                  "logtool show --file /var/log/messages.0 --json\n",
                                  g_options.runs(show_log));
    add_selection(show);
    add_sources(show);
    g_options.add_json(show, "Print each line as JSON");
}

const CommandGroup kCommands(1, declare);

}  // namespace
