/*
 * quorbase-check: whether a device maker's base library or modem client has every function that the product
 * needs, and whether each does what it must.
 */
#include <getopt.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "contract_table.h"
#include "output/output_reader.h"
#include "output/program_help.h"
#include "output/spelt_text.h"
#include "output/terminal.h"
#include "output/text_wrap.h"
#include "support/product_version.h"

namespace {

/* The exit status; scripts rely on these numbers, which are those of all tools. */
enum {
    kDone = 0,
    kNotConforming = 1,
    kUsage = 2,
    kNotLoaded = 3
};

std::string help() {
    return program_help(
        "Usage: quorbase-check [OPTION]... LIBRARY",
        "Check a device maker's libquorbase, or libmal with --modem: load it with all symbols bound, list "
        "the "
        "functions that are missing, and run each of the others against its contract.",
        {{"--modem", "LIBRARY is the modem client (libmal)"},
         {"--limit SECONDS", "End a function that does not return for so long (1 to 600; default 10)"},
         {"--json-parse NAME",
          "The library's function that makes a document of a JSON text (default: json_parse); without one "
          "the calls of json.h can't be run"},
         {"--help", "Print this help"},
         {"--version", "Print the version"}},
        "Each function runs in a process of its own, in a private folder. A path without a slash is searched "
        "for in the loader's folders. Run it on the device, as the user of the modules: the checks of the "
        "cipher need the product's key, or make the device's own.\n"
        "\n"
        "Results: ok; called (it returned, and its effect can't be seen from here); not called; missing; "
        "wrong, with the reason.\n"
        "Exit status: 0 conforming, 1 functions are missing or wrong or the table can't be written, 2 wrong "
        "usage, 3 the library can't be loaded.\n");
}

struct Request {
    Subject subject;
    bool modem = false;
};

const char *word_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::kRight:
            return "ok";
        case Verdict::kCalled:
            return "called";
        case Verdict::kNotCalled:
            return "not called";
        case Verdict::kMissing:
            return "missing";
        case Verdict::kWrong:
            break;
    }
    return "wrong";
}

/* Names and texts come from the command line and from the library: they may hold anything. */
void complain(const std::string &problem) {
    (void)std::fprintf(stderr, "quorbase-check: %s\n", spelt_out(problem).c_str());
}

/* What the table says at its end. */
struct Totals {
    unsigned right = 0;
    unsigned unseen = 0;
    unsigned absent = 0; /* optional functions that are missing */
    unsigned missing = 0;
    unsigned wrong = 0;

    void count(const ContractRow &row, Verdict verdict) {
        unsigned &total = verdict == Verdict::kRight     ? right
                          : verdict == Verdict::kWrong   ? wrong
                          : verdict != Verdict::kMissing ? unseen
                          : row.optional()               ? absent
                                                         : missing;
        ++total;
    }

    std::string text() const {
        const std::string line = std::to_string(right) + " ok, " + std::to_string(unseen) +
                                 " not seen from here, " + std::to_string(absent) +
                                 " optional ones missing, " + std::to_string(missing) + " missing, " +
                                 std::to_string(wrong) + " wrong";
        return is_terminal(Stream::kOutput) ? wrapped(line, columns_of(Stream::kOutput), 0) : line + "\n";
    }
};

/* The status, or the one of a failure if what was printed can't be written. A reader that has left,
 * such as head, is no failure: the status is that of all functions. */
int finish_output(int status) {
    if ((std::fflush(stdout) == 0 && std::ferror(stdout) == 0) || has_reader_left(errno)) {
        return status;
    }
    complain(std::string("can't write the output: ") +
             std::strerror(errno));  // NOLINT(concurrency-mt-unsafe)
    return kNotConforming;
}

/* A row that is too long for the terminal is wrapped. */
std::string row_text(const ContractRow &row, const std::string &result) {
    constexpr int kNameWidth = 25;
    constexpr int kOriginWidth = 9;
    std::string text(row.check.name);
    text.resize(std::max<size_t>(text.size(), kNameWidth), ' ');
    text += " " + std::string(row.origin);
    text.resize(std::max<size_t>(text.size(), kNameWidth + 1 + kOriginWidth), ' ');
    text += " " + result;
    const size_t width = columns_of(Stream::kOutput);
    const bool fits = text.size() <= width || !is_terminal(Stream::kOutput);
    return fits ? text + "\n"
                : wrapped_pair(row.check.name, std::string(row.origin) + " " + result, width, kNameWidth + 1);
}

void print_row(const ContractRow &row, const Finding &finding) {
    const char *const gap = finding.text.empty() ? "" : ": ";
    const std::string result = word_of(finding.verdict) + (gap + spelt_out(finding.text));
    (void)std::fputs(row_text(row, result).c_str(), stdout);
    (void)std::fflush(stdout);
}

/* Examines every function of the contract. */
Totals examine_all(const Request &request) {
    Totals totals;
    for (const ContractRow &row : contract_rows(request.modem)) {
        const Finding finding = examine(request.subject, row.check);
        print_row(row, finding);
        totals.count(row, finding.verdict);
    }
    return totals;
}

int check_library(const Request &request) {
    const Finding loading = examine(request.subject, {nullptr, nullptr});
    if (loading.verdict != Verdict::kRight) {
        complain(request.subject.path + ": " + loading.text);
        return kNotLoaded;
    }
    const Totals totals = examine_all(request);
    (void)std::fputs(("\n" + totals.text()).c_str(), stdout);
    return totals.missing + totals.wrong == 0 ? kDone : kNotConforming;
}

int refuse(const std::string &problem) {
    complain(problem);
    (void)std::fputs("Try 'quorbase-check --help'.\n", stderr);
    return kUsage;
}

/* found: what getopt_long returned for a wrong option. word: the argument that it read last. */
int refuse_option(int found, const std::string &word) {
    if (found == ':') {
        return refuse("option '" + word + "' requires an argument");
    }
    return refuse(optopt != 0 && word.find('=') != std::string::npos
                      ? "option '" + word.substr(0, word.find('=')) + "' doesn't allow an argument"
                      : "unrecognized option '" + word + "'");
}

/* Seconds from 1 to 600; 0 for anything else. */
unsigned limit_in(const char *text) {
    char *end = nullptr;
    const unsigned long seconds = std::strtoul(text, &end, 10);
    constexpr unsigned long kMost = 600;
    const bool number = text[0] >= '0' && text[0] <= '9' && *end == '\0';
    return number && seconds <= kMost ? static_cast<unsigned>(seconds) : 0;
}

constexpr int kGoOn = -1;

/* Reads the options. Returns kGoOn, or the exit status. */
int read_options(int argc, char **argv, Request *request) {
    enum {
        kModem = 1,
        kLimit,
        kJsonParse,
        kHelpOption,
        kVersion
    };
    constexpr option kOptions[] = {{"modem", no_argument, nullptr, kModem},
                                   {"limit", required_argument, nullptr, kLimit},
                                   {"json-parse", required_argument, nullptr, kJsonParse},
                                   {"help", no_argument, nullptr, kHelpOption},
                                   {"version", no_argument, nullptr, kVersion},
                                   {nullptr, 0, nullptr, 0}};
    opterr = 0;
    int found = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    while ((found = ::getopt_long(argc, argv, ":", kOptions, nullptr)) != -1) {
        switch (found) {
            case kModem:
                request->modem = true;
                break;
            case kLimit:
                request->subject.limit = limit_in(optarg);
                break;
            case kJsonParse:
                request->subject.json_parse = optarg;
                break;
            case kHelpOption:
                (void)std::fputs(help().c_str(), stdout);
                return kDone;
            case kVersion:
                (void)std::printf("quorbase-check %s\n", product_version());
                return kDone;
            default:
                return refuse_option(found, argv[optind - 1]);
        }
    }
    return request->subject.limit == 0 ? refuse("--limit takes 1 to 600 seconds") : kGoOn;
}

}  // namespace

int main(int argc, char **argv) {
    Request request;
    const int status = read_options(argc, argv, &request);
    if (status != kGoOn) {
        return finish_output(status);
    }
    if (optind == argc) {
        return refuse("the library's path is missing");
    }
    if (optind + 1 < argc) {
        return refuse(std::string("unexpected argument '") + argv[optind + 1] + "'");
    }
    request.subject.path = argv[optind];
    (void)std::signal(SIGPIPE, SIG_IGN);
    return finish_output(check_library(request));
}
