#include "monitor_tool/top_view.h"

#include <algorithm>

#include "cli/text_match.h"
#include "monitor_tool/module_columns.h"
#include "output/key_decoder.h"

namespace {

struct SortKey {
    char key;
    const char *column;
};

constexpr SortKey kSortKeys[] = {{'c', "cpu"},  {'m', "rss"},    {'n', "name"},    {'p', "pid"},
                                 {'t', "time"}, {'u', "uptime"}, {'x', "restarts"}};

bool is_like(const ModuleReport &report, const std::string &filter) {
    return contains_like(report.facts.name, filter) || contains_like(report.facts.alias, filter) ||
           contains_like(state_of(report), filter);
}

/* The next column, or the one before it. */
std::string neighbour(const std::string &column, bool next) {
    const std::vector<std::string> names = watched_column_names();
    const auto found = std::find(names.begin(), names.end(), column);
    const auto at = static_cast<size_t>(found - names.begin());
    if (found == names.end()) {
        return names.front();
    }
    return names[(at + (next ? 1 : names.size() - 1)) % names.size()];
}

TopReaction sort_by(TopView &view, const std::string &column) {
    view.sort = column;
    view.first = 0;
    return TopReaction::kRedraw;
}

/* A character may have several bytes. */
void drop_last_character(std::string &text) {
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0u) == 0x80u) {
        text.pop_back();
    }
    if (!text.empty()) {
        text.pop_back();
    }
}

TopReaction type(TopView &view, int key) {
    if (key == kEnter || key == kEscape) {
        view.typing = false;
        view.filter = key == kEscape ? "" : view.filter;
    } else if (key == kBackspace) {
        drop_last_character(view.filter);
    } else if (key >= ' ' && key <= UINT8_MAX) {
        view.filter += static_cast<char>(key);
    }
    view.first = 0;
    return TopReaction::kRedraw;
}

TopReaction scroll_to(TopView &view, size_t first, size_t count, size_t page) {
    view.first = first;
    view.first = first_shown(view, count, page);
    return TopReaction::kRedraw;
}

TopReaction scroll(TopView &view, int key, size_t count, size_t page) {
    const size_t first = first_shown(view, count, page);
    switch (key) {
        case kUp:
        case 'k':
            return scroll_to(view, first - std::min<size_t>(first, 1), count, page);
        case kDown:
        case 'j':
            return scroll_to(view, first + 1, count, page);
        case kPageUp:
            return scroll_to(view, first - std::min(first, page), count, page);
        case kPageDown:
        case ' ':
            return scroll_to(view, first + page, count, page);
        case kHome:
        case 'g':
            return scroll_to(view, 0, count, page);
        case kEnd:
        case 'G':
            return scroll_to(view, count, count, page);
        default:
            return TopReaction::kNone;
    }
}

TopReaction begin_filter(TopView &view) {
    view.typing = true;
    view.filter.clear();
    return TopReaction::kRedraw;
}

TopReaction drop_filter(TopView &view) {
    view.filter.clear();
    return TopReaction::kRedraw;
}

TopReaction turn(bool &flag) {
    flag = !flag;
    return TopReaction::kRedraw;
}

TopReaction obey_letter(TopView &view, int key) {
    switch (key) {
        case 'h':
        case '?':
            return turn(view.help);
        case 'r':
            return turn(view.reverse);
        case 'i':
            return turn(view.running);
        case 's':
        case 'S':
            return sort_by(view, neighbour(view.sort, key == 's'));
        case '/':
            return begin_filter(view);
        case kEscape:
            return drop_filter(view);
        default:
            break;
    }
    for (const SortKey &sort : kSortKeys) {
        if (key == sort.key) {
            return sort_by(view, sort.column);
        }
    }
    return TopReaction::kNone;
}

}  // namespace

std::vector<ModuleReport> TopView::selected(std::vector<ModuleReport> reports) const {
    if (running) {
        keep_running(reports);
    }
    const auto other = [this](const ModuleReport &report) { return !is_like(report, filter); };
    reports.erase(std::remove_if(reports.begin(), reports.end(), other), reports.end());
    sort_reports(reports, sort, reverse);
    put_trouble_first(reports);
    return reports;
}

TopReaction obey(TopView &view, int key, size_t count, size_t page) {
    if (key == kNoKey) {
        return TopReaction::kNone;
    }
    if (view.help) {
        return turn(view.help);
    }
    if (view.typing) {
        return type(view, key);
    }
    if (key == 'q') {
        return TopReaction::kQuit;
    }
    const TopReaction reaction = obey_letter(view, key);
    return reaction != TopReaction::kNone ? reaction : scroll(view, key, count, page);
}

size_t first_shown(const TopView &view, size_t count, size_t page) {
    return std::min(view.first, count - std::min(count, page));
}

const std::vector<KeyHelp> &top_keys() {
    static const std::vector<KeyHelp> keys = {
        {"q, Ctrl-C", "quit"},
        {"h, ?", "show this help"},
        {"s, S", "sort by the next, the previous column"},
        {"c, m, n, p", "sort by CPU, memory, name, process"},
        {"t, u, x", "sort by response time, uptime, restarts"},
        {"r", "reverse the order"},
        {"/", "show only modules with a text"},
        {"Enter, Esc", "keep that text, drop it"},
        {"i", "show or hide what does not run"},
        {"Up, Down, k, j", "scroll by a line"},
        {"PgUp, PgDn", "scroll by a page"},
        {"Home, End", "scroll to the start, to the end"},
    };
    return keys;
}
