#include "output/text_table.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <utility>

#include "output/cut_text.h"
#include "output/terminal.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;

constexpr size_t kGap = 2;
constexpr size_t kNarrowest = 4;
constexpr char kCutMark = '~';

std::string cut(const std::string &text, size_t width) {
    return text.size() <= width ? text : cut_text(text, width - 1) + kCutMark;
}

std::string line_of(const std::vector<std::string> &cells, const std::vector<size_t> &widths) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        std::string cell = cut(cells[i], widths[i]);
        cell.resize(i + 1 < cells.size() ? widths[i] + kGap : cell.size(), ' ');
        line += cell;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

/* The width of each column without truncation. */
std::vector<size_t> natural_widths(const Rows &rows) {
    std::vector<size_t> widths(rows[0].size(), 0);
    for (const auto &row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    return widths;
}

size_t line_width(const std::vector<size_t> &widths) {
    return std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
}

void drop_column(Rows &rows, size_t column) {
    for (auto &row : rows) {
        row.erase(row.begin() + static_cast<std::ptrdiff_t>(column));
    }
}

/* The rows without the columns that don't fit. */
Rows without_spare(Rows rows, std::vector<size_t> spare, size_t columns) {
    while (!spare.empty() && line_width(natural_widths(rows)) > columns) {
        const size_t dropped = spare.front();
        drop_column(rows, dropped);
        spare.erase(spare.begin());
        for (size_t &column : spare) {
            column -= column > dropped ? 1 : 0;
        }
    }
    return rows;
}

/* Narrows the widest columns. */
std::vector<size_t> narrowed(std::vector<size_t> widths, size_t columns) {
    while (line_width(widths) > columns) {
        size_t &widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= kNarrowest) {
            break;
        }
        --widest;
    }
    return widths;
}

}  // namespace

TextTable::TextTable(std::vector<std::string> header, std::vector<size_t> spare) : spare_(std::move(spare)) {
    rows_.push_back(std::move(header));
    styles_.push_back(Style::kStrong);
}

void TextTable::add(std::vector<std::string> cells, Style style) {
    styles_.push_back(style);
    for (std::string &cell : cells) {
        cell = shown_text(Stream::kOutput, cell);
    }
    rows_.push_back(std::move(cells));
}

std::string TextTable::text(size_t columns) const {
    const size_t room = columns > 0 ? columns : std::string::npos;
    const Rows rows = without_spare(rows_, spare_, room);
    const std::vector<size_t> widths = narrowed(natural_widths(rows), room);
    std::string all;
    for (const auto &row : rows) {
        all += line_of(row, widths);
    }
    return all;
}

void TextTable::print() const {
    const bool terminal = is_terminal(Stream::kOutput);
    const std::string all = text(terminal ? columns_of(Stream::kOutput) : 0);
    std::string shown;
    size_t row = 0;
    size_t at = 0;
    for (size_t end = 0; terminal && (end = all.find('\n', at)) != std::string::npos; at = end + 1) {
        shown += styled(Stream::kOutput, styles_[row++], all.substr(at, end - at)) + "\n";
    }
    shown += all.substr(at);
    (void)std::fwrite(shown.data(), 1, shown.size(), stdout);
}
