#include "text_table.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <utility>

#include "terminal.h"

namespace {

constexpr size_t kGap = 2;
constexpr size_t kNarrowest = 4;
constexpr char kCutMark = '~';

std::string cut(const std::string &text, size_t width) {
    return text.size() <= width ? text : text.substr(0, width - 1) + kCutMark;
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

size_t line_width(const std::vector<size_t> &widths) {
    return std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
}

}  // namespace

TextTable::TextTable(std::vector<std::string> header) {
    rows_.push_back(std::move(header));
}

void TextTable::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

std::string TextTable::text(size_t columns) const {
    const std::vector<size_t> fitted = widths(columns);
    std::string all;
    for (const auto &row : rows_) {
        all += line_of(row, fitted);
    }
    return all;
}

void TextTable::print() const {
    const std::string all = text(is_terminal(Stream::kOutput) ? columns_of(Stream::kOutput) : 0);
    const size_t header_end = all.find('\n');
    const std::string shown =
        styled(Stream::kOutput, Style::kStrong, all.substr(0, header_end)) + all.substr(header_end);
    (void)std::fwrite(shown.data(), 1, shown.size(), stdout);
}

std::vector<size_t> TextTable::widths(size_t columns) const {
    std::vector<size_t> fitted(rows_[0].size(), 0);
    for (const auto &row : rows_) {
        for (size_t i = 0; i < row.size(); ++i) {
            fitted[i] = std::max(fitted[i], row[i].size());
        }
    }
    while (columns > 0 && line_width(fitted) > columns) {
        size_t &widest = *std::max_element(fitted.begin(), fitted.end());
        if (widest <= kNarrowest) {
            break;
        }
        --widest;
    }
    return fitted;
}
