#include "support/line_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/uninterrupted.h"

namespace {

constexpr std::string_view kEnds("\r\0", 2);

}  // namespace

bool LineReader::fill() {
    const ssize_t count = uninterrupted([this] { return ::read(fd_, buffer_.data(), buffer_.size()); });
    error_ = count < 0 ? errno : 0;
    at_ = 0;
    filled_ = count > 0 ? static_cast<size_t>(count) : 0;
    return count > 0;
}

void LineReader::look_at_rest(std::string_view rest) {
    broken_ = broken_ || last_is_cr_ || rest.back() == '\0' ||
              rest.substr(0, rest.size() - 1).find_first_of(kEnds) != std::string_view::npos;
    last_is_cr_ = rest.back() == '\r';
}

void LineReader::keep(std::string_view piece) {
    const size_t taken = piece.copy(line_.data() + kept_, line_.size() - kept_);
    kept_ += taken;
    if (taken == piece.size()) {
        return;
    }
    if (fits_) {
        fits_ = false;
        last_is_cr_ = line_.back() == '\r';
    }
    look_at_rest(piece.substr(taken));
}

bool LineReader::take_piece() {
    const char *piece = buffer_.data() + at_;
    const size_t left = filled_ - at_;
    const auto *line_end = static_cast<const char *>(std::memchr(piece, '\n', left));
    const bool ended = line_end != nullptr;
    const size_t length = ended ? static_cast<size_t>(line_end - piece) : left;
    keep({piece, length});

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
    broken_ = false;
    while (!ended && (at_ < filled_ || fill())) {
        ended = take_piece();
    }
    if (error_ != 0 || offset_ == start) {
        return false;
    }

    ++number_;
    line = {{line_.data(), kept_}, number_, offset_, fits_, broken_, ended};
    return true;
}
