#include "monitor_tool/module_screen.h"

#include <algorithm>

#include "output/human_units.h"
#include "output/progress_bar.h"

namespace {

constexpr size_t kStateWidth = 7;
constexpr size_t kNumberWidth = 6;
constexpr size_t kFewestNameColumns = 8;
constexpr size_t kLongestBar = 30;
constexpr size_t kLinesAround = 3; /* summary, heading, keys */
constexpr char kKeys[] = "q quits, s sorts by the next column, r turns it round";

/* The widths of a line's parts. */
struct Layout {
    size_t columns;
    size_t name;
    size_t bar;
};

/* The largest shown values, at least 1. */
struct Scale {
    double memory = 1;
    double time = 1;
};

std::string left(std::string text, size_t width) {
    text.resize(width, ' ');
    return text;
}

std::string right(const std::string &text, size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string fitted(const std::string &text, const Layout &layout) {
    std::string line = text.substr(0, layout.columns);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/* Name, state, number, bar, number and bar are separated by blanks. */
Layout layout_for(const std::vector<ModuleReport> &reports, size_t columns) {
    size_t longest = kFewestNameColumns;
    for (const ModuleReport &report : reports) {
        longest = std::max(longest, report.facts.name.size());
    }
    const size_t name = std::min(longest, std::max(kFewestNameColumns, columns / 4));
    const size_t fixed = name + kStateWidth + 2 * kNumberWidth + 5;
    const size_t bar = columns > fixed ? std::min((columns - fixed) / 2, kLongestBar) : 0;
    return {columns, name, bar};
}

double memory_of(const ModuleReport &report) {
    return report.result.memory ? report.result.memory->live_bytes : 0;
}

double time_of(const ModuleReport &report) {
    return is_running(report) ? static_cast<double>(report.result.microseconds) : 0;
}

Scale scale_of(const std::vector<ModuleReport> &reports) {
    Scale scale;
    for (const ModuleReport &report : reports) {
        scale.memory = std::max(scale.memory, memory_of(report));
        scale.time = std::max(scale.time, time_of(report));
    }
    return scale;
}

std::string heading(const Layout &layout) {
    return fitted(left("NAME", layout.name) + " " + left("STATE", kStateWidth) + " " +
                      right("MEMORY", kNumberWidth) + " " + left("", layout.bar) + " " +
                      right("MS", kNumberWidth),
                  layout);
}

std::string module_line(const ModuleReport &report, const Layout &layout, const Scale &scale) {
    const std::string memory = report.result.memory ? short_bytes(report.result.memory->live_bytes) : "";
    const std::string time = is_running(report) ? short_milliseconds(time_of(report)) : "";
    return fitted(left(report.facts.name, layout.name) + " " + left(state_of(report), kStateWidth) + " " +
                      right(memory, kNumberWidth) + " " +
                      bar_text(memory_of(report) / scale.memory, layout.bar) + " " +
                      right(time, kNumberWidth) + " " + bar_text(time_of(report) / scale.time, layout.bar),
                  layout);
}

std::string summary(const std::vector<ModuleReport> &reports, const std::string &sort) {
    const auto running = std::count_if(reports.begin(), reports.end(), is_running);
    return std::to_string(running) + " of " + std::to_string(reports.size()) + " modules run, by " + sort;
}

}  // namespace

std::vector<std::string> screen_lines(const std::vector<ModuleReport> &reports, const std::string &sort,
                                      const ScreenSize &size) {
    const Layout layout = layout_for(reports, size.columns);
    const Scale scale = scale_of(reports);
    const size_t room = size.rows > kLinesAround ? size.rows - kLinesAround : 0;
    std::vector<std::string> lines = {fitted(summary(reports, sort), layout), heading(layout)};
    for (size_t i = 0; i < std::min(reports.size(), room); ++i) {
        lines.push_back(module_line(reports[i], layout, scale));
    }
    lines.push_back(fitted(kKeys, layout));
    return lines;
}
