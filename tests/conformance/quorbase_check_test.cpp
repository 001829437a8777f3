/*
 * quorbase-check, run on libraries that conform and on libraries that don't.
 */
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <map>
#include <set>
#include <sstream>

#include "support/temp_folder.h"
#include "support/wait_until.h"
#include "system/tools/tool_run.h"

namespace {

/* Function and result, as printed. */
using Rows = std::map<std::string, std::string>;

Rows rows_of(const std::string &output) {
    Rows rows;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        std::istringstream words(line);
        std::string name;
        std::string origin;
        words >> name >> origin >> std::ws;
        std::getline(words, rows[name]);
    }
    return rows;
}

ToolEnd check(std::vector<std::string> words) {
    words.insert(words.begin(), "quorbase-check");
    return run_tool(words);
}

/* The names of the contract of one library. */
std::set<std::string> contract(bool modem) {
    std::set<std::string> names;
    std::istringstream lines(file_text(PLATFORM_CONTRACT));
    for (std::string line; std::getline(lines, line);) {
        if (line.front() != '#' && (line.find(" libmal.h") != std::string::npos) == modem) {
            names.insert(line.substr(0, line.find(' ')));
        }
    }
    return names;
}

std::set<std::string> names_of(const Rows &rows) {
    std::set<std::string> names;
    for (const auto &[name, result] : rows) {
        names.insert(name);
    }
    return names;
}

/* The functions whose result begins so. */
std::set<std::string> with_result(const Rows &rows, const std::string &result) {
    std::set<std::string> names;
    for (const auto &[name, printed] : rows) {
        if (printed.rfind(result, 0) == 0) {
            names.insert(name);
        }
    }
    return names;
}

const std::set<std::string> kOptional = {"os_mem_zeroing", "os_command_scope_open", "os_command_scope_close",
                                         "os_command_untranslated"};
const std::set<std::string> kUnseen = {"os_log_init", "os_trace_print", "os_log_assert"};

}  // namespace

TEST(QuorbaseCheck, FindsNothingWrongInOurBaseLibrary) {
    const ToolEnd end = check({OUR_BASE});
    EXPECT_EQ(0, end.status) << end.output << end.errors;
    const Rows rows = rows_of(end.output);
    EXPECT_EQ(contract(false), names_of(rows));
    EXPECT_EQ(kUnseen, with_result(rows, "called"));
    EXPECT_EQ(rows.size() - kUnseen.size(), with_result(rows, "ok").size()) << end.output;
    EXPECT_NE(std::string::npos, end.output.find(" 0 missing, 0 wrong\n")) << end.output;
}

#ifdef SECOND_BASE
TEST(QuorbaseCheck, FindsNothingWrongInAMakersLibraryWithoutTheOptionalFunctions) {
    const ToolEnd end = check({SECOND_BASE});
    EXPECT_EQ(0, end.status) << end.output << end.errors;
    const Rows rows = rows_of(end.output);
    EXPECT_EQ(kOptional, with_result(rows, "missing"));
    EXPECT_EQ((std::set<std::string>{"json_get_object_item", "json_is_string", "json_get_string",
                                     "json_get_int64", "json_get_double"}),
              with_result(rows, "not called: needs a document, and the library has no json_parse"));
    EXPECT_EQ(std::set<std::string>(), with_result(rows, "wrong")) << end.output;
}
#endif

TEST(QuorbaseCheck, RunsTheCallsOfJsonOnTheDocumentOfTheMakersParser) {
    const std::set<std::string> calls = {"json_get_object_item", "json_is_string", "json_get_string",
                                         "json_get_int64", "json_get_double"};
    const Rows rows = rows_of(check({"--json-parse", "maker_json_read", MAKER_JSON}).output);
    EXPECT_EQ("ok", rows.at("json_get_object_item"));
    EXPECT_EQ("ok", rows.at("json_get_string"));
    EXPECT_EQ("ok", rows.at("json_is_string"));
    EXPECT_EQ("wrong: gives another number", rows.at("json_get_int64"));
    EXPECT_EQ("wrong: gives another number", rows.at("json_get_double"));
    EXPECT_EQ(calls, with_result(rows_of(check({MAKER_JSON}).output),
                                 "not called: needs a document, and the library has no json_parse"));
    EXPECT_EQ(calls, with_result(rows_of(check({"--json-parse", "maker_json_fail", MAKER_JSON}).output),
                                 "wrong: can't be tried: maker_json_fail gives no document"));
}

TEST(QuorbaseCheck, FindsEveryFunctionWrongThatDoesNothing) {
    const ToolEnd end = check({"--limit", "5", IDLE_BASE});
    EXPECT_EQ(1, end.status) << end.errors;
    const Rows rows = rows_of(end.output);
    EXPECT_EQ(contract(false), names_of(rows));
    std::set<std::string> unnoticed = with_result(rows, "ok");
    unnoticed.merge(with_result(rows, "called"));
    EXPECT_EQ(kUnseen, unnoticed) << end.output;
}

TEST(QuorbaseCheck, ListsEveryFunctionThatIsMissing) {
    const ToolEnd end = check({OUR_MODEM});
    EXPECT_EQ(1, end.status) << end.errors;
    EXPECT_EQ(contract(false), with_result(rows_of(end.output), "missing"));
}

TEST(QuorbaseCheck, NamesTheMissingFunctionThatAnotherOneNeeds) {
    const ToolEnd end = check({PARTIAL_BASE});
    EXPECT_EQ(1, end.status) << end.errors;
    Rows rows = rows_of(end.output);
    EXPECT_EQ("not called: needs os_mutex_create, which is missing", rows["os_mutex_lock"]);
    EXPECT_EQ("ok", rows["os_file_exist"]);
    EXPECT_EQ("missing", rows["os_file_size"]);
}

TEST(QuorbaseCheck, SaysThatItCanNotWriteItsFiles) {
    const ToolEnd end = run_shell("trap '' XFSZ; ulimit -f 0; exec $TOOLS/quorbase-check " PARTIAL_BASE);
    Rows rows = rows_of(end.output);
    EXPECT_EQ("not called: no file for it: File too large", rows["os_file_exist"]) << end.output;
}

TEST(QuorbaseCheck, SurvivesFunctionsThatAProcessDoesNotSurvive) {
    const ToolEnd end = check({"--limit", "5", ILL_BASE});
    EXPECT_EQ(1, end.status) << end.errors;
    Rows rows = rows_of(end.output);
    EXPECT_EQ("wrong: ends the process with signal 6 (Aborted)", rows["os_uptime"]);
    EXPECT_EQ("wrong: ends the process with status 5", rows["os_file_size"]);
    EXPECT_EQ("wrong: does not return within 5 s", rows["os_msleep"]);
    EXPECT_EQ("ok", rows["os_uptime_sec"]);
}

TEST(QuorbaseCheck, TakesAProcessThatNobodyWaitsForAsEnded) {
    ASSERT_EQ(0, prctl(PR_SET_CHILD_SUBREAPER, 1)); /* orphans become children of this process, and stay */
    const Rows rows = rows_of(check({OUR_BASE}).output);
    EXPECT_EQ("ok", rows.at("os_command_scope_close"));
    EXPECT_EQ("ok", rows.at("os_command_scope_open"));
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(QuorbaseCheck, NamesWhatKeepsALibraryFromLoading) {
    const ToolEnd unbound = check({UNBOUND_BASE});
    EXPECT_EQ(3, unbound.status);
    EXPECT_NE(std::string::npos, unbound.errors.find("a_function_that_is_nowhere")) << unbound.errors;
    const ToolEnd missing = check({"/no/such/library.so"});
    EXPECT_EQ(3, missing.status);
    EXPECT_EQ(0u, missing.errors.find("quorbase-check: /no/such/library.so: ")) << missing.errors;
    EXPECT_EQ("", missing.output);
}

TEST(QuorbaseCheck, AcceptsAModemWithoutASim) {
    const ToolEnd end = check({"--modem", OUR_MODEM});
    EXPECT_EQ(0, end.status) << end.output << end.errors;
    Rows rows = rows_of(end.output);
    EXPECT_EQ(contract(true), names_of(rows));
    EXPECT_EQ("ok", rows["mal_client_init"]);
    EXPECT_EQ("called: fails with -1: no SIM, or no modem", rows["libmal_get_sim_plmn"]);
}

TEST(QuorbaseCheck, ReadsTheSimOfAModem) {
    const ToolEnd end = check({"--modem", LIVELY_MODEM});
    EXPECT_EQ(0, end.status) << end.output << end.errors;
    const Rows rows = rows_of(end.output);
    EXPECT_EQ((std::set<std::string>{"mal_client_init", "libmal_get_sim_status", "libmal_get_sim_plmn",
                                     "libmal_get_sim_spn"}),
              with_result(rows, "ok"));
    EXPECT_EQ("called: the modem side is up", rows.at("libmal_get_mpss_status"));
}

TEST(QuorbaseCheck, FindsAModemWrongThatSucceedsAndGivesNothing) {
    const ToolEnd end = check({"--modem", IDLE_MODEM});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ((std::set<std::string>{"libmal_get_sim_status", "libmal_get_sim_plmn", "libmal_get_sim_spn"}),
              with_result(rows_of(end.output), "wrong"))
        << end.output;
}

TEST(QuorbaseCheck, RefusesAWrongCommandLine) {
    for (const std::vector<std::string> &words : {std::vector<std::string>{},
                                                  {"one", "two"},
                                                  {"--unknown", "one"},
                                                  {"--limit", "0", "one"},
                                                  {"--limit", "601", "one"},
                                                  {"--limit", "five", "one"},
                                                  {"--limit", "5s", "one"}}) {
        const ToolEnd end = check(words);
        EXPECT_EQ(2, end.status) << end.errors;
        EXPECT_NE(std::string::npos, end.errors.find("Try 'quorbase-check --help'.")) << end.errors;
        EXPECT_EQ("", end.output);
    }
}

TEST(QuorbaseCheck, NamesAWrongOption) {
    const auto errors_of = [](const std::vector<std::string> &words) {
        const std::string errors = check(words).errors;
        return errors.substr(0, errors.find('\n'));
    };
    EXPECT_EQ("quorbase-check: unrecognized option '--wrong'", errors_of({"--wrong"}));
    EXPECT_EQ("quorbase-check: unrecognized option '-x'", errors_of({"-x"}));
    EXPECT_EQ("quorbase-check: option '--limit' requires an argument", errors_of({"--limit"}));
    EXPECT_EQ("quorbase-check: option '--modem' doesn't allow an argument", errors_of({"--modem=one"}));
}

TEST(QuorbaseCheck, EscapesWhatATerminalWouldCarryOut) {
    const std::string name =
        "/tmp/\x1b]0;evil\x07\x9b"
        "31m\xe2\x80\xae";
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
             {name}, {"--" + name}, {"--modem=" + name}, {"one", name}, {"--limit", name, "one"}}) {
        const std::string errors = check(words).errors;
        EXPECT_EQ(std::string::npos, errors.find_first_of("\x1b\x07\x9b\xe2")) << errors;
    }
    EXPECT_NE(std::string::npos, check({name}).errors.find("\\x1b]0;evil\\x07\\x9b31m\\xe2\\x80\\xae"));
}

TEST(QuorbaseCheck, PrintsHelpAndVersion) {
    const ToolEnd help = check({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_NE(std::string::npos, help.output.find("--modem"));
    const ToolEnd version = check({"--version"});
    EXPECT_EQ(0, version.status);
    EXPECT_EQ(0u, version.output.find("quorbase-check "));
}

TEST(QuorbaseCheck, EndsWithTheStatusOfAllFunctionsWhenItsReaderHasLeft) {
    const std::string command = "head -n 1; echo ${PIPESTATUS[0]}";
    const ToolEnd right =
        run_shell(std::string("$TOOLS/quorbase-check --modem ") + OUR_MODEM + " | " + command);
    EXPECT_NE(std::string::npos, right.output.find("\n0\n")) << right.output;
    EXPECT_EQ("", right.errors);
    const ToolEnd wrong =
        run_shell(std::string("$TOOLS/quorbase-check --modem ") + IDLE_MODEM + " | " + command);
    EXPECT_NE(std::string::npos, wrong.output.find("\n1\n")) << wrong.output;
    EXPECT_EQ("", wrong.errors);
}

TEST(QuorbaseCheck, SaysThatItsOutputCanNotBeWritten) {
    for (const std::string words : {"--help", "--version", "--modem " OUR_MODEM}) {
        const ToolEnd end = run_shell("$TOOLS/quorbase-check " + words + " > /dev/full");
        EXPECT_EQ(1, end.status) << words;
        EXPECT_EQ("quorbase-check: can't write the output: No space left on device\n", end.errors);
    }
}

TEST(QuorbaseCheck, LeavesNoFolder) {
    const TempFolder folder;
    const ToolEnd end =
        run_shell("TMPDIR='" + folder.path() + "' $TOOLS/quorbase-check --modem " + OUR_MODEM);
    EXPECT_EQ(0, end.status) << end.errors;
    EXPECT_EQ("", run_shell("ls -A '" + folder.path() + "'").output);
}

TEST(QuorbaseCheck, SaysThatItHasNoFolder) {
    const ToolEnd end =
        run_shell(std::string("TMPDIR=/no/such/folder $TOOLS/quorbase-check --modem ") + OUR_MODEM);
    EXPECT_EQ(3, end.status);
    EXPECT_NE(std::string::npos, end.errors.find("No such file or directory")) << end.errors;
}

TEST(QuorbaseCheck, HasAManPageThatIsWellFormedAndHasEveryOption) {
    EXPECT_EQ("", run_shell("groff -man -Tascii -ww -z " MAN_PAGE " 2>&1").output);
    const std::string page = file_text(MAN_PAGE);
    for (const char *option : {"modem", "limit", "json\\-parse", "help", "version"}) {
        EXPECT_NE(std::string::npos, page.find(std::string("\\fB\\-\\-") + option + "\\fP")) << option;
    }
}
