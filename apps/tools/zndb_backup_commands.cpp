#include "zndb_backup_commands.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "complaint.h"
#include "frwk_dbrm.h"
#include "frwk_module.h"
#include "held_file.h"
#include "open_file.h"
#include "request_outcome.h"
#include "text_file.h"
#include "user_signals.h"
#include "zndb.h"
#include "zndb_value_commands.h"

namespace {

/* The backup until it is whole. */
constexpr char kPartSuffix[] = ".part";

/* What a backup is bound to, and the room that its value takes. */
constexpr char kProductKey[] = "device_product_name";
constexpr size_t kProductSize = 64;

/* On tmpfs: what is deciphered never reaches a disk. */
constexpr char kCopyTemplate[] = "/tmp/m_tmp/zndb_tool.XXXXXX";

/* A backup in the folder of the file that it is to become; gone at the end, unless it became it. */
class Part {
  public:
    explicit Part(const std::string &file) : file_(file), path_(file + kPartSuffix) {}
    ~Part() { file_.remove(kPartSuffix); }
    Part(const Part &) = delete;
    Part &operator=(const Part &) = delete;

    const std::string &path() const { return path_; }

    /* Gives it the file's name. Returns false, with errno set, when that fails. */
    bool become_file() { return file_.replace_by(kPartSuffix); }

  private:
    const HeldFile file_;
    const std::string path_;
};

/* A file that is gone at the end. */
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

/* Without the database nothing else makes sense. */
ExitCode check_database(const std::string &what) {
    return report_outcome(send_request(E_APPS_MODULE_ZNDB, E_APPS_MSG_SYS_PROBE, ""), E_APPS_MODULE_ZNDB,
                          what);
}

/* A backup is bound to the product, so a device that doesn't know its own has none. */
const char *backup_hint(apps_err_e_type code) {
    char product[kProductSize] = "";
    const bool unknown = code == E_APPS_ERR_INTERNAL &&
                         zndb_get(kProductKey, product, sizeof(product)) == E_ZNDB_RET_NOT_FOUND;
    return unknown ? "; the device doesn't know its product: device_product_name is not set" : "";
}

/* A backup that is gone was begun to be applied: what is left of the configuration is uncertain. */
const char *restore_hint(const std::string &copy, apps_err_e_type code) {
    const bool refused = code == E_APPS_ERR_INTERNAL || code == E_APPS_ERR_FORMAT;
    return refused && ::access(copy.c_str(), F_OK) == 0
               ? "; it is damaged, or of another kind of device, or the database failed"
               : "; the configuration may be incomplete";
}

/* A copy that only its owner can read; its name goes to path. Returns "" or what is wrong. */
std::string copy_privately(const std::string &from, std::string *path) {
    std::string name = kCopyTemplate;
    const OpenFile copy(::mkostemp(name.data(), O_CLOEXEC));
    if (copy.fd() < 0) {
        return errno_text("can't make a copy in /tmp/m_tmp", errno);
    }
    *path = name;
    return copy_file(from, copy.fd());
}

}  // namespace

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
    return ExitCode::kDone;
}

ExitCode restore(const ZndbOptions &options) {
    const ExitCode code = check_database("restore");
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
    const apps_err_e_type ret = frwk_dbrm_restore(copy.path().c_str());
    if (ret != E_APPS_ERR_SUCCESS) {
        return complain(ExitCode::kRefused, "restore of " + options.file + " failed: " + code_text(ret) +
                                                restore_hint(copy.path(), ret));
    }
    return ExitCode::kDone;
}
