/*
 * Fuzzes the terminal output of the tools and of the log: names, keys, values, arguments and log lines reach
 * the terminal only as text.
 *
 * Input: a key or name up to a NUL, then a value or text. Every function gets both.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "apptest/arrivals.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/input_line.h"
#include "log/log_time.h"
#include "logtool/log_output.h"
#include "os/log_text.h"
#include "output/field_list.h"
#include "output/json_output.h"
#include "output/live_screen.h"
#include "output/progress_bar.h"
#include "output/text_table.h"
#include "support/fuzz_input.h"
#include "support/strict_terminal.h"
#include "zndb_tool/entry_output.h"

/* Every descriptor is a terminal here, of an unknown size. */
extern "C" int __wrap_isatty(int) {
    return 1;
}

namespace {

/* Captures the output while the object exists. */
class Printed {
  public:
    Printed() : output_(stdout), errors_(stderr), stream_(open_memstream(&bytes_, &size_)) {
        FUZZ_CHECK(stream_ != nullptr);
        stdout = stream_;
        stderr = stream_;
    }
    ~Printed() {
        stdout = output_;
        stderr = errors_;
        (void)std::fclose(stream_);
        std::free(bytes_);
    }
    Printed(const Printed &) = delete;
    Printed &operator=(const Printed &) = delete;

    std::string text() const {
        (void)std::fflush(stream_);
        return {bytes_, size_};
    }

  private:
    FILE *const output_;
    FILE *const errors_;
    char *bytes_ = nullptr;
    size_t size_ = 0;
    FILE *stream_;
};

template <typename Print>
std::string printed_by(Print print) {
    const Printed printed;
    print();
    return printed.text();
}

/* Prints, and expects only text and this number of escape sequences. */
template <typename Print>
void expect_text(size_t own_sequences, Print print) {
    StrictTerminal terminal;
    terminal.take(printed_by(print));
    FUZZ_CHECK(terminal.sequences() == own_sequences);
}

void print_plain(const std::string &name, const std::string &text) {
    expect_text(0, [&] { (void)complain(ExitCode::kDone, name + text); });
    expect_text(0, [&] { print_entries(name, {{name, text}}); });
    expect_text(0, [&] { print_entry_lines({{name, text}}); });
    expect_text(0, [&] { print_words(name, {text, name}); });
    expect_text(0, [&] { print_title(name); });
    expect_text(0, [&] { print_field(name, text); });
    expect_text(0, [&] {
        TextTable table({"NAME", "TEXT"});
        table.add({name, text});
        table.print();
    });
}

/* Standard input is empty. */
void ask(const std::string &prompt) {
    expect_text(0, [&] {
        std::string line;
        (void)read_input_line(prompt, false, &line);
    });
}

/* The words that a tool knows, and those of the command line. */
std::vector<std::string> g_words;
std::string g_key;
std::string g_type;

void declare(CommandLineTool &tool) {
    const Command command = tool.add("get", "Print it", "tool get\n", [] { return ExitCode::kDone; });
    command.add("KEY", g_key, "A key").value("KEY");
    command.add("--type", g_type, "A type").one_of("type", [] { return g_words; });
    tool.complete("KEY", [] { return g_words; });
}

void run_with(std::vector<std::string> words) {
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    expect_text(0, [&] {
        (void)run_tool({"tool", "A tool", "tool get\n"}, declare, static_cast<int>(arguments.size()),
                       arguments.data());
    });
}

/* Short words only: the spelling hint of a long one takes seconds. */
void run_command_lines(const std::string &name, const std::string &text) {
    constexpr size_t kLongest = 100;
    if (name.size() > kLongest || text.size() > kLongest) {
        return;
    }
    g_words = {name, text};
    run_with({"tool", name, text});
    run_with({"tool", "get", name, text});
    run_with({"tool", "get", "--type", text + "x"});
    run_with({"tool", "--complete", "get", ""});
}

void print_as_json(const std::string &name, const std::string &text) {
    expect_text(0, [&] {
        const Json members = json_members();
        add_member(members, name, json_text(text));
        print_json(members);
    });
    expect_text(0, [&] {
        const Json word = json_word(text);
        print_json_line(word);
    });
}

/* As a word of the command line, and as the time of a line. */
void read_times(const std::string &text) {
    constexpr std::time_t kNow = 1795000000;
    std::time_t time = 0;
    (void)read_time_word(text, kNow, &time);
}

void print_logs(const std::string &name, const std::string &text) {
    for (const bool json : {false, true}) {
        expect_text(0, [&] {
            LogOutput output(LogFilter(), 0, json);
            LogRecord line;
            line.time = name;
            line.module = name;
            line.process = name;
            line.text = text;
            (void)output.take(line);
            (void)output.take(parse_log_line(text));
        });
        expect_text(0, [&] {
            Arrivals arrivals({0, 0}, json);
            arrivals.take({1, 2001, text});
        });
    }
}

/* Two sequences each to enter, to begin and end the drawing, one for each line, and two to leave. */
void draw(const std::string &name, const std::string &text) {
    const SignalWatch watch;
    expect_text(2 + 2 + 2 + 2, [&] {
        (void)LiveScreen(watch).draw({{name, Style::kStrong}, {text, Style::kPlain}});
    });
}

/* The bar erases its line, with a carriage return and a sequence, before each drawing and at its end. */
void show_progress(const std::string &text) {
    std::string shown = printed_by([&] { ProgressBar().show(0.5, text); });
    for (size_t at = 0; (at = shown.find("\r\033[K", at)) != std::string::npos;) {
        shown.erase(at, 1);
    }
    StrictTerminal terminal;
    terminal.take(shown);
    FUZZ_CHECK(terminal.sequences() == 2);
}

void log_line(const char *text) {
    LogText line;
    line.add_escaped(text);
    StrictTerminal terminal(Malformed::kTakenAboveC1);
    terminal.take(line.text());
    FUZZ_CHECK(terminal.sequences() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    (void)::setenv("NO_COLOR", "1", 1);
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return ::dup2(nothing, STDIN_FILENO) == STDIN_FILENO ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const std::string name(input.text());
    const std::string text(input.rest());
    print_plain(name, text);
    ask(name);
    run_command_lines(name.c_str(), text.c_str());
    print_as_json(name, text);
    print_logs(name, text);
    read_times(text);
    draw(name, text);
    show_progress(text);
    log_line(text.c_str());
    return 0;
}
