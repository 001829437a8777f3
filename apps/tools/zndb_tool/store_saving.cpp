#include "zndb_tool/store_saving.h"

#include <algorithm>

#include "cli/code_hint.h"
#include "cli/complaint.h"
#include "frwk_module.h"

namespace {

/* Reports a store that could not be saved; it fails the command only if the command has changed it. */
ExitCode report_store(apps_err_e_type result, bool counts, const std::string &what, const std::string &hint) {
    if (result == E_APPS_ERR_SUCCESS) {
        return ExitCode::kDone;
    }
    if (counts) {
        return report_store_outcome({E_APPS_ERR_SUCCESS, result}, what, hint);
    }
    return complain(ExitCode::kDone,
                    "warning: " + what + " failed: " + code_text(result) + code_hint(result));
}

}  // namespace

ExitCode report_store_outcome(const RequestOutcome &outcome, const std::string &what,
                              const std::string &hint) {
    return report_outcome(outcome, E_APPS_MODULE_ZNDB, what, hint);
}

ExitCode save_both(bool about_plain, bool about_perm, const std::string &hint) {
    const SaveOutcome saved = save_both_stores();
    if (saved.plain == E_APPS_ERR_SUCCESS && saved.perm == E_APPS_ERR_SUCCESS) {
        return report_store_outcome(saved.request, "save", hint);
    }
    const ExitCode plain = report_store(saved.plain, about_plain, "save", hint);
    const ExitCode perm = report_store(saved.perm, about_perm, "save of the perm store", hint);
    return std::max(plain, perm);
}

ExitCode save_if_wanted(const ZndbOptions &options) {
    if (!options.save) {
        return ExitCode::kDone;
    }
    return options.defaults ? report_store_outcome(save_overlay(), "save")
                            : save_both(!options.perm, options.perm);
}
