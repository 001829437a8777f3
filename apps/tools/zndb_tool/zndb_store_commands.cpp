/*
 * The commands of zndb_tool for complete stores.
 */
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/confirmation.h"
#include "device/text_file.h"
#include "frwk_module.h"
#include "output/json_output.h"
#include "zndb_tool/entry_output.h"
#include "zndb_tool/store_apply.h"
#include "zndb_tool/store_content.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/store_saving.h"
#include "zndb_tool/trial_words.h"
#include "zndb_tool/zndb_options.h"

namespace {

constexpr Store kStores[] = {Store::kPlain, Store::kPerm, Store::kDefault};

ExitCode save_changes(const ZndbOptions &options) {
    if (options.ram) {
        return report_store_outcome(save_in_ram(), "save");
    }
    return options.defaults ? report_store_outcome(save_overlay(), "save") : save_both(true, true);
}

ExitCode reset_settings(const ZndbOptions &options) {
    if (!is_confirmed("delete every setting of the plain store", options.yes)) {
        return complain(ExitCode::kRefused, "nothing was done");
    }
    const ExitCode code = report_store_outcome(reset_store(), "reset");
    return code == ExitCode::kDone ? save_if_wanted(options) : code;
}

bool one_is_chosen(const ZndbOptions &options) {
    return options.perm || options.defaults;
}

bool is_wanted(const ZndbOptions &options, Store store) {
    return !one_is_chosen(options) || options.store() == store;
}

ExitCode read_or_complain(Store store, Entries *entries) {
    const std::string problem = read_store(store, entries);
    return problem.empty() ? ExitCode::kDone : complain(ExitCode::kRefused, problem);
}

// ---- import ----

/* Reports the problem of each malformed line. */
ExitCode check_lines(const std::string &file, const std::vector<EntryLine> &lines) {
    ExitCode code = ExitCode::kDone;
    for (const EntryLine &line : lines) {
        if (!line.problem.empty()) {
            code = complain(ExitCode::kUsage, file + ":" + std::to_string(line.number) + ": " + line.problem);
        }
    }
    return code == ExitCode::kDone ? code : complain(code, "nothing was imported");
}

std::vector<ZndbItem> items_of(StoreId store, const std::vector<EntryLine> &lines) {
    std::vector<ZndbItem> items;
    items.reserve(lines.size());
    for (const EntryLine &line : lines) {
        items.push_back({ItemKind::kSet, store, line.key, line.value});
    }
    return items;
}

/* The line at which the database stopped, if it was one. */
std::string refused_part(const ZndbOptions &options, const std::vector<EntryLine> &lines,
                         const ApplyOutcome &outcome) {
    const BatchAnswer &answer = outcome.answer.batch;
    if (!outcome.request.delivered() || answer.verdict == E_ZNDB_RET_SUCCESS || answer.item >= lines.size()) {
        return "import";
    }
    const EntryLine &line = lines[answer.item];
    return options.file + ":" + std::to_string(line.number) + ": set '" + line.key + "'";
}

/* After a request without an answer nobody knows. */
const char *import_state(const RequestOutcome &request) {
    const bool is_known = request.delivered() || request.sent == E_APPS_ERR_MODULE;
    return is_known ? "nothing was imported" : "either everything was imported or nothing";
}

ExitCode set_lines(const ZndbOptions &options, const std::vector<EntryLine> &lines) {
    if (lines.empty()) {
        return ExitCode::kDone;
    }
    const std::vector<ZndbItem> items = items_of(changeable(options.store()), lines);
    const ApplyOutcome outcome = apply_items(items, 0);
    if (outcome.request.done()) {
        return ExitCode::kDone;
    }
    report_store_outcome(outcome.request, refused_part(options, lines, outcome), apply_hint(outcome, items));
    return complain(exit_code_of(outcome.request), import_state(outcome.request));
}

ExitCode dump_stores(const ZndbOptions &options) {
    const Json members = json_members();
    for (const Store store : kStores) {
        Entries entries;
        if (!is_wanted(options, store)) {
            continue;
        }
        if (read_or_complain(store, &entries) != ExitCode::kDone) {
            return ExitCode::kRefused;
        }
        if (options.json) {
            add_member(members, store_name(store), json_of_entries(entries));
        } else {
            print_entries(std::string("# ") + store_name(store) + ": " + store_paths(store), entries);
        }
    }
    if (options.json) {
        print_json(members);
    }
    return ExitCode::kDone;
}

ExitCode export_store(const ZndbOptions &options) {
    Entries entries;
    if (read_or_complain(options.store(), &entries) != ExitCode::kDone) {
        return ExitCode::kRefused;
    }
    if (options.file == kStandardStream) {
        print_entry_lines(entries);
        return ExitCode::kDone;
    }
    const std::string problem = write_private_file(options.file, format_entries(entries));
    return problem.empty() ? ExitCode::kDone : complain(ExitCode::kUsage, problem);
}

/* Checks every line, and sets all keys as one batch. */
ExitCode import_store(const ZndbOptions &options) {
    std::string text;
    const std::string problem = read_text_file(options.file, &text);
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, problem);
    }
    const std::vector<EntryLine> lines = parse_entry_lines(text);
    ExitCode code = check_lines(options.file, lines);
    if (code == ExitCode::kDone) {
        code = set_lines(options, lines);
    }
    return code == ExitCode::kDone ? save_if_wanted(options) : code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command save = tool.add("save", "Save all changes, so that they survive a power cut",
                            "zndb_tool save\n"
                            "zndb_tool save --default\n",
                            g_options.runs(save_changes));
    save.flag("--default", g_options.defaults, "Save the factory overlay instead");
    save.flag("--ram", g_options.ram, "Only shorten the journal of unsaved changes").excludes("--default");

    Command reset = tool.add("reset", "Delete every setting of the plain store",
                             "zndb_tool reset --yes --save\n", g_options.runs(reset_settings));
    reset.flag("--yes", g_options.yes, "Don't ask");
    g_options.add_save(reset);

    Command dump = tool.add("dump", "Print the content of the stores",
                            "zndb_tool dump\n"
                            "zndb_tool dump --perm --json\n",
                            g_options.runs(dump_stores));
    g_options.add_store(dump, true);
    g_options.add_json(dump);

    Command exported = tool.add("export", "Write the settings of a store as lines of key=value",
                                "zndb_tool export settings.txt\n", g_options.runs(export_store));
    exported.add("FILE", g_options.file, "The file; standard output by default or with -");
    g_options.add_store(exported, true);

    Command imported = tool.add("import", "Set the settings of a file of key=value lines",
                                "zndb_tool import --save settings.txt\n"
                                "zndb_tool export | ssh router zndb_tool import -\n",
                                g_options.runs(import_store));
    imported.add("FILE", g_options.file, "The file, - for standard input").required();
    g_options.add_store(imported, true);
    g_options.add_save(imported);
}

const CommandGroup kCommands(2, declare);

}  // namespace
