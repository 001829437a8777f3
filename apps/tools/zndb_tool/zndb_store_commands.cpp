#include "zndb_tool/zndb_store_commands.h"

#include "cli/complaint.h"
#include "device/text_file.h"
#include "frwk_module.h"
#include "output/json_output.h"
#include "zndb_tool/entry_output.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/zndb_value_commands.h"

namespace {

constexpr Store kStores[] = {Store::kPlain, Store::kPerm, Store::kDefault};

bool one_is_chosen(const ZndbOptions &options) {
    return options.perm || options.defaults;
}

bool is_wanted(const ZndbOptions &options, Store store) {
    return !one_is_chosen(options) || options.store() == store;
}

Json json_of(const Entries &entries) {
    Json members = json_members();
    for (const auto &[key, value] : entries) {
        add_member(members, key, json_text(value));
    }
    return members;
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

ExitCode set_lines(const ZndbOptions &options, const std::vector<EntryLine> &lines) {
    size_t done = 0;
    for (const EntryLine &line : lines) {
        const RequestOutcome outcome = set_in_store(options.store(), line.key, line.value);
        if (!outcome.done()) {
            report_outcome(outcome, E_APPS_MODULE_ZNDB,
                           options.file + ":" + std::to_string(line.number) + ": set '" + line.key + "'");
            return complain(
                exit_code_of(outcome),
                std::to_string(done) + " of " + std::to_string(lines.size()) + " settings were imported");
        }
        ++done;
    }
    return ExitCode::kDone;
}

}  // namespace

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
            add_member(members, store_name(store), json_of(entries));
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
