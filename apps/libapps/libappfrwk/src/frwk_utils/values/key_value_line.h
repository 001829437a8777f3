/*
 * Reads a file of key=value lines pair by pair. Knows where a pair comes from, not what becomes of it. One
 * thread at a time.
 *
 * A line is what fits one read of kLineMax characters: a longer one comes in pieces, each a line of its own.
 * It ends at its line end, or at a NUL. Blanks and tabs before it, and those and the line end after it, are
 * not part of it; of product data, the base library's strdern alone decides whether those after it are. The
 * first
 * '=' parts key and value, which keep the blanks around it; the value may be empty, and so may the key. A
 * line without '=', or of kLineMax characters, is logged and skipped.
 */
#pragma once

#include <cstddef>
#include <cstdio>

#include "support/unique_fd.h"

/* Where a '#', or nothing at all, makes a line one that is skipped. */
enum class CommentPlace {
    kFirstByte, /* of the line as it stands in the file: "  #a=1" is a pair */
    kFirstText  /* behind the blanks: "  #a=1" is a comment, and a line of blanks is empty */
};

/* What the readers of such files differ in. */
struct KeyValueRules {
    const char *call;           /* the function that log lines name */
    CommentPlace comment_place; /* see there */
    const char *skip_note;      /* logged for each comment and each empty line; null for silence */
    const char *nul_note;       /* logged for a line that begins with NUL, which then ends the file; null when
                                   it is an empty line like any other */
    const char *end_note;       /* logged at the end of the file; null for silence */
};

/* Both texts lie in the reader, and are valid until its next pair. */
struct KeyValue {
    const char *key;
    const char *value;
};

class KeyValueFile {
  public:
    /* rules: outlives the reader. */
    explicit KeyValueFile(const KeyValueRules &rules) : rules_(rules) {}

    /* Opens a file; path is not null and outlives the reader. Returns false, and logs it, when it can't be
     * read. */
    [[nodiscard]] bool open(const char *path);

    /* Hands out the next pair of the opened file. Returns false when there is none. */
    [[nodiscard]] bool next(KeyValue *pair);

    /* Whether reading failed, logged, before the file's end: there may be more pairs. */
    bool failed() const { return std::ferror(file_.get()) != 0; }

  private:
    static constexpr size_t kLineMax = 1056;

    bool read_line();
    void count_line();
    /* Whether the line that was read is a comment or empty. text: what is left of it. */
    bool is_skipped(const char *text) const;
    bool split(char *text, KeyValue *pair) const;

    const KeyValueRules &rules_;
    const char *path_ = "";
    UniqueFile file_;
    unsigned line_number_ = 0;
    bool in_line_ = false; /* the line has more pieces */
    char line_[kLineMax + 1] = {};
};
