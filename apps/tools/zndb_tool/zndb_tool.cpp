/*
 * zndb_tool: reads and changes the configuration database from a command line.
 */
#include "cli/command_line_tool.h"
#include "cli/number_range.h"
#include "device/module_identity.h"
#include "frwk_module.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/typed_word.h"
#include "zndb_tool/zndb_backup_commands.h"
#include "zndb_tool/zndb_options.h"
#include "zndb_tool/zndb_store_commands.h"
#include "zndb_tool/zndb_value_commands.h"

namespace {

using Command = ExitCode (*)(const ZndbOptions &options);

/* Filled by the parser before a command runs. */
ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

CommandLineTool::Run run(Command command) {
    return [command] {
        become_module(E_APPS_MODULE_ZNDB_TOOL);
        return command(g_options);
    };
}

void add_store(CLI::App &command, bool with_defaults) {
    CLI::Option *perm =
        command.add_flag("--perm", g_options.perm, "The perm store, which a reset doesn't clear");
    if (with_defaults) {
        command.add_flag("--default", g_options.defaults, "The defaults; changes go to the factory overlay")
            ->excludes(perm);
    }
}

void add_value_form(CLI::App &command) {
    CLI::Option *type =
        command.add_option("--type", g_options.type, "Type of the value: string, uint, bool and so on");
    type->type_name("TYPE")->check(one_of("type", type_names));
    CLI::Option *list = command.add_flag("--list", g_options.list, "The value is a list of items");
    CLI::Option *item = command.add_option("--item", g_options.item, "One item of the list, from 1");
    item->type_name("N")->check(whole_number(1))->excludes(list);
    CLI::Option *secret =
        command.add_flag("--secret", g_options.secret, "The value is stored encrypted, in the plain store");
    secret->excludes(type)->excludes(list)->excludes(item)->excludes(command.get_option("--perm"));
    secret->excludes(command.get_option("--default"));
}

void add_json(CLI::App &command) {
    command.add_flag("--json", g_options.json, "Print JSON");
}

void add_save(CLI::App &command) {
    command.add_flag("--save", g_options.save, "Save afterwards, so that it survives a power cut");
}

void add_keys(CLI::App &command) {
    command.add_option("KEY", g_options.keys, "Name of a setting")->required();
}

void add_value_commands(CommandLineTool &tool) {
    CLI::App &get = tool.add("get", "Print settings",
                             "zndb_tool get lan_ip\n"
                             "zndb_tool get --type uint --json mtu\n"
                             "zndb_tool get --list dns_servers\n",
                             run(get_values));
    add_keys(get);
    add_store(get, true);
    add_value_form(get);
    add_json(get);

    CLI::App &set = tool.add("set", "Change a setting",
                             "zndb_tool set --save lan_ip 192.168.0.1\n"
                             "zndb_tool set --type int -- offset -5\n"
                             "zndb_tool set --list dns_servers 1.1.1.1 9.9.9.9\n"
                             "zndb_tool set --secret wifi_key < key.txt\n",
                             run(set_value));
    set.add_option("KEY", g_options.key, "Name of the setting")->required();
    set.add_option("VALUE", g_options.values, "Its value; by default a line of standard input");
    add_store(set, true);
    add_value_form(set);
    add_save(set);

    CLI::App &del = tool.add("del", "Delete settings, so that their defaults apply again",
                             "zndb_tool del lan_ip\n", run(delete_keys));
    add_keys(del);
    add_store(del, false);
    add_save(del);
}

void add_saving_commands(CommandLineTool &tool) {
    CLI::App &save = tool.add("save", "Save all changes, so that they survive a power cut",
                              "zndb_tool save\n"
                              "zndb_tool save --default\n",
                              run(save_changes));
    CLI::Option *defaults =
        save.add_flag("--default", g_options.defaults, "Save the factory overlay instead");
    save.add_flag("--ram", g_options.ram, "Only shorten the journal of unsaved changes")->excludes(defaults);

    CLI::App &reset = tool.add("reset", "Delete every setting of the plain store",
                               "zndb_tool reset --yes --save\n", run(reset_settings));
    reset.add_flag("--yes", g_options.yes, "Don't ask");
    add_save(reset);
}

void add_store_commands(CommandLineTool &tool) {
    CLI::App &dump = tool.add("dump", "Print the content of the stores",
                              "zndb_tool dump\n"
                              "zndb_tool dump --perm --json\n",
                              run(dump_stores));
    add_store(dump, true);
    add_json(dump);

    CLI::App &exported = tool.add("export", "Write the settings of a store as lines of key=value",
                                  "zndb_tool export settings.txt\n", run(export_store));
    exported.add_option("FILE", g_options.file, "The file; standard output by default or with -");
    add_store(exported, true);

    CLI::App &imported = tool.add("import", "Set the settings of a file of key=value lines",
                                  "zndb_tool import --save settings.txt\n"
                                  "zndb_tool export | ssh router zndb_tool import -\n",
                                  run(import_store));
    imported.add_option("FILE", g_options.file, "The file, - for standard input")->required();
    add_store(imported, true);
    add_save(imported);
}

void add_backup_commands(CommandLineTool &tool) {
    CLI::App &backup = tool.add("backup", "Write the device's user configuration to an encrypted file",
                                "zndb_tool backup /tmp/router.bak\n", run(back_up));
    backup.add_option("FILE", g_options.file, "The file; an existing one is replaced")->required();
    CLI::Option *save = backup.add_flag("--save", g_options.save, "Save first, which is the default");
    backup
        .add_flag("--no-save", g_options.no_save,
                  "Don't save first: the backup contains the last saved settings")
        ->excludes(save);

    CLI::App &restored = tool.add("restore", "Replace the user configuration with a backup",
                                  "zndb_tool restore /tmp/router.bak\n", run(restore));
    restored.add_option("FILE", g_options.file, "The backup, of this device or one of its kind")->required();
}

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
    add_value_commands(tool);
    add_saving_commands(tool);
    add_store_commands(tool);
    add_backup_commands(tool);
    tool.complete("KEY", known_keys);
    tool.complete("TYPE", type_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
