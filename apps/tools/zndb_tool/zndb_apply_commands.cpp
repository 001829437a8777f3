/*
 * The commands of zndb_tool that try settings: they are reverted unless somebody confirms them.
 */
#include <cstdio>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/confirmation.h"
#include "output/terminal.h"
#include "zndb_tool/store_apply.h"
#include "zndb_tool/store_difference.h"
#include "zndb_tool/store_saving.h"
#include "zndb_tool/trial_words.h"
#include "zndb_tool/zndb_options.h"

namespace {

constexpr uint32_t kDefaultSeconds = 60;

void print_line(const std::string &line) {
    (void)std::puts(line.c_str());
}

// ---- apply ----

/* The present values are expected, so that exactly what was shown is applied. */
std::vector<ZndbItem> items_of(StoreId store, const std::vector<SettingDifference> &differences) {
    std::vector<ZndbItem> items;
    for (const SettingDifference &each : differences) {
        items.push_back(each.present ? ZndbItem{ItemKind::kExpect, store, each.key, *each.present}
                                     : ZndbItem{ItemKind::kExpectMissing, store, each.key, {}});
        items.push_back({ItemKind::kSet, store, each.key, each.wanted});
    }
    return items;
}

ExitCode apply_file(const ZndbOptions &options) {
    std::vector<SettingDifference> differences;
    ExitCode code = find_differences(options, &differences);
    if (code != ExitCode::kDone) {
        return code;
    }
    if (differences.empty()) {
        print_line("the store has these settings already; there is nothing to confirm");
        return code;
    }
    print_differences(differences);
    (void)std::fflush(stdout); /* before an error message */
    const std::vector<ZndbItem> items = items_of(chosen_store(options), differences);
    const ApplyOutcome outcome = apply_items(items, options.confirm_within);
    code = report_store_outcome(outcome.request, "apply", apply_hint(outcome, items));
    if (code == ExitCode::kDone) {
        print_line(trial_notice(differences.size(), options.confirm_within));
    }
    return code;
}

// ---- confirm and revert ----

ExitCode confirm_trial(const ZndbOptions &) {
    const ApplyOutcome outcome = control_apply(ApplyAction::kConfirm);
    return report_store_outcome(outcome.request, "confirm", confirm_hint(outcome));
}

/* Whether there is something beside unsaved changes to go back on. */
bool concerns_trial(const ApplyAnswer &answer, bool restored) {
    switch (static_cast<ApplyState>(answer.state)) {
        case ApplyState::kNone:
            return false;
        case ApplyState::kKept:
            return restored;
        default:
            return true;
    }
}

ExitCode revert_trial(const ZndbOptions &options) {
    const ApplyOutcome status = control_apply(ApplyAction::kStatus);
    ExitCode code = report_store_outcome(status.request, "revert");
    if (code != ExitCode::kDone) {
        return code;
    }
    if (concerns_trial(status.answer, options.restored)) {
        return report_store_outcome(control_apply(ApplyAction::kRevert).request, "revert");
    }
    return options.restored
               ? complain(ExitCode::kRefused, "revert failed: no configuration was kept by a restore")
               : code;
}

ExitCode revert(const ZndbOptions &options) {
    const char *what = options.restored ? "go back to the configuration before the restore"
                                        : "drop every change that is not saved";
    if (!is_confirmed(what, options.yes)) {
        return complain(ExitCode::kRefused, "nothing was done");
    }
    const ExitCode code = revert_trial(options);
    return code == ExitCode::kDone && !options.restored
               ? report_store_outcome(control_apply(ApplyAction::kUndo).request, "revert",
                                      "; nothing was reverted to the last save")
               : code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    g_options.confirm_within = kDefaultSeconds;
    Command apply = tool.add("apply", "Try the settings of a file; they are reverted unless confirmed",
                             "zndb_tool apply settings.txt\n"
                             "zndb_tool apply --confirm-within 300 settings.txt\n",
                             g_options.runs(apply_file));
    apply.add("FILE", g_options.file, "Lines of key=value, - for standard input").required();
    g_options.add_own_store(apply);
    g_options.add_confirm_within(apply, "Seconds until they are reverted");

    tool.add("confirm", "Keep what was applied or restored, and save it", "zndb_tool confirm\n",
             g_options.runs(confirm_trial));

    Command reverted = tool.add("revert", "Go back to the last save, and revert what is not confirmed",
                                "zndb_tool revert --yes\n", g_options.runs(revert));
    reverted.flag("--restored", g_options.restored, "Go back to the configuration before the last restore");
    reverted.flag("--yes", g_options.yes, "Don't ask");
}

const CommandGroup kCommands(6, declare);

}  // namespace
