/*
 * zndb_tool: reads and changes the configuration database from a command line. Its commands are in
 * *_commands.cpp.
 */
#include <algorithm>

#include "cli/command_line_tool.h"
#include "zndb_tool/store_content.h"
#include "zndb_tool/typed_word.h"

namespace {

using Names = std::vector<std::string>;

bool is_among(const Names &words, const char *word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/* The stores in which a command looks a key up. The default of a setting can't be deleted. */
std::vector<Store> stores_for(const Names &before) {
    if (is_among(before, "--perm")) {
        return {Store::kPerm};
    }
    if (is_among(before, "--default")) {
        return {Store::kDefault};
    }
    return is_among(before, "del") ? std::vector<Store>{Store::kPlain}
                                   : std::vector<Store>{Store::kPlain, Store::kDefault};
}

/* Each key once. */
Names keys_like(const TypedWords &typed) {
    Entries all;
    for (const Store store : stores_for(typed.before)) {
        Entries entries;
        (void)read_store(store, &entries);
        all.merge(entries);
    }
    Names keys;
    for (const auto &entry : all) {
        keys.push_back(entry.first);
    }
    return keys;
}

constexpr ToolWords kWords = {"zndb_tool", "Reads and changes the device's configuration database.",
                              "zndb_tool set --save lan_ip 192.168.0.1\n"
                              "zndb_tool get lan_ip\n"
                              "zndb_tool dump --json\n"};

void declare(CommandLineTool &tool) {
    tool.complete_with("KEY", keys_like);
    tool.complete("TYPE", type_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
