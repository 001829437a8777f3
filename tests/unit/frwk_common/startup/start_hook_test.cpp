/*
 * The device's own program that every start runs. Each start happens in a separate process.
 */
#include <sys/stat.h>
#include <unistd.h>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "support/child.h"
#include "support/files.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;

namespace {

constexpr char kHook[] = "/usr/bin/apps_init";
constexpr char kRecord[] = "/tmp/m_tmp/hook_ran";
constexpr size_t kCommandSize = 256;

class StartHook : public ModuleTest {
  protected:
    StartHook() {
        write_file(kHook, "#!/bin/sh\necho \"$# $1 $2\" >/tmp/m_tmp/hook_ran\n");
        EXPECT_EQ(0, chmod(kHook, 0755));
    }
    ~StartHook() override {
        remove_node(kHook);
        remove_node(kRecord);
    }

    /* Starts a module without a service under a name and returns what it answers to the query. */
    static std::string report_of(const char *name, const std::function<std::string()> &query) {
        const ChildEnd end = run_in_child([name, &query] {
            g_modules_info[E_APPS_MODULE_LOGTOOL].name = name;
            frwk_module_init(E_APPS_MODULE_LOGTOOL, nullptr);
            return query();
        });
        EXPECT_EQ(0, end.status) << end.errors;
        return end.report;
    }

    /* The command line of the hook, which is not run; "" without one. */
    static std::string command_of(const std::string &name) {
        std::string command;
        base::os_system.stand_in([&command](const char *text) {
            command += text;
            return 0;
        });
        return report_of(name.c_str(), [&command] { return command; });
    }
};

std::string process_id() {
    return std::to_string(getpid());
}

}  // namespace

TEST_F(StartHook, IsRunWithNameAndProcessIdAndAwaited) {
    const std::string expected =
        report_of("logtool", [] { return "2 logtool " + process_id() + "\n" + read_file(kRecord); });
    EXPECT_EQ(expected.substr(0, expected.size() / 2), expected.substr(expected.size() / 2)) << expected;
}

TEST_F(StartHook, IsCalledByItsFixedText) {
    const std::string command = command_of("logtool");
    EXPECT_EQ("apps_init logtool ", command.substr(0, command.find_last_of(' ') + 1));
}

TEST_F(StartHook, IsSkippedWhereItIsAbsent) {
    remove_node(kHook);
    EXPECT_EQ("", command_of("logtool"));
}

TEST_F(StartHook, SeesAnyNameAsOneArgument) {
    const char name[] = "a b;`touch /tmp/m_tmp/made`$(touch /tmp/m_tmp/made)'*\"\\";
    report_of(name, [] { return std::string(); });
    const std::string record = read_file(kRecord);
    EXPECT_EQ(std::string("2 ") + name + " ", record.substr(0, record.find_last_of(' ') + 1));
    EXPECT_FALSE(exists("/tmp/m_tmp/made"));
}

TEST_F(StartHook, IsRunWithTheLongestNameThatFits) {
    const size_t others = std::string("apps_init  ").size() + std::to_string(getpid() + 1).size();
    const std::string command = command_of(std::string(kCommandSize - others - 2, 'n'));
    EXPECT_GE(command.size(), kCommandSize - 3);
    EXPECT_LT(command.size(), kCommandSize);
}

TEST_F(StartHook, IsNotRunWithACutName) {
    /* without room even for a process id of one digit */
    for (const std::string &name : {std::string(244, 'n'), std::string(244, ';'), std::string(5000, 'n')}) {
        const ChildEnd end = run_in_child([&name] {
            const LogCapture log;
            g_modules_info[E_APPS_MODULE_LOGTOOL].name = name.c_str();
            frwk_module_init(E_APPS_MODULE_LOGTOOL, nullptr);
            return std::to_string(base::os_system.calls()) + " " +
                   std::to_string(log.count("start hook not run: the module's name is too long"));
        });
        EXPECT_EQ("0 1", end.report) << name.size();
    }
}
