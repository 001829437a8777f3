/*
 * The device's own settings: debug mode, languages, trace mask, marker files.
 */
#include <filesystem>

#include "faults/faulty_device.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace faults {

namespace {

using SettingsFaults = FaultyDevice;

constexpr char kScript[] = "/m_data/usr/debug_mode.sh";
constexpr char kScriptRan[] = "/m_data/usr/debug_mode.ran";
constexpr char kMarker[] = "/m_data/usr/device_debug_mode";
constexpr char kMask[] = "/m_data/usr/mask/mal_service";
constexpr char kDisabled[] = "/m_data/factor/apps_disable/sms";

void put_script() {
    put_text(kScript, std::string("#!/bin/sh\necho $1 > ") + kScriptRan + "\n");
    std::filesystem::permissions(kScript, std::filesystem::perms::owner_all);
}

void forget_debug_mode() {
    for (const char *path : {kScriptRan, kMarker}) {
        std::filesystem::remove(path);
    }
    zndb_set("device_debug_mode", "false");
}

bool is_started() {
    return file_text(kScriptRan) == "start\n" && stored("device_debug_mode") == "true";
}

std::vector<Scenario> debug_mode() {
    return {
        Scenario("frwk_debug_mode_init")
            .prepared([] {
                forget_debug_mode();
                put_text(kMarker, "");
            })
            .called([] { return frwk_debug_mode_init(); })
            .verified(is_started)
            .reporting(Reports::kLog),
        Scenario("frwk_debug_mode_set")
            .prepared(forget_debug_mode)
            .called([] { return frwk_debug_mode_set(1, "rom"); })
            .verified([] { return is_started() && std::filesystem::exists(kMarker); })
            .failing({0})
            .except(kShellCalls, Waived::kEffectIfLogged,
                    "the mode is on; its marker or its script is missing"),
    };
}

std::vector<Scenario> languages() {
    const auto language = [](const char *name, const char *key, int32_t (*change)(const char *)) {
        return Scenario(name)
            .prepared([key] { zndb_set(key, "de"); })
            .called([change] { return change("en"); })
            .verified([key] { return stored(key) == "en"; })
            .failing({0});
    };
    return {
        language("frwk_language_change", "webs_language", frwk_language_change),
        language("frwk_user_agreement_language_change", "webs_usragree_language",
                 frwk_user_agreement_language_change),
    };
}

std::vector<Scenario> files() {
    return {
        Scenario("frwk_set_mals_tracemask")
            .prepared([] { std::filesystem::remove_all("/m_data/usr/mask"); })
            .called([] { return frwk_set_mals_tracemask(); })
            .verified([] { return file_text(kMask) == "sms,mpss,lib,base"; })
            .failing({0}),
        Scenario("frwk_module_disabled")
            .called([] { return frwk_module_disabled(E_APPS_MODULE_SMS, nullptr, 0); })
            .failing({0}),
        Scenario("frwk_check_enum_value")
            .called([] { return frwk_check_enum_value("auto,manual", "auto"); })
            .failing({0}),
    };
}

}  // namespace

TEST_F(SettingsFaults, DebugMode) {
    put_script();
    start_database();
    run_scenarios(debug_mode());
}

TEST_F(SettingsFaults, Languages) {
    put_text("/m_data/usr/db/user_data.txt",
             "webs_language_support=en,de\nwebs_usragree_lang_support=en,de\n");
    start_database();
    run_scenarios(languages());
}

TEST_F(SettingsFaults, Files) {
    for (const char *path : {"/m_data/usr/trace/mal_service", "/m_data/usr/trace/sms"}) {
        put_text(path, "");
    }
    frwk_module_set(E_APPS_MODULE_SMS, FRWK_FLAG_RUN);
    std::filesystem::remove(kDisabled);
    std::vector<Scenario> scenarios = files();
    run_scenarios({scenarios[0]});
    put_text(kDisabled, "");
    run_scenarios({scenarios[1], scenarios[2]});
}

}  // namespace faults
