/*
 * Reads a file of key=value lines pair by pair. Does not interpret the pairs. One thread at a time.
 *
 * A line longer than kLineMax characters is split into pieces, each of which counts as a line. A line ends at
 * its line end, or at a NUL. Blanks and tabs at both ends and the line end are removed; in product data, the
 * base library's strdern decides what is removed at the end. The first '=' separates key and value, which
 * keep the blanks around it; both may be empty. A line without '=', or of kLineMax characters, is logged and
 * skipped.
 */
#pragma once

#include <cstddef>
#include <cstdio>

#include "internal/log_name.h"
#include "support/unique_fd.h"

/* Where the check for a comment ('#') or an empty line is made. */
enum class CommentPlace {
    kFirstByte, /* at the first byte of the line: "  #a=1" is a pair */
    kFirstText  /* after leading blanks: "  #a=1" is a comment, and a line of blanks is empty */
};

/* The differences between the kinds of files. */
struct KeyValueRules {
    LogName caller;             /* function name in the log lines */
    CommentPlace comment_place; /* where the check for a comment is made */
    const char *skip_note;      /* logged for each comment and each empty line; null: not logged */
    const char *nul_note;       /* logged for a line that begins with NUL, which then ends the file; null when
                                   it is an empty line like any other */
    const char *end_note;       /* logged at the end of the file; null: not logged */
};

/* Both texts belong to the reader, and are valid until its next pair. */
struct KeyValue {
    const char *key;
    const char *value;
};

class KeyValueFile {
  public:
    /* rules: must outlive the reader. */
    explicit KeyValueFile(const KeyValueRules &rules) : rules_(rules) {}

    /* Opens a file; path is not null and must outlive the reader. Returns false, and logs, if it can't be
     * read. */
    [[nodiscard]] bool open(const char *path);

    /* Reads the next pair of the opened file. Returns false at the end of the file. */
    [[nodiscard]] bool next(KeyValue *pair);

    /* Whether a read error, which was logged, ended the pairs before the file's end. */
    bool failed() const { return std::ferror(file_.get()) != 0; }

  private:
    static constexpr size_t kLineMax = 1056;

    bool read_line();
    void count_line();
    /* Whether the present line is a comment or empty. text: the line without leading blanks. */
    bool is_skipped(const char *text) const;
    bool split(char *text, KeyValue *pair) const;

    const KeyValueRules &rules_;
    const char *path_ = "";
    UniqueFile file_;
    unsigned line_number_ = 0;
    bool in_line_ = false; /* the line has more pieces */
    char line_[kLineMax + 1] = {};
};
