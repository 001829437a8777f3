#include "zndb_backup_commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "complaint.h"
#include "frwk_dbrm.h"
#include "frwk_module.h"
#include "request_outcome.h"
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

/* A file that is gone at the end, unless it was handed over. */
class TemporaryFile {
  public:
    explicit TemporaryFile(std::string path) : path_(std::move(path)) {}
    ~TemporaryFile() {
        if (!path_.empty()) {
            (void)::unlink(path_.c_str());
        }
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }

    /* Gives it its name. Returns false, with errno set, when that fails. */
    bool become(const std::string &name) {
        if (std::rename(path_.c_str(), name.c_str()) != 0) {
            return false;
        }
        path_.clear();
        return true;
    }

  private:
    std::string path_;
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
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
        return errno_text("can't make a copy in /tmp/m_tmp", errno);
    }
    ::close(fd);
    *path = name;
    std::error_code error;
    std::filesystem::copy_file(from, name, std::filesystem::copy_options::overwrite_existing, error);
    (void)::chmod(name.c_str(), S_IRUSR | S_IWUSR);
    return error ? "can't read " + from + ": " + error.message() : "";
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
    TemporaryFile part(options.file + kPartSuffix);
    const apps_err_e_type ret = frwk_dbrm_backup(part.path().c_str());
    if (ret != E_APPS_ERR_SUCCESS) {
        return complain(ExitCode::kRefused,
                        "backup to " + options.file + " failed: " + code_text(ret) + backup_hint(ret));
    }
    if (!SignalHold::waiting() && !part.become(options.file)) {
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
