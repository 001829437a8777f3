/*
 * The process after a start: its signals and its standard descriptors. Each start happens in a
 * process of its own.
 */
#include <signal.h>
#include <sys/prctl.h>

#include <cerrno>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/child.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kConfig[] = "/etc/quor_apps_cfg.xml";

class StartProcess : public ModuleTest {
  protected:
    /* Starts a tool, and returns what it then answers to the query. */
    static std::string report_of_tool(const std::function<std::string()> &query) {
        const ChildEnd end = run_in_child([&query] {
            frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
            return query();
        });
        EXPECT_EQ(end.status, 0) << end.errors;
        return end.report;
    }
};

std::string yes_or_no(bool value) {
    return value ? "yes" : "no";
}

void close_all(const std::vector<int> &fds) {
    for (const int fd : fds) {
        (void)close(fd);
    }
}

/* The file that a descriptor of this process is open to. */
std::string target_of(int fd) {
    char path[256] = "";
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, sizeof(path));
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : "";
}

enum Orphaned {
    kBeforeTheStart,
    kDuringTheStart
};

int g_orphans_report = -1;

void report_hangup(int) {
    (void)!write(g_orphans_report, "hangup ", 7);
}

void wait_for_the_end_of_parent(pid_t parent) {
    while (getppid() == parent) {
        (void)sched_yield();
    }
}

/* Starts a module whose parent ends by the module's own hand. */
[[noreturn]] void start_orphan(Orphaned when) {
    (void)signal(SIGHUP, report_hangup);
    const auto end_parent = [parent = getppid()] {
        (void)kill(parent, SIGKILL);
        wait_for_the_end_of_parent(parent);
    };
    if (when == kBeforeTheStart) {
        end_parent();
    }
    base::os_file_exist.stand_in([when, end_parent](const char *path) {
        if (when == kDuringTheStart && path == std::string(kConfig)) {
            end_parent();
        }
        return 0;
    });
    frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
    (void)!write(g_orphans_report, "started ", 8);
    child_detail::write_counters();
    _exit(0);
}

/* The report of a module in a separate process about its start; its parent ends before or during the start.
 */
std::string report_of_orphan(Orphaned when) {
    int ends[2];
    EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
    const pid_t parent = fork();
    if (parent == 0) {
        g_orphans_report = ends[1];
        if (fork() == 0) {
            start_orphan(when);
        }
        for (;;) {
            (void)pause();
        }
    }
    (void)close(ends[1]);
    const std::string report = child_detail::take_text(ends[0]);
    EXPECT_EQ(parent, waitpid(parent, nullptr, 0));
    return report;
}

}  // namespace

/* ---- Signals --------------------------------------------------------------------------------------- */

TEST_F(StartProcess, IsToldWhenItsParentEnds) {
    const std::string report = report_of_tool([] {
        int number = 0;
        (void)prctl(PR_GET_PDEATHSIG, &number);
        return std::to_string(number);
    });
    EXPECT_EQ(report, std::to_string(SIGHUP));
}

TEST_F(StartProcess, AParentThatEndsDuringTheStartIsAHangup) {
    EXPECT_EQ(report_of_orphan(kDuringTheStart), "hangup started ");
}

TEST_F(StartProcess, AParentThatHadEndedBeforeTheStartIsNone) {
    EXPECT_EQ(report_of_orphan(kBeforeTheStart), "started ");
}

TEST_F(StartProcess, IgnoresAndBlocksSigpipe) {
    const std::string report = report_of_tool([] {
        struct sigaction action = {};
        (void)sigaction(SIGPIPE, nullptr, &action);
        sigset_t blocked;
        (void)pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return yes_or_no(action.sa_handler == SIG_IGN) + yes_or_no(sigismember(&blocked, SIGPIPE) == 1) +
               yes_or_no(sigismember(&blocked, SIGTERM) == 1);
    });
    EXPECT_EQ(report, "yesyesno");
}

/* ---- Standard descriptors -------------------------------------------------------------------------- */

TEST_F(StartProcess, OpensTheStandardDescriptorsThatAreClosed) {
    const std::string report = run_in_child([] {
                                   close_all({0, 1, 2});
                                   frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
                                   return target_of(0) + " " + target_of(1) + " " + target_of(2);
                               }).report;
    EXPECT_EQ(report, "/dev/null /dev/null /dev/null");
}

TEST_F(StartProcess, LeavesTheStandardDescriptorsThatAreOpen) {
    const std::string report = run_in_child([] {
                                   const std::string input = target_of(0);
                                   const std::string errors = target_of(2);
                                   close_all({1});
                                   frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
                                   return yes_or_no(target_of(0) == input) + " " + target_of(1) + " " +
                                          yes_or_no(target_of(2) == errors);
                               }).report;
    EXPECT_EQ(report, "yes /dev/null yes");
}

TEST_F(StartProcess, AStandardDescriptorThatCannotBeOpenedIsLoggedAndTheStartGoesOn) {
    const std::string report = run_in_child([] {
                                   const LogCapture log;
                                   close_all({0});
                                   libc::open.fail(ENOENT);
                                   frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
                                   return log.text();
                               }).report;
    EXPECT_NE(report.find("open a standard descriptor error! errno=2"), std::string::npos) << report;
    EXPECT_NE(report.find("can't found apps run cfg file"), std::string::npos) << report;
}
