/*
 * The commands of zndb_tool that list settings, unsaved changes and differences. The database answers them.
 */
#include <cstdio>

#include "cli/command_line_tool.h"
#include "output/json_output.h"
#include "output/terminal.h"
#include "zndb_tool/entry_output.h"
#include "zndb_tool/key_pattern.h"
#include "zndb_tool/store_difference.h"
#include "zndb_tool/store_list.h"
#include "zndb_tool/store_saving.h"
#include "zndb_tool/zndb_options.h"

namespace {

/* In the order of StoreId. */
constexpr const char *kStoreNames[] = {"plain", "perm", "factory"};

void print_line(const std::string &line) {
    (void)std::puts(shown_text(Stream::kOutput, line).c_str());
}

// ---- list ----

ExitCode read_matching(const ZndbOptions &options, Entries *entries) {
    const std::string prefix = fixed_part(options.pattern);
    if (prefix.size() >= ZNDB_KEY_LEN) {
        return ExitCode::kDone; /* no key is that long */
    }
    StoreListing listing;
    const RequestOutcome outcome = list_store(chosen_store(options), Listed::kValues, prefix, &listing);
    for (const ListedSetting &setting : listing.settings) {
        if (matches(setting.key, options.pattern)) {
            entries->emplace(setting.key, setting.value);
        }
    }
    return report_store_outcome(outcome, "list");
}

ExitCode list_settings(const ZndbOptions &options) {
    Entries entries;
    const ExitCode code = read_matching(options, &entries);
    if (code == ExitCode::kDone && options.json) {
        print_json(json_of_entries(entries));
    } else if (code == ExitCode::kDone) {
        print_entry_lines(entries);
    }
    return code;
}

// ---- changes ----

std::string words_of(const ListedSetting &setting) {
    return setting.deleted ? "deleted " + setting.key : "set " + setting.key + "=" + setting.value;
}

void print_changes(StoreId store, const StoreListing &listing) {
    const std::string name = kStoreNames[static_cast<size_t>(store)];
    if (listing.emptied) {
        print_line(name + " reset");
    }
    for (const ListedSetting &setting : listing.settings) {
        print_line(name + " " + words_of(setting));
    }
}

/* Prints nothing unless all stores can be listed. */
ExitCode list_changes(const ZndbOptions &) {
    StoreListing listings[std::size(kStoreIds)];
    for (const StoreId id : kStoreIds) {
        const RequestOutcome outcome =
            list_store(id, Listed::kUnsaved, "", &listings[static_cast<size_t>(id)]);
        const ExitCode code = report_store_outcome(outcome, "list the changes");
        if (code != ExitCode::kDone) {
            return code;
        }
    }
    for (const StoreId id : kStoreIds) {
        print_changes(id, listings[static_cast<size_t>(id)]);
    }
    return ExitCode::kDone;
}

// ---- diff ----

ExitCode show_difference(const ZndbOptions &options) {
    std::vector<SettingDifference> differences;
    const ExitCode code = find_differences(options, &differences);
    print_differences(differences);
    return code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command list = tool.add("list", "Print the settings of a store, without their defaults",
                            "zndb_tool list\n"
                            "zndb_tool list 'lan_*'\n"
                            "zndb_tool list --perm --json\n",
                            g_options.runs(list_settings));
    list.add("PATTERN", g_options.pattern, "Of the keys, with * and ?; without them, the keys' beginning");
    g_options.add_own_store(list);
    g_options.add_json(list);

    tool.add("changes", "Print what is not saved yet", "zndb_tool changes\n", g_options.runs(list_changes));

    Command diff = tool.add("diff", "Print the settings of a file that a store has otherwise or lacks",
                            "zndb_tool diff settings.txt\n", g_options.runs(show_difference));
    diff.add("FILE", g_options.file, "Lines of key=value, - for standard input").required();
    g_options.add_own_store(diff);
}

const CommandGroup kCommands(4, declare);

}  // namespace
