// device-tree [--no-log|--print-log] [--] COMMAND [ARG...]
//
// Runs a command in a private copy of the device's file tree: the fixed paths that modules use (/m_data,
// /m_webui, /tmp/m_tmp, /etc/quor_*, /usr/bin/apps_init) are fresh and writable there, and nothing of the
// host is touched. Its programs log to the tree's own /var/log/messages. For module developers, tests and
// the demo; not a sandbox, since all other files are the host's own.
//
// QUOR_EMULATOR in the environment names a program that runs what is built for 32-bit ARM (qemu-arm); it is
// then used for every such program in the tree.
//
// The status is the command's, or 128 and the number of the signal that ended it; 126 or 127 when it can't
// be run. Where the tree can't be made, as where namespaces are not allowed, for a wrong usage, and where the
// help can't be written, it is 2.

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "device_tree_log.h"
#include "device_tree_mounts.h"
#include "device_tree_process.h"
#include "output/program_help.h"

namespace {

std::string working_folder() {
    char path[PATH_MAX];
    return getcwd(path, sizeof(path)) != nullptr ? path : "/";
}

// The same path as before, where the tree has it.
void enter_folder(const std::string &path) {
    if (chdir(path.c_str()) != 0 && chdir("/") != 0) {
        device_tree::refuse("enter", "/");
    }
}

constexpr char kUsage[] = "usage: device-tree [--no-log|--print-log] [--] COMMAND [ARG...]\n";

std::string help() {
    return program_help(
        kUsage, "Run a command in a private copy of the device's file tree.",
        {{"--no-log", "without a log: no log socket, no log file"},
         {"--print-log", "print what is logged in the tree to standard error too"},
         {"--help", "print this help"},
         {"--version", "print the version"}},
        "Exit status: the command's, 128 and the number of the signal that ended it, 127 if there is no such "
        "program, 126 if it can't be run, 2 if the tree can't be made, the usage is wrong or the help can't "
        "be written.\n");
}

struct Arguments {
    bool log = true;
    bool print_log = false;
    char **command = nullptr;  // null for wrong usage
};

// Whether the word is an option for the log.
bool take_log_option(const char *word, Arguments *arguments) {
    const bool off = strcmp(word, "--no-log") == 0;
    const bool printed = strcmp(word, "--print-log") == 0;
    arguments->log = arguments->log && !off;
    arguments->print_log = arguments->print_log || printed;
    return off || printed;
}

Arguments read_arguments(char **words) {
    Arguments arguments;
    while (*words != nullptr && take_log_option(*words, &arguments)) {
        ++words;
    }
    const bool ended = *words != nullptr && strcmp(*words, "--") == 0;
    words += ended ? 1 : 0;
    arguments.command = *words != nullptr && (ended || **words != '-') ? words : nullptr;
    return arguments;
}

// Prints help or version if the word asks for it; returns false for any other word.
bool print_requested(const char *word) {
    if (strcmp(word, "--help") == 0) {
        (void)fputs(help().c_str(), stdout);
        return true;
    }
    if (strcmp(word, "--version") == 0) {
        (void)printf("device-tree %s\n", QUOR_VERSION);
        return true;
    }
    return false;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc == 2 && print_requested(argv[1])) {
        if (fflush(stdout) != 0) {
            device_tree::refuse("write", "the output");
        }
        return 0;
    }
    const Arguments arguments = read_arguments(argv + 1);
    if (arguments.command == nullptr) {
        (void)fputs(kUsage, stderr);
        return 2;
    }

    const std::string folder = working_folder();
    device_tree::enter_private_root();
    std::optional<device_tree::TreeLog> log;
    if (arguments.log) {
        log.emplace(arguments.print_log);
    }
    enter_folder(folder);
    return device_tree::run_command(arguments.command, log ? &*log : nullptr);
}
