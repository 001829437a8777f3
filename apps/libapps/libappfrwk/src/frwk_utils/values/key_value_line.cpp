#include "frwk_utils/values/key_value_line.h"

#include <cstring>

#include "frwk_common.h"
#include "internal/frwk_log.h"
#include "text_copy.h"

namespace {

void drop_blanks_at_end(char *text) {
    size_t length = std::strlen(text);
    while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t')) {
        text[--length] = '\0';
    }
}

}  // namespace

/* Counts a line, but not the later pieces of a long one. */
void KeyValueFile::count_line() {
    line_number_ += in_line_ ? 0 : 1;
    in_line_ = std::memchr(line_, '\n', sizeof(line_)) == nullptr;
}

bool KeyValueFile::read_line() {
    std::memset(line_, 0, sizeof(line_)); /* a line may hold a NUL before its end */
    if (std::fgets(line_, static_cast<int>(sizeof(line_)), file_.get()) == nullptr) {
        if (failed()) {
            FRWK_WARN_ERRNO(rules_.caller, "read data file error!");
        }
        if (rules_.end_note != nullptr) {
            FRWK_DEBUG(rules_.caller, "%s", rules_.end_note);
        }
        return false;
    }
    count_line();
    if (line_[0] == '\0' && rules_.nul_note != nullptr) {
        FRWK_WARN(rules_.caller, "%s", rules_.nul_note);
        return false;
    }
    return true;
}

bool KeyValueFile::is_skipped(const char *text) const {
    const char first = rules_.comment_place == CommentPlace::kFirstByte ? line_[0] : text[0];
    if (first != '\0' && first != '#') {
        return false;
    }
    if (rules_.skip_note != nullptr) {
        FRWK_DEBUG(rules_.caller, "%s", rules_.skip_note);
    }
    return true;
}

bool KeyValueFile::split(char *text, KeyValue *pair) const {
    if (std::strlen(text) >= kLineMax) {
        FRWK_WARN(rules_.caller, "%s line %u skipped: it is too long", path_, line_number_);
        FRWK_DEBUG(rules_.caller, "buf is %s too long\n", text);  // May hold a secret.
        return false;
    }
    char *equals = std::strchr(text, '=');
    if (equals == nullptr) {
        FRWK_WARN(rules_.caller, "not found '='\n");
        FRWK_WARN(rules_.caller, "%s line %u skipped: it has no equals sign", path_, line_number_);
        return false;
    }
    *equals = '\0';
    *pair = {text, equals + 1};
    return true;
}

bool KeyValueFile::open(const char *path) {
    path_ = path;
    file_.reset(std::fopen(path, "re"));
    if (!file_) {
        FRWK_WARN(rules_.caller, "file(%s) not find\n", path);
    }
    return static_cast<bool>(file_);
}

bool KeyValueFile::next(KeyValue *pair) {
    while (read_line()) {
        char *text = frwk_skip_space(line_);
        strdern(text, std::strlen(text));
        if (rules_.comment_place == CommentPlace::kFirstText) {
            drop_blanks_at_end(text);
        }
        if (!is_skipped(text) && split(text, pair)) {
            return true;
        }
    }
    return false;
}
