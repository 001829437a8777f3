/*
 * The trace mask of the modem service: one line of words, built from the modules that have a file in
 * the trace folder. No other state; one thread of the device at a time should write it.
 */
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "internal/guarded_folder.h"
#include "internal/planted.h"
#include "internal/shell.h"
#include "os_file.h"
#include "support/unique_fd.h"

namespace {

constexpr size_t kPathSize = 128;
constexpr size_t kMaskSize = 256;

/* The modem service reads it. */
constexpr mode_t kMaskFileMode = 0644;

/* The modules whose names are words of the mask. */
constexpr int32_t kNamedModules[] = {E_APPS_MODULE_ROUTER, E_APPS_MODULE_WLAN, E_APPS_MODULE_DEVICE,
                                     E_APPS_MODULE_VOICE, E_APPS_MODULE_SMS};

/* The modules whose word is "upgrade". */
constexpr int32_t kUpgradeModules[] = {E_APPS_MODULE_DMP, E_APPS_MODULE_MULTIUPG, E_APPS_MODULE_FOTA,
                                       E_APPS_MODULE_WEBSERVER, E_APPS_MODULE_TR069};

template <size_t kCount>
bool contains(const int32_t (&modules)[kCount], int32_t id) {
    return std::find(std::begin(modules), std::end(modules), id) != std::end(modules);
}

/* Builds the mask: words separated by commas. A word that does not fit is left out. */
class MaskText {
  public:
    void add(const char *word) {
        const size_t room = kMaskSize - length_;
        const int wanted = std::snprintf(text_ + length_, room, empty() ? "%s" : ",%s", word);
        if (wanted > 0 && static_cast<size_t>(wanted) < room) {
            length_ += static_cast<size_t>(wanted);
        }
    }

    bool empty() const { return length_ == 0; }
    const char *text() const { return text_; }
    size_t length() const { return length_; }

  private:
    char text_[kMaskSize] = "";
    size_t length_ = 0;
};

bool has_trace_file(const char *name) {
    char path[kPathSize];
    (void)std::snprintf(path, sizeof(path), "%s/%s", paths::kTraceFolder, name);
    return exists_as_ours(path);
}

bool is_traced(int32_t id) {
    const char *name = frwk_module_name(id);
    return name != nullptr && frwk_module_feature(id, FRWK_FLAG_RUN) != 0 &&
           frwk_module_disabled(id, nullptr, 0) == 0 && has_trace_file(name);
}

/* Adds the words of the traced modules; nothing if none is traced. */
void describe_traced_modules(MaskText *mask) {
    bool mpss = false;
    bool upgrade = false;
    for (int32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        if (!is_traced(id)) {
            continue;
        }
        if (contains(kNamedModules, id)) {
            mask->add(frwk_module_name(id));
        } else if (id == E_APPS_MODULE_FGNTP) {
            mask->add("ntp");
        }
        upgrade = upgrade || contains(kUpgradeModules, id);
        mpss = mpss || frwk_module_feature(id, FRWK_FLAG_MPSS) != 0;
    }
    if (mpss) {
        mask->add("mpss");
    }
    if (upgrade) {
        mask->add("upgrade");
    }
}

void remove_mask_file() {
    if (os_file_exist(paths::kTraceMask) != 0) {
        (void)::unlink(paths::kTraceMask);
        ::sync();
    }
}

void make_mask_folder() {
    (void)set_aside_planted(paths::kTraceMaskFolder, FolderOwner::kTrusted);
    if (os_file_exist(paths::kTraceMaskFolder) == 0) {
        (void)run_on_path("mkdir -p", paths::kTraceMaskFolder);
        close_folder(paths::kTraceMaskFolder, true);
    }
}

/* Returns null, or the name of the failed operation, with errno set. */
const char *write_mask_file(const MaskText &mask) {
    const int flags = O_RDWR | O_CREAT | O_TRUNC;
    const UniqueFile file =
        open_guarded_stream(paths::kTraceMask, flags, kMaskFileMode, Planted::kSetAside, "w+");
    if (!file) {
        return "create mals tracemask file error!";
    }
    const size_t written = std::fwrite(mask.text(), 1, mask.length(), file.get());
    if (written != mask.length() || std::fflush(file.get()) != 0) {
        return "write mals tracemask file error!";
    }
    return nullptr;
}

}  // namespace

int32_t frwk_set_mals_tracemask(void) {
    MaskText mask;
    if (exists_as_ours(paths::kTraceSwitch)) {
        describe_traced_modules(&mask);
    }
    if (mask.empty()) {
        remove_mask_file();
        return 1;
    }

    mask.add("lib");
    mask.add("base");
    make_mask_folder();
    const char *failure = write_mask_file(mask);
    if (failure != nullptr) {
        FRWK_WARN_ERRNO(__func__, failure);
        remove_mask_file();
        return 0;
    }
    ::sync();
    return 1;
}
