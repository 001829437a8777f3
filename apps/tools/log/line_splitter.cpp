#include "log/line_splitter.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kLongest = size_t{64} * 1024;

}  // namespace

/* Keeps only the part of a long line that will be printed. */
void LineSplitter::add(const char *piece, size_t length) {
    text_.erase(0, std::exchange(at_, 0));
    if (text_.size() > kLongest && text_.find('\n') == std::string::npos) {
        text_.resize(kLongest);
    }
    text_.append(piece, length);
}

bool LineSplitter::next(std::string *line) {
    const size_t end = text_.find('\n', at_);
    if (end == std::string::npos) {
        return false;
    }
    *line = text_.substr(at_, std::min(end - at_, kLongest));
    at_ = end + 1;
    return true;
}

std::string LineSplitter::rest() {
    std::string line = text_.substr(at_, kLongest);
    text_.clear();
    at_ = 0;
    return line;
}
