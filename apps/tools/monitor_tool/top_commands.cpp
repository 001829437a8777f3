/*
 * The command of monitor_tool that shows the list of modules, refreshed.
 */
#include <algorithm>
#include <cerrno>
#include <utility>

#include "cli/command_line_tool.h"
#include "monitor_tool/module_list.h"
#include "monitor_tool/module_report.h"
#include "monitor_tool/module_screen.h"
#include "monitor_tool/monitor_options.h"
#include "output/live_screen.h"
#include "output/output_failure.h"
#include "output/terminal.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kFirstColumn[] = "memory";
constexpr double kLongestInterval = 3600;

enum class Next {
    kLook,
    kQuit
};

class Top {
  public:
    explicit Top(const MonitorOptions &options)
        : options_(options),
          sort_(options.sort.empty() ? kFirstColumn : options.sort),
          reverse_(options.reverse),
          survey_(modules_to_ask(), options.limit()) {}

    /* Returns 0, or the errno value of a failed output. */
    int run() {
        LiveScreen screen(watch_);
        while (SignalWatch::caught() == 0) {
            survey_.begin();
            survey_.wait(watch_);
            look();
            if (!draw(screen)) {
                return errno;
            }
            if (wait(screen) == Next::kQuit) {
                break;
            }
        }
        return 0;
    }

  private:
    void look() {
        reports_ = with_facts(survey_.results());
        if (options_.running) {
            keep_running(reports_);
        }
    }

    bool draw(const LiveScreen &screen) {
        sort_reports(reports_, sort_, reverse_);
        std::vector<ScreenLine> lines;
        for (const std::string &text :
             screen_lines(reports_, sort_, {columns_of(Stream::kOutput), rows_of(Stream::kOutput)})) {
            lines.push_back({text, Style::kPlain});
        }
        lines[1].style = Style::kStrong;
        lines.back().style = Style::kFaint;
        return screen.draw(lines);
    }

    /* Handles keys until the next update. */
    Next wait(LiveScreen &screen) {
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(options_.interval));
        while (SignalWatch::caught() == 0 && Clock::now() < end) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            const char key = screen.wait_for_key(static_cast<int>(left.count()) + 1);
            if (key == 'q' || (obey(key) && !draw(screen))) {
                return Next::kQuit;
            }
        }
        return Next::kLook;
    }

    /* Handles a key. Returns whether to redraw. */
    bool obey(char key) {
        reverse_ = key == 'r' ? !reverse_ : reverse_;
        sort_ = key == 's' ? next_column() : sort_;
        return key == 'r' || key == 's';
    }

    std::string next_column() const {
        const std::vector<std::string> names = column_names();
        const auto at = std::find(names.begin(), names.end(), sort_) - names.begin();
        return names[(static_cast<size_t>(at) + 1) % names.size()];
    }

    const MonitorOptions &options_;
    std::string sort_;
    bool reverse_;
    const SignalWatch watch_; /* must be created before the survey's threads */
    ModuleSurvey survey_;
    std::vector<ModuleReport> reports_;
};

/* Runs until q or Ctrl-C. Without a terminal it prints the list once. */
ExitCode watch_modules(const MonitorOptions &options) {
    if (!is_screen(Stream::kOutput)) {
        MonitorOptions once = options;
        once.sort = options.sort.empty() ? kFirstColumn : options.sort;
        return list_modules(once);
    }
    Top top(options);
    const int error = top.run();
    return error == 0 ? ExitCode::kDone : output_failure(error);
}

// ---- the command line ----

MonitorOptions g_options;

void declare(CommandLineTool &tool) {
    Command top = tool.add("top", "Show the modules, refreshed, until q or Ctrl-C",
                           "monitor_tool top --interval 0.5 --sort time\n", g_options.runs(watch_modules));
    g_options.add_order(top, "memory");
    top.add("--interval", g_options.interval, "Seconds between two updates (2)")
        .value("S")
        .within_real(MonitorOptions::kShortestTime, kLongestInterval);
    g_options.add_timeout(top);
}

const CommandGroup kCommands(2, declare);

}  // namespace
