#include "monitor_tool/module_screen.h"

#include <algorithm>
#include <string_view>

#include "output/human_units.h"
#include "output/progress_bar.h"

namespace {

constexpr size_t kFewestStateColumns = 7;
constexpr size_t kNumberWidth = 6;
constexpr size_t kFewestNameColumns = 8;
constexpr size_t kShortestBar = 3;
constexpr size_t kLongestBar = 30;
constexpr size_t kLinesAround = 3; /* summary, heading, keys */

/* The first that fits is shown. */
constexpr const char *kKeys[] = {"q quits, s sorts by the next column, r reverses the order",
                                 "q quits, s sorts, r reverses", "q quits"};

/* The widths of a line's parts; 0 for a part that doesn't fit. */
struct Layout {
    size_t columns;
    size_t name;
    size_t state;
    size_t memory;
    size_t time;
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

/* The parts that have a width, with blanks between them. */
std::string joined_parts(const std::vector<std::string> &parts, const Layout &layout) {
    std::string line;
    for (const std::string &part : parts) {
        line += (line.empty() || part.empty() ? "" : " ") + part;
    }
    return fitted(line, layout);
}

size_t longest_name(const std::vector<ModuleReport> &reports) {
    size_t longest = kFewestNameColumns;
    for (const ModuleReport &report : reports) {
        longest = std::max(longest, report.facts.name.size());
    }
    return longest;
}

size_t longest_state(const std::vector<ModuleReport> &reports) {
    size_t longest = kFewestStateColumns;
    for (const ModuleReport &report : reports) {
        longest = std::max(longest, std::string(state_of(report)).size());
    }
    return longest;
}

/* Takes the width of a part, and of the blank before it, from what is left of the line. */
size_t take(size_t width, size_t *left) {
    if (*left < width + 1) {
        *left = 0;
        return 0;
    }
    *left -= width + 1;
    return width;
}

/* On a narrow screen the bars shrink and go first, then the times, then the memory. */
Layout layout_for(const std::vector<ModuleReport> &reports, size_t columns) {
    const size_t name = std::min(longest_name(reports), std::max(kFewestNameColumns, columns / 4));
    size_t left = columns - std::min(columns, name);
    Layout layout = {columns, name, take(longest_state(reports), &left), 0, 0, 0};
    layout.memory = take(kNumberWidth, &left);
    layout.time = take(kNumberWidth, &left);
    const size_t bar = left > 2 ? std::min((left - 2) / 2, kLongestBar) : 0;
    layout.bar = bar < kShortestBar ? 0 : bar;
    return layout;
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
    return joined_parts({left("NAME", layout.name), left("STATE", layout.state),
                         layout.memory > 0 ? right("MEMORY", layout.memory) : "", left("", layout.bar),
                         layout.time > 0 ? right("MS", layout.time) : ""},
                        layout);
}

std::string module_line(const ModuleReport &report, const Layout &layout, const Scale &scale) {
    const std::string memory = report.result.memory ? short_bytes(report.result.memory->live_bytes) : "";
    const std::string time = is_running(report) ? short_milliseconds(time_of(report)) : "";
    return joined_parts(
        {left(report.facts.name, layout.name), left(state_of(report), layout.state),
         layout.memory > 0 ? right(memory, layout.memory) : "",
         bar_text(memory_of(report) / scale.memory, layout.bar),
         layout.time > 0 ? right(time, layout.time) : "", bar_text(time_of(report) / scale.time, layout.bar)},
        layout);
}

std::string keys(size_t columns) {
    for (const char *text : kKeys) {
        if (std::string_view(text).size() <= columns) {
            return text;
        }
    }
    return "";
}

std::string summary(const std::vector<ModuleReport> &reports, const std::string &sort) {
    const auto running = std::count_if(reports.begin(), reports.end(), is_running);
    return std::to_string(running) + " of " + std::to_string(reports.size()) +
           " modules running, sorted by " + sort;
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
    lines.push_back(keys(size.columns));
    return lines;
}
