/*
 * zndb_tool: reads and changes the configuration database from a command line. Its commands are in
 * *_commands.cpp.
 */
#include "cli/command_line_tool.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/typed_word.h"

namespace {

std::vector<std::string> known_keys() {
    std::vector<std::string> keys;
    for (const Store store : {Store::kPlain, Store::kPerm, Store::kDefault}) {
        Entries entries;
        (void)read_store(store, &entries);
        for (const auto &entry : entries) {
            keys.push_back(entry.first);
        }
    }
    return keys;
}

constexpr ToolWords kWords = {"zndb_tool", "Reads and changes the device's configuration database.",
                              "zndb_tool set --save lan_ip 192.168.0.1\n"
                              "zndb_tool get lan_ip\n"
                              "zndb_tool dump --json\n"};

void declare(CommandLineTool &tool) {
    tool.complete("KEY", known_keys);
    tool.complete("TYPE", type_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
