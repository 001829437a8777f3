#include "output/progress_bar.h"

#include <algorithm>
#include <cstdio>

#include "output/cut_text.h"
#include "output/terminal.h"

namespace {

constexpr size_t kWidestBar = 40;
constexpr char kWipe[] = "\r\033[K";

}  // namespace

std::string bar_text(double share, size_t width) {
    const auto filled = static_cast<size_t>(std::clamp(share, 0.0, 1.0) * static_cast<double>(width));
    return std::string(filled, '#') + std::string(width - filled, ' ');
}

std::string progress_line(double done, const std::string &note, size_t columns) {
    const double share = std::clamp(done, 0.0, 1.0);
    char percent[8];
    (void)std::snprintf(percent, sizeof(percent), "%3d%%", static_cast<int>(share * 100));
    const std::string text = std::string(percent) + " " + note;
    const size_t taken = text.size() + 3; /* plus the bar's brackets and a blank */
    if (columns <= taken) {
        return cut_text(text, columns);
    }
    return "[" + bar_text(share, std::min(columns - taken, kWidestBar)) + "] " + text;
}

ProgressBar::ProgressBar() : visible_(is_terminal(Stream::kError)) {}

ProgressBar::~ProgressBar() {
    if (visible_) {
        (void)std::fputs(kWipe, stderr);
    }
}

void ProgressBar::show(double done, const std::string &note) const {
    if (visible_) {
        const std::string line =
            progress_line(done, shown_text(Stream::kError, note), columns_of(Stream::kError) - 1);
        (void)std::fputs((kWipe + line).c_str(), stderr);
    }
}
