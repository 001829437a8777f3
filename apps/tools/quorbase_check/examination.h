/*
 * One function of a library, examined in a process of its own: a library that crashes, hangs or ends the
 * process costs one row of the table.
 */
#pragma once

#include <string>

#include "loaded_library.h"
#include "support/unique_fd.h"

enum class Verdict : char {
    kRight = 'r',     /* it does what the contract says */
    kCalled = 'c',    /* it came back; what it does can't be seen from outside */
    kNotCalled = 'n', /* it is there, and can't be called without something that is missing */
    kWrong = 'w',     /* it does something else, crashes or doesn't come back */
    kMissing = 'm'
};

struct Finding {
    Verdict verdict;
    std::string text; /* the reason, or "" */
};

/* What is examined, and how. */
struct Subject {
    std::string path; /* of the library; without a slash, the loader searches its folders */
    std::string json_parse = "json_parse"; /* the library's call that makes a document of a JSON text */
    unsigned limit = 10;                   /* seconds until a function that doesn't return is ended */
};

/* In the process of the examination. Every function that ends it reports a finding first. */
class Examination {
  public:
    Examination(const Subject &subject, const LoadedLibrary &library, std::string folder, UniqueFd report)
        : subject_(subject), library_(library), folder_(std::move(folder)), report_(std::move(report)) {}

    /* The address of a function. Ends the examination if the library doesn't have it. See CALL. */
    void *demand(const char *name) const;

    const Subject &subject() const { return subject_; }
    const LoadedLibrary &loaded() const { return library_; }

    /* Ends the examination as wrong unless the condition holds. otherwise: what the function did. */
    void expect(bool holds, const std::string &otherwise) const {
        if (!holds) {
            end(Verdict::kWrong, otherwise);
        }
    }

    [[noreturn]] void end(Verdict verdict, const std::string &text) const;

    /* The path of a file in a private, empty folder. */
    std::string path(const char *name) const { return folder_ + "/" + name; }

    /* The same of a file with this content. */
    std::string file(const char *name, const std::string &content) const;

    /* The content of a file; "" if it can't be read. */
    static std::string content(const std::string &path);

  private:
    const Subject &subject_;
    const LoadedLibrary &library_;
    std::string folder_;
    UniqueFd report_;
};

/* The function with this name in the library under examination, with the type that our header declares. */
#define CALL(examination, name) (reinterpret_cast<decltype(&(name))>((examination).demand(#name)))

using Check = void (*)(const Examination &examination);

/* One function's check, or, with two null members, the mere loading of a library. */
struct NamedCheck {
    const char *name; /* of the function */
    Check check;
};

/*
 * Loads the library in a child process, which is killed at the limit, and runs a check there.
 *
 * Returns kRight if the check came to its end; kMissing if the library doesn't have the function.
 */
Finding examine(const Subject &subject, const NamedCheck &check);
