/*
 * The commands of zndb_tool that back up and restore the user configuration.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cli/code_hint.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/request_outcome.h"
#include "cli/user_signals.h"
#include "cli/wait_notice.h"
#include "device/held_file.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "frwk_dbrm.h"
#include "frwk_dbrm/format/database_text.h"
#include "frwk_module.h"
#include "support/atomic_file.h"
#include "support/unique_fd.h"
#include "zndb.h"
#include "zndb_tool/restore_advice.h"
#include "zndb_tool/store_apply.h"
#include "zndb_tool/store_content.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/store_request.h"
#include "zndb_tool/store_saving.h"
#include "zndb_tool/trial_words.h"
#include "zndb_tool/zndb_options.h"

namespace {

/* The suffix of an incomplete backup. */
constexpr char kPartSuffix[] = ".part";

/* The setting that a backup is bound to, and the size of its value. */
constexpr char kProductKey[] = "device_product_name";
constexpr size_t kProductSize = 64;

/* On tmpfs: what is deciphered never reaches a disk. */
constexpr char kCopyName[] = "/zndb_tool.XXXXXX";

/* A temporary backup in the target's folder; the destructor removes it, unless it has replaced the target. */
class Part {
  public:
    explicit Part(const std::string &file)
        : place_(file), file_(place_.folder(), place_.name()), path_(file + kPartSuffix) {
        (void)file_.name_beside(kPartSuffix); /* a name that is too long makes the backup fail */
    }

    const std::string &path() const { return path_; }

    /* Gives it the file's name. Returns false, with errno set, when that fails. */
    bool become_file() { return file_.replace_target(AtomicFile::Sync::kNames) != AtomicFile::Placed::kNo; }

  private:
    const HeldFile place_;
    AtomicFile file_;
    const std::string path_;
};

/* A file that the destructor removes. */
class TemporaryFile {
  public:
    explicit TemporaryFile(std::string path) : path_(std::move(path)) {}
    ~TemporaryFile() { (void)::unlink(path_.c_str()); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }

  private:
    const std::string path_;
};

/* Checks that the database runs. */
ExitCode check_database(const std::string &what) {
    const WaitNotice notice(E_APPS_MODULE_ZNDB);
    return report_outcome(send_request(E_APPS_MODULE_ZNDB, E_APPS_MSG_SYS_PROBE, ""), E_APPS_MODULE_ZNDB,
                          what);
}

/* A backup is bound to the product, so a device without a product name can't have one. */
const char *backup_hint(apps_err_e_type code) {
    char product[kProductSize] = "";
    const bool unknown = code == E_APPS_ERR_INTERNAL &&
                         zndb_get(kProductKey, product, sizeof(product)) == E_ZNDB_RET_NOT_FOUND;
    return unknown ? "; the device doesn't know its product: device_product_name is not set" : "";
}

/* The product's name that a backup is bound to; "" if the device has none. */
std::string product_name() {
    char product[kProductSize] = "";
    return zndb_get(kProductKey, product, sizeof(product)) == E_ZNDB_RET_SUCCESS ? product : "";
}

/* Whether a restore would discard the name with the settings. */
bool product_is_a_setting() {
    char product[kProductSize] = "";
    return !product_name().empty() &&
           zndb_get_def(kProductKey, product, sizeof(product)) == E_ZNDB_RET_NOT_FOUND;
}

/* The content of the plain store, if it can be read. */
struct Settings {
    Settings() : is_known(read_store(Store::kPlain, &entries).empty()) {}
    Entries entries;
    bool is_known;
};

size_t settings_on_disk() {
    std::string text;
    return read_text_file(store_paths(Store::kPlain), &text).empty() ? parse_entry_lines(text).size() : 0;
}

/* The state after a failed restore. copy: removed if the restore had started to apply records. */
RestoreFacts facts_after(const std::string &file, const std::string &copy, const std::string &product,
                         const Settings &before) {
    const Settings now;
    RestoreFacts facts;
    facts.file = file;
    facts.product = product;
    facts.knows_product = !product_name().empty();
    facts.was_refused = file_exists(copy);
    facts.is_known = before.is_known && now.is_known;
    facts.has_changed = facts.is_known && now.entries != before.entries;
    facts.settings_before = before.entries.size();
    facts.settings_now = now.entries.size();
    facts.settings_on_disk = settings_on_disk();
    return facts;
}

ExitCode complain_about_restore(apps_err_e_type result, const RestoreFacts &facts) {
    const ExitCode code =
        complain(ExitCode::kRefused,
                 "restore of " + facts.file + " failed: " + code_text(result) + restore_hint(facts));
    for (const std::string &line : restore_advice(facts)) {
        (void)complain(code, line);
    }
    return code;
}

/* Unsaved changes would be lost, and a database that can't save would stay empty. */
ExitCode save_before_restore(const std::string &file) {
    return report_outcome(save_both_stores().request, E_APPS_MODULE_ZNDB, "restore of " + file + ": save",
                          "; nothing has changed");
}

/*
 * Has the database keep the present configuration. Without a time limit a restore goes on where that is
 * impossible, as on a full disk, but not while something else awaits confirmation.
 */
ExitCode keep_configuration(const ZndbOptions &options, bool *is_kept) {
    const ApplyOutcome outcome = control_apply(ApplyAction::kKeep, options.confirm_within);
    *is_kept = outcome.request.done();
    const bool is_refused = options.confirm_within > 0 || outcome.request.result == E_APPS_ERR_BUSY;
    if (*is_kept || is_refused || !outcome.request.delivered()) {
        return report_store_outcome(outcome.request, "restore of " + options.file, keep_hint(outcome));
    }
    const apps_err_e_type result = outcome.request.result;
    const std::string hint = keep_hint(outcome);
    return complain(ExitCode::kDone, "warning: the present configuration can't be kept: " +
                                         code_text(result) + (hint.empty() ? code_hint(result) : hint));
}

/* A restore that changed nothing leaves nothing to go back to. */
void forget_configuration(const ZndbOptions &options) {
    (void)control_apply(options.confirm_within > 0 ? ApplyAction::kRevert : ApplyAction::kConfirm);
}

/* After a failure that a time limit was given for, the configuration from before is back at once. */
ExitCode revert_restore(const ZndbOptions &options, apps_err_e_type ret) {
    const ApplyOutcome outcome = control_apply(ApplyAction::kRevert);
    return complain(ExitCode::kRefused,
                    "restore of " + options.file + " failed: " + code_text(ret) +
                        (outcome.request.done() ? "; the configuration from before is back"
                                                : "; the configuration from before comes back later: " +
                                                      code_text(outcome.request.result)));
}

ExitCode finish_restore(const ZndbOptions &options) {
    if (options.confirm_within == 0) {
        return ExitCode::kDone;
    }
    const ApplyOutcome outcome = control_apply(ApplyAction::kRestored);
    const ExitCode code =
        report_store_outcome(outcome.request, "restore of " + options.file, keep_hint(outcome));
    if (code == ExitCode::kDone) {
        (void)std::puts(restore_notice(options.confirm_within).c_str());
    }
    return code;
}

/* Creates a copy that only its owner can read. path: receives its name. Returns "" or the problem. */
std::string copy_privately(const std::string &from, std::string *path) {
    std::string name = std::string(paths::kTempFolder) + kCopyName;
    const UniqueFd copy(::mkostemp(name.data(), O_CLOEXEC));
    if (!copy) {
        return errno_text(std::string("can't make a copy in ") + paths::kTempFolder, errno);
    }
    *path = name;
    return copy_file(from, copy.get());
}

/* Warns of a line of the saved settings, if there is a reason for that. */
void warn_of_line(unsigned line, const char *reason, const char *consequence) {
    if (reason != nullptr) {
        (void)complain(ExitCode::kDone, "warning: " + std::string(store_paths(Store::kPlain)) + ":" +
                                            std::to_string(line) + ": " + reason +
                                            "; a restore of this backup " + consequence);
    }
}

/* Warns of lines of the saved settings that a restore would read differently, or at which it would stop. */
void warn_of_lost_lines() {
    const std::string path = store_paths(Store::kPlain);
    std::string text;
    if (!file_exists(path)) {
        return;
    }
    const std::string problem = read_text_file(path, &text);
    if (!problem.empty()) {
        (void)complain(ExitCode::kDone,
                       "warning: " + problem + "; a restore of this backup empties the settings");
        return;
    }
    const auto [difference, stop] = database_text::find_losses(text.data(), text.size());
    warn_of_line(difference.line, difference.reason, "reads it differently");
    warn_of_line(stop.line, stop.reason, "stops there");
}

/* Saves unless --no-save was given: a backup has the content of the files. */
ExitCode save_before_backup(const ZndbOptions &options) {
    return options.no_save ? ExitCode::kDone
                           : save_both(true, false, "; --no-save backs up what was saved before");
}

/* An existing file is only replaced by a complete backup. */
ExitCode back_up(const ZndbOptions &options) {
    ExitCode code = check_database("backup");
    if (code == ExitCode::kDone) {
        code = save_before_backup(options);
    }
    if (code != ExitCode::kDone) {
        return code;
    }
    const SignalHold hold;
    Part part(options.file);
    const apps_err_e_type ret = frwk_dbrm_backup(part.path().c_str());
    if (ret != E_APPS_ERR_SUCCESS) {
        return complain(ExitCode::kRefused,
                        "backup to " + options.file + " failed: " + code_text(ret) + backup_hint(ret));
    }
    if (!SignalHold::waiting() && !part.become_file()) {
        return complain(ExitCode::kUsage, errno_text("can't write " + options.file, errno));
    }
    warn_of_lost_lines();
    return ExitCode::kDone;
}

ExitCode replace_configuration(const ZndbOptions &options, const std::string &copy, bool is_kept) {
    const std::string product = product_name();
    const Settings before;
    if (product_is_a_setting()) {
        (void)complain(ExitCode::kDone, product_warning(product));
    }
    const apps_err_e_type ret = frwk_dbrm_restore(copy.c_str());
    if (ret == E_APPS_ERR_SUCCESS) {
        return finish_restore(options);
    }
    RestoreFacts facts = facts_after(options.file, copy, product, before);
    facts.lacks_space = ret == E_APPS_ERR_NOSPACE || ret == E_APPS_ERR_MALLOC;
    const bool changed_nothing = facts.was_refused && !facts.has_changed;
    if (is_kept && changed_nothing) {
        forget_configuration(options);
    } else if (is_kept && options.confirm_within > 0) {
        return revert_restore(options, ret);
    }
    return complain_about_restore(ret, facts);
}

/* The file is kept: the library consumes a copy. */
ExitCode restore(const ZndbOptions &options) {
    ExitCode code = check_database("restore");
    if (code != ExitCode::kDone) {
        return code;
    }
    const SignalHold hold;
    std::string path;
    const std::string problem = copy_privately(options.file, &path);
    const TemporaryFile copy(path);
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, problem);
    }
    code = save_before_restore(options.file);
    if (code != ExitCode::kDone) {
        return code;
    }

    bool is_kept = false;
    code = keep_configuration(options, &is_kept);
    return code == ExitCode::kDone ? replace_configuration(options, copy.path(), is_kept) : code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command backup = tool.add("backup", "Write the device's user configuration to an encrypted file",
                              "zndb_tool backup /tmp/router.bak\n", g_options.runs(back_up));
    backup.add("FILE", g_options.file, "The file; an existing one is replaced").required();
    backup.flag("--save", g_options.save, "Save first, which is the default");
    backup
        .flag("--no-save", g_options.no_save, "Don't save first: the backup contains the last saved settings")
        .excludes("--save");

    Command restored = tool.add("restore", "Replace the user configuration with a backup",
                                "zndb_tool restore /tmp/router.bak\n"
                                "zndb_tool restore --confirm-within 300 /tmp/router.bak\n",
                                g_options.runs(restore));
    restored.add("FILE", g_options.file, "The backup, of this device or one of its kind").required();
    g_options.add_confirm_within(restored, "Seconds until it is reverted unless confirmed");
}

const CommandGroup kCommands(3, declare);

}  // namespace
