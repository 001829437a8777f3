#include "file_check.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "file_steps.h"
#include "support/file_io.h"

namespace {

constexpr size_t kPiece = 8192;

/* Longer than any check line, so that one that is kept from its beginning is whole. */
constexpr size_t kTail = kCheckLineMax + 1;

/* The last line of a text that comes in pieces, and the CRC of all that stands before it. */
class LastLine {
  public:
    void add(std::string_view piece) {
        while (!piece.empty()) {
            if (ended_) {
                before_ = all_;
                text_.clear();
                ended_ = false;
            }
            const size_t length = std::min(piece.find('\n'), piece.size() - 1) + 1;
            keep(piece.substr(0, length));
            piece.remove_prefix(length);
        }
    }

    Integrity judge(CheckLine &line) const {
        if (!ended_) {
            return Integrity::kCut;
        }
        const std::string_view text(text_);
        const size_t begin = text.rfind(kCheckLineBegin);
        if (begin == std::string_view::npos) {
            return Integrity::kUnknown;
        }
        const bool is_whole = read_check_line(text.substr(begin), line);
        if (begin != 0) {
            return is_whole ? Integrity::kWrong : Integrity::kUnknown; /* the line end before it is damaged */
        }
        Crc32 covered = before_;
        covered.add(text.substr(0, line.covered));
        return is_whole && covered.value() == line.check ? Integrity::kSound : Integrity::kWrong;
    }

  private:
    /* A part of one line, perhaps with its end. */
    void keep(std::string_view part) {
        all_.add(part);
        ended_ = part.back() == '\n';
        part.remove_suffix(ended_ ? 1 : 0);
        text_ += part;
        text_.erase(0, text_.size() - std::min(text_.size(), kTail));
    }

    Crc32 all_;
    Crc32 before_;
    std::string text_; /* the last bytes of it, without its end */
    bool ended_ = false;
};

}  // namespace

FileCheck check_file(const std::string &path) {
    UniqueFd fd;
    FileCheck check = {open_file(path, O_RDONLY, fd), Integrity::kUnknown, {}};
    if (check.error != 0) {
        return check;
    }
    LastLine last;
    char piece[kPiece];
    size_t count = sizeof(piece);
    while (count == sizeof(piece)) {
        if (!file_io::read_up_to(fd.get(), piece, sizeof(piece), &count)) {
            check.error = errno;
            return check;
        }
        last.add({piece, count});
    }
    check.integrity = last.judge(check.line);
    return check;
}
