#include "zndb_tool/store_difference.h"

#include <cstdio>

#include "cli/complaint.h"
#include "device/text_file.h"
#include "output/terminal.h"
#include "zndb_tool/entry_lines.h"
#include "zndb_tool/store_list.h"
#include "zndb_tool/store_saving.h"

namespace {

void print_line(const std::string &line) {
    (void)std::puts(shown_text(Stream::kOutput, line).c_str());
}

ExitCode read_entries(const std::string &file, Entries *entries) {
    std::string text;
    const std::string problem = read_text_file(file, &text);
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, problem);
    }
    ExitCode code = ExitCode::kDone;
    for (const EntryLine &line : parse_entry_lines(text)) {
        if (!line.problem.empty()) {
            code = complain(ExitCode::kUsage, file + ":" + std::to_string(line.number) + ": " + line.problem);
        }
        (*entries)[line.key] = line.value;
    }
    return code;
}

ExitCode read_present(const ZndbOptions &options, Entries *entries) {
    StoreListing listing;
    const RequestOutcome outcome = list_store(chosen_store(options), Listed::kValues, "", &listing);
    for (const ListedSetting &setting : listing.settings) {
        entries->emplace(setting.key, setting.value);
    }
    return report_store_outcome(outcome, "list");
}

}  // namespace

StoreId chosen_store(const ZndbOptions &options) {
    return options.perm ? StoreId::kPerm : options.factory ? StoreId::kFactory : StoreId::kPlain;
}

ExitCode find_differences(const ZndbOptions &options, std::vector<SettingDifference> *differences) {
    Entries wanted;
    Entries present;
    ExitCode code = read_entries(options.file, &wanted);
    if (code == ExitCode::kDone) {
        code = read_present(options, &present);
    }
    if (code != ExitCode::kDone) {
        return code;
    }
    for (const auto &[key, value] : wanted) {
        const auto found = present.find(key);
        if (found == present.end()) {
            differences->push_back({key, std::nullopt, value});
        } else if (found->second != value) {
            differences->push_back({key, found->second, value});
        }
    }
    return code;
}

void print_differences(const std::vector<SettingDifference> &differences) {
    for (const SettingDifference &each : differences) {
        if (each.present) {
            print_line("-" + each.key + "=" + *each.present);
        }
        print_line("+" + each.key + "=" + each.wanted);
    }
}
