/*
 * The command of logtool that shows the log.
 */
#include <utility>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/spelling_hint.h"
#include "device/module_words.h"
#include "device/text_file.h"
#include "logtool/journal_line.h"
#include "logtool/journal_reader.h"
#include "logtool/log_file.h"
#include "logtool/log_options.h"
#include "logtool/log_output.h"
#include "logtool/log_places.h"
#include "output/output_failure.h"
#include "support/log_line.h"

namespace {

/* As much as is shown of the past when the future is what matters. */
constexpr size_t kLinesBefore = 10;

ExitCode read_filter(const LogOptions &options, LogFilter *filter) {
    std::vector<uint32_t> modules;
    const ExitCode code = read_modules(options.modules, &modules);
    for (const uint32_t module : modules) {
        filter->modules.push_back(module_text(module));
    }
    filter->level = level_named(options.level);
    filter->text = options.text;
    return code;
}

size_t lines_before(const LogOptions &options) {
    return options.lines == 0 && options.follow ? kLinesBefore : options.lines;
}

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

/* Reports a failed output. */
ExitCode check_output(const LogOutput &output) {
    return output.error() == 0 ? ExitCode::kDone : output_failure(output.error());
}

// ---- a file ----

ExitCode follow_file(LogFile &file, const LogOutput &output, const LineTaker &take) {
    const SignalWatch watch;
    while (SignalWatch::caught() == 0 && output.error() == 0) {
        const std::string problem = file.read_more(watch, take);
        if (!problem.empty()) {
            return complain(ExitCode::kRefused, problem);
        }
    }
    return check_output(output);
}

/* code: the exit code for a file that can't be read. */
ExitCode show_file(const LogOptions &options, const std::string &path, ExitCode code, LogOutput &output) {
    const LineTaker take = [&](const std::string &line) { return output.take(parse_log_line(line)); };
    LogFile file(path);
    const std::string problem = file.read(take);
    if (!problem.empty()) {
        return complain(code, problem);
    }
    if (!options.follow) {
        file.read_rest(take);
    }
    (void)output.flush();
    return options.follow ? follow_file(file, output, take) : check_output(output);
}

// ---- the journal ----

/* The journal doesn't mark the end of the old lines, so a second run starts after the last line of the first.
 */
class JournalShow {
  public:
    /* missing: which log files don't exist, for a journal that can't be read either. */
    JournalShow(const std::vector<std::string> &modules, LogOutput &output, std::string missing)
        : modules_(modules), output_(output), missing_(std::move(missing)) {}

    ExitCode run(bool follow) {
        JournalReader reader(modules_, cursor_, follow);
        if (!reader.problem().empty()) {
            return complain(ExitCode::kRefused, reader.problem() + missing_);
        }
        reader.read(watch_, [this](const std::string &line) {
            return output_.take(parse_journal_line(line, &cursor_));
        });
        if (SignalWatch::caught() != 0 || output_.error() != 0) {
            return check_output(output_);
        }
        const std::string problem = reader.end();
        return problem.empty() ? ExitCode::kDone : complain(ExitCode::kRefused, problem + missing_);
    }

  private:
    const std::vector<std::string> &modules_;
    LogOutput &output_;
    const std::string missing_;
    const SignalWatch watch_;
    std::string cursor_;
};

/* Ctrl-C is success only when following. */
ExitCode show_journal(const LogOptions &options, const std::vector<std::string> &modules, LogOutput &output) {
    int signal_number = 0;
    ExitCode code = ExitCode::kDone;
    {
        JournalShow show(modules, output, missing_files(options));
        code = show.run(false);
        signal_number = SignalWatch::caught();
        if (code != ExitCode::kDone || !output.flush()) {
            return code != ExitCode::kDone ? code : check_output(output);
        }
        if (options.follow && signal_number == 0) {
            return show.run(true);
        }
    }
    end_by_signal(signal_number);
    return code;
}

/* A file that the user has named and that can't be read is wrong usage. */
ExitCode show_chosen_log(const LogOptions &options, const LogFilter &filter, LogOutput &output) {
    const std::string file = chosen_log_file(options);
    const ExitCode unreadable = options.file.empty() ? ExitCode::kRefused : ExitCode::kUsage;
    return file.empty() ? show_journal(options, filter.modules, output)
                        : show_file(options, file, unreadable, output);
}

/* Shows the given file, else the first existing log file of the system, else the journal. */
ExitCode show_log(const LogOptions &options) {
    if (options.follow && options.file == kStandardStream) {
        return complain(ExitCode::kUsage, "standard input can't be followed");
    }
    LogFilter filter;
    ExitCode code = read_filter(options, &filter);
    if (code != ExitCode::kDone) {
        return code;
    }
    LogOutput output(filter, lines_before(options), options.json);
    code = show_chosen_log(options, filter, output);
    return finish(options, output, code);
}

// ---- the command line ----

LogOptions g_options;

std::string check_level(const std::string &word) {
    return level_named(word) != kNoLevel ? "" : unknown_name("level", word, level_names());
}

void declare(CommandLineTool &tool) {
    Command show = tool.add("show", "Show the device's log",
                            "logtool show --module wlan --level warning\n"
                            "logtool show --follow --text 'errno='\n"
                            "logtool show --file /var/log/messages.0 --lines 20 --json\n",
                            g_options.runs(show_log));
    show.add("--module", g_options.modules, "Only lines of this module; may be given several times")
        .value("MODULE")
        .repeated();
    show.add("--level", g_options.level, "Only lines of this level or more urgent ones")
        .value("LEVEL")
        .check(check_level);
    show.add("--text", g_options.text, "Only lines with this text, ignoring case").value("TEXT");
    show.add("--file", g_options.file, "The log, - for standard input").value("FILE");
    show.flag("--journal", g_options.journal, "Read the journal, even if there is a log file")
        .excludes("--file");
    show.add("--lines", g_options.lines, "Only the last N of these lines").value("N").positive();
    show.flag("--follow", g_options.follow, "Continue with new lines, until Ctrl-C");
    g_options.add_json(show, "Print each line as JSON");
}

const CommandGroup kCommands(1, declare);

}  // namespace
