/*
 * The command of monitor_tool that shows the list of modules, refreshed.
 */
#include <cerrno>

#include "cli/command_line_tool.h"
#include "monitor_tool/module_columns.h"
#include "monitor_tool/module_list.h"
#include "monitor_tool/module_screen.h"
#include "monitor_tool/monitor_options.h"
#include "monitor_tool/process_trend.h"
#include "monitor_tool/top_view.h"
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
        : options_(options), view_(view_of(options)), survey_(modules_to_ask(), options.limit()) {}

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
    static TopView view_of(const MonitorOptions &options) {
        TopView view;
        view.sort = options.sort.empty() ? kFirstColumn : options.sort;
        view.reverse = options.reverse;
        view.running = options.running;
        return view;
    }

    void look() {
        reports_ = with_facts(survey_.results());
        trend_.add(reports_, seconds_since_boot());
    }

    static ScreenSize size() { return {columns_of(Stream::kOutput), rows_of(Stream::kOutput)}; }

    bool draw(const LiveScreen &screen) { return screen.draw(screen_lines(reports_, view_, size())); }

    /* Handles keys until the next update. */
    Next wait(LiveScreen &screen) {
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(options_.interval));
        while (SignalWatch::caught() == 0 && Clock::now() < end) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            const int key = screen.wait_for_key(static_cast<int>(left.count()) + 1);
            const size_t count = view_.selected(reports_).size();
            const TopReaction reaction = obey(view_, key, count, page_of(size()));
            if (reaction == TopReaction::kQuit || (reaction == TopReaction::kRedraw && !draw(screen))) {
                return Next::kQuit;
            }
        }
        return Next::kLook;
    }

    const MonitorOptions &options_;
    TopView view_;
    const SignalWatch watch_; /* must be created before the survey's threads */
    ModuleSurvey survey_;
    ProcessTrend trend_;
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
    g_options.add_order(top, "memory", top_column_names);
    top.add("--interval", g_options.interval, "Seconds between two updates")
        .value("S")
        .within_real(MonitorOptions::kShortestTime, kLongestInterval)
        .shows_default();
    g_options.add_timeout(top);
}

const CommandGroup kCommands(2, declare);

}  // namespace
