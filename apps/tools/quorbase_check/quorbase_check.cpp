/*
 * quorbase-check: whether a device maker's base library or modem client has every function that the product
 * needs, and whether each does what it must.
 */
#include <getopt.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "contract_table.h"
#include "output/output_reader.h"
#include "output/spelt_text.h"
#include "support/product_version.h"

namespace {

/* The exit status; scripts rely on these numbers, which are those of all tools. */
enum {
    kDone = 0,
    kNotConforming = 1,
    kUsage = 2,
    kNotLoaded = 3
};

constexpr char kHelp[] =
    "Usage: quorbase-check [OPTION]... LIBRARY\n"
    "Check a device maker's libquorbase, or libmal with --modem: load it with all symbols bound,\n"
    "list the functions that are missing, and run each of the others against its contract.\n"
    "\n"
    "  --modem            LIBRARY is the modem client (libmal)\n"
    "  --limit SECONDS    End a function that does not return for so long (1 to 600; default 10)\n"
    "  --json-parse NAME  The library's function that makes a document of a JSON text (default:\n"
    "                     json_parse); without one the calls of json.h can't be run\n"
    "  --help             Print this help\n"
    "  --version          Print the version\n"
    "\n"
    "Each function runs in a process of its own, in a private folder. A path without a slash is searched\n"
    "for in the loader's folders. Run it on the device, as the user of the modules: the checks of the\n"
    "cipher need the product's key, or make the device's own.\n"
    "\n"
    "Results: ok; called (it returned, and its effect can't be seen from here); not called;\n"
    "missing; wrong, with the reason.\n"
    "Exit status: 0 conforming, 1 functions are missing or wrong or the table can't be written, 2 wrong\n"
    "usage, 3 the library can't be loaded.\n";

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
};

/* The status, or the one of a failure if what was printed can't be written. A reader that has had enough,
 * such as head, is none: the status is that of all functions. */
int finish_output(int status) {
    if ((std::fflush(stdout) == 0 && std::ferror(stdout) == 0) || has_reader_left(errno)) {
        return status;
    }
    complain(std::string("can't write the output: ") +
             std::strerror(errno));  // NOLINT(concurrency-mt-unsafe)
    return kNotConforming;
}

void print_row(const ContractRow &row, const Finding &finding) {
    const char *const gap = finding.text.empty() ? "" : ": ";
    (void)std::printf("%-25s %-9s %s%s%s\n", row.check.name, row.origin.data(), word_of(finding.verdict), gap,
                      spelt_out(finding.text).c_str());
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
    (void)std::printf("\n%u ok, %u not seen from here, %u optional ones missing, %u missing, %u wrong\n",
                      totals.right, totals.unseen, totals.absent, totals.missing, totals.wrong);
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
                (void)std::fputs(kHelp, stdout);
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
