#include "support/line_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/uninterrupted.h"

bool LineReader::fill() {
    const ssize_t count = uninterrupted([this] { return ::read(fd_, buffer_.data(), buffer_.size()); });
    error_ = count < 0 ? errno : 0;
    at_ = 0;
    filled_ = count > 0 ? static_cast<size_t>(count) : 0;
    return count > 0;
}

void LineReader::keep(const char *text, size_t length) {
    const size_t room = line_.size() - kept_;
    const size_t taken = std::min(length, room);
    std::memcpy(line_.data() + kept_, text, taken);
    kept_ += taken;
    fits_ = fits_ && taken == length;
}

bool LineReader::take_piece() {
    const char *piece = buffer_.data() + at_;
    const size_t left = filled_ - at_;
    const auto *line_end = static_cast<const char *>(std::memchr(piece, '\n', left));
    const bool ended = line_end != nullptr;
    const size_t length = ended ? static_cast<size_t>(line_end - piece) : left;
    keep(piece, length);

    const size_t taken = ended ? length + 1 : length;
    at_ += taken;
    offset_ += taken;
    return ended;
}

bool LineReader::next(Line &line) {
    const uint64_t start = offset_;
    bool ended = false;
    kept_ = 0;
    fits_ = true;
    while (!ended && (at_ < filled_ || fill())) {
        ended = take_piece();
    }
    if (error_ != 0 || offset_ == start) {
        return false;
    }

    ++number_;
    line = {{line_.data(), kept_}, number_, offset_, fits_, ended};
    return true;
}
