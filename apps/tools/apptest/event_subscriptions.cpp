#include "apptest/event_subscriptions.h"

#include <algorithm>

#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/access_words.h"
#include "device/event_key.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "frwk_common.h"

namespace {

/* The folder in use. */
std::string subscription_folder() {
    const bool first = file_exists(paths::kSubscribeFolder) || !file_exists(paths::kSubscribeFolderEx);
    return first ? paths::kSubscribeFolder : paths::kSubscribeFolderEx;
}

/* The cause of a failed subscription, which the library's two codes don't name. */
std::string subscription_hint(const std::string &event) {
    const std::string folder = subscription_folder();
    if (event.empty() || event.find('/') != std::string::npos) {
        return "; the event's name is not a valid file name";
    }
    if (!file_exists(folder)) {
        return "; the folder " + folder + " is missing";
    }
    if (!file_exists(paths::kLockFolder)) {
        return std::string("; the folder ") + paths::kLockFolder + " is missing";
    }
    const std::string lock = write_problem(paths::kSubscribeLock);
    const std::string list = write_problem(folder + "/" + event);
    return lock.empty() && list.empty() ? "" : "; " + (lock.empty() ? list : lock);
}

/* A module other than the tool's own may have subscribed itself; its subscription is to stay. */
bool is_listed_itself(const std::string &event) {
    const std::string own = frwk_module_name(-1);
    const std::vector<std::string> names = listeners_of(event);
    return own != frwk_module_name(E_APPS_MODULE_APPTEST) &&
           std::find(names.begin(), names.end(), own) != names.end();
}

ExitCode unsubscribe(const std::string &event) {
    const apps_err_e_type code = frwk_ipc_msg_unsub(event.c_str());
    return code == E_APPS_ERR_SUCCESS
               ? ExitCode::kDone
               : complain(ExitCode::kRefused, "unsubscribe '" + event + "' failed: " + code_text(code));
}

}  // namespace

std::string obstacle_to_subscribing(uint32_t module) {
    const std::string own = module_text(module);
    const std::vector<std::string> names = module_names();
    const auto other = std::find_if(names.begin(), names.end(), [&](const std::string &name) {
        return name != own && name.find(own) != std::string::npos;
    });
    return other == names.end() ? ""
                                : "can't subscribe as " + own + ": unsubscribing would remove " + *other +
                                      ", whose name contains it";
}

ExitCode EventSubscriptions::begin(const std::vector<std::string> &events) {
    ExitCode code = ExitCode::kDone;
    for (size_t i = 0; i < events.size() && code == ExitCode::kDone; ++i) {
        code = begin_one(events[i]);
    }
    return code;
}

ExitCode EventSubscriptions::begin_one(const std::string &event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool stays = is_listed_itself(event);
    const apps_err_e_type code = frwk_ipc_msg_sub(event.c_str());
    if (code != E_APPS_ERR_SUCCESS) {
        return complain(ExitCode::kRefused,
                        "subscribe '" + event + "' failed: " + code_text(code) + subscription_hint(event));
    }
    if (!stays) {
        begun_.push_back(event);
    }
    return ExitCode::kDone;
}

ExitCode EventSubscriptions::end(ExitCode code) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const std::string &event : begun_) {
        const ExitCode ended = unsubscribe(event);
        code = code == ExitCode::kDone ? ended : code;
    }
    begun_.clear();
    return code;
}
