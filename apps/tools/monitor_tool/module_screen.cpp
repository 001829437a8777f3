#include "monitor_tool/module_screen.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string_view>

#include "monitor_tool/module_columns.h"
#include "output/human_units.h"
#include "output/progress_bar.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kFewestStateColumns = 7;
constexpr size_t kFewestNameColumns = 8;
constexpr size_t kShortestBar = 3;
constexpr size_t kLongestBar = 30;
constexpr size_t kLinesAround = 3; /* summary, heading, keys */
constexpr size_t kKeyColumns = 17;
constexpr double kWholeProcessor = 100;

/* The first that fits is shown. */
constexpr const char *kKeys[] = {
    "q quits, h helps, s sorts by the next column, r reverses, / filters, arrows scroll",
    "q quits, h helps, s sorts, r reverses, / filters, arrows scroll", "q quits, h helps, s sorts, / filters",
    "q quits, h helps", "q quits"};

struct Part {
    const char *column;
    const char *heading;
    size_t width;
    bool bar; /* follows it */
};

/* From left to right, after name and state. */
constexpr Part kParts[] = {
    {"pid", "PID", 7, false},           {"cpu", "CPU%", 5, true},     {"rss", "RSS", 5, true},
    {"memory", "MEMORY", 6, false},     {"threads", "THR", 3, false}, {"uptime", "UPTIME", 6, false},
    {"restarts", "RESTARTS", 8, false}, {"time", "MS", 6, false},
};

/* On a narrow screen the last ones leave first, after the bars. */
constexpr std::string_view kByImportance[] = {"cpu",      "rss",  "pid",    "uptime",
                                              "restarts", "time", "memory", "threads"};

/* The widths of a line's parts; 0 for a part that doesn't fit. */
struct Layout {
    size_t columns;
    size_t name;
    size_t state;
    size_t parts[std::size(kParts)];
    size_t bar;
};

std::string left(std::string text, size_t width) {
    text.resize(width, ' ');
    return text;
}

std::string right(const std::string &text, size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string fitted(const std::string &text, size_t columns) {
    std::string line = text.substr(0, columns);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/* The parts that have a width, with blanks between them. */
std::string joined_parts(const std::vector<std::string> &parts, const Layout &layout) {
    std::string line;
    for (const std::string &part : parts) {
        line += (line.empty() || part.empty() ? "" : " ") + part;
    }
    return fitted(line, layout.columns);
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

size_t place_of(std::string_view column) {
    size_t place = 0;
    while (kParts[place].column != column) {
        ++place;
    }
    return place;
}

Layout layout_for(const std::vector<ModuleReport> &reports, size_t columns) {
    const size_t name = std::min(longest_name(reports), std::max(kFewestNameColumns, columns / 4));
    size_t left = columns - std::min(columns, name);
    Layout layout = {columns, name, take(longest_state(reports), &left), {}, 0};
    for (const std::string_view column : kByImportance) {
        const size_t place = place_of(column);
        layout.parts[place] = take(kParts[place].width, &left);
    }
    const size_t bar = left > 2 ? std::min((left - 2) / 2, kLongestBar) : 0;
    layout.bar = bar < kShortestBar ? 0 : bar;
    return layout;
}

double resident_of(const ModuleReport &report) {
    return report.process ? static_cast<double>(report.process->resident_bytes) : 0;
}

double largest_resident(const std::vector<ModuleReport> &reports) {
    double largest = 1;
    for (const ModuleReport &report : reports) {
        largest = std::max(largest, resident_of(report));
    }
    return largest;
}

/* A process with several threads may use more than one processor. */
double share_of(const ModuleReport &report, std::string_view column, double largest) {
    return column == "cpu" ? std::min(1.0, report.processor / kWholeProcessor)
                           : resident_of(report) / largest;
}

std::string cell(const ModuleReport &report, const std::string &column) {
    if (column == "time") {
        const auto time = static_cast<double>(report.result.microseconds);
        return is_running(report) ? short_milliseconds(time) : "";
    }
    return cell_of(report, column);
}

std::string heading(const Layout &layout) {
    std::vector<std::string> parts = {left("NAME", layout.name), left("STATE", layout.state)};
    for (size_t i = 0; i < std::size(kParts); ++i) {
        parts.push_back(layout.parts[i] > 0 ? right(kParts[i].heading, layout.parts[i]) : "");
        parts.push_back(kParts[i].bar ? left("", layout.bar) : "");
    }
    return joined_parts(parts, layout);
}

std::string module_line(const ModuleReport &report, const Layout &layout, double largest) {
    std::vector<std::string> parts = {left(report.facts.name, layout.name),
                                      left(state_of(report), layout.state)};
    for (size_t i = 0; i < std::size(kParts); ++i) {
        const Part &part = kParts[i];
        parts.push_back(layout.parts[i] > 0 ? right(cell(report, part.column), layout.parts[i]) : "");
        parts.push_back(part.bar ? bar_text(share_of(report, part.column, largest), layout.bar) : "");
    }
    return joined_parts(parts, layout);
}

/* While the filter is typed it takes the place of the keys. */
std::string footer(const TopView &view, size_t columns) {
    if (view.typing) {
        const std::string text = "filter: " + view.filter + "_";
        return text.size() <= columns ? text : text.substr(text.size() - columns);
    }
    for (const char *text : kKeys) {
        if (std::string_view(text).size() <= columns) {
            return text;
        }
    }
    return "";
}

/* "3-20 of 46", if not all fit. */
std::string position(size_t first, size_t end, size_t count) {
    return end - first == count
               ? ""
               : std::to_string(first + 1) + "-" + std::to_string(end) + " of " + std::to_string(count);
}

/* From left to right; "" for a part that there is nothing to say of. */
std::vector<std::string> summary_parts(const std::vector<ModuleReport> &reports, const TopView &view) {
    const auto running = std::count_if(reports.begin(), reports.end(), is_running);
    const auto troubled = std::count_if(reports.begin(), reports.end(), [](const ModuleReport &report) {
        return trouble_of(report) < Trouble::kUnknown;
    });
    return {std::to_string(running) + " of " + std::to_string(reports.size()) + " modules running",
            troubled > 0 ? std::to_string(troubled) + " in trouble" : "",
            "sorted by " + view.sort + (view.reverse ? " reversed" : ""),
            view.filter.empty() ? "" : "with '" + view.filter + "'"};
}

std::string joined_sentence(const std::vector<std::string> &parts) {
    std::string line;
    for (const std::string &part : parts) {
        line += (line.empty() || part.empty() ? "" : ", ") + part;
    }
    return line;
}

/* On a narrow screen the sorting leaves first, then the place, the filter and the modules in trouble. */
std::string summary(std::vector<std::string> parts, size_t columns) {
    constexpr size_t kLeaving[] = {2, 4, 3, 1};
    for (const size_t part : kLeaving) {
        if (joined_sentence(parts).size() > columns) {
            parts[part].clear();
        }
    }
    return joined_sentence(parts);
}

std::vector<ScreenLine> help_lines(const ScreenSize &size) {
    std::vector<ScreenLine> lines = {{fitted("Keys of monitor_tool top", size.columns), Style::kStrong}};
    for (const KeyHelp &key : top_keys()) {
        std::string meaning = wrapped(key.meaning, size.columns, kKeyColumns);
        std::istringstream text(
            meaning.replace(0, kKeyColumns, left(std::string("  ") + key.keys, kKeyColumns)));
        for (std::string line; std::getline(text, line);) {
            lines.push_back({fitted(line, size.columns), Style::kPlain});
        }
    }
    return lines;
}

}  // namespace

size_t page_of(const ScreenSize &size) {
    return size.rows > kLinesAround ? size.rows - kLinesAround : 0;
}

std::vector<ScreenLine> screen_lines(const std::vector<ModuleReport> &reports, const TopView &view,
                                     const ScreenSize &size) {
    if (view.help) {
        return help_lines(size);
    }
    const std::vector<ModuleReport> selected = view.selected(reports);
    const Layout layout = layout_for(selected, size.columns);
    const double largest = largest_resident(selected);
    const size_t first = first_shown(view, selected.size(), page_of(size));
    const size_t end = std::min(selected.size(), first + page_of(size));
    std::vector<std::string> parts = summary_parts(reports, view);
    parts.push_back(position(first, end, selected.size()));
    std::vector<ScreenLine> lines = {{fitted(summary(parts, size.columns), size.columns), Style::kPlain},
                                     {heading(layout), Style::kStrong}};
    for (size_t i = first; i < end; ++i) {
        lines.push_back({module_line(selected[i], layout, largest), style_of(trouble_of(selected[i]))});
    }
    lines.push_back({footer(view, size.columns), view.typing ? Style::kStrong : Style::kFaint});
    return lines;
}
