/*
 * A device with a SIM, operator files and a database, all of the test's own, and one timeline of what the
 * adaptation does with them. No time passes.
 */
#pragma once

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"
#include "unit/frwk_utils/fake_modem.h"

using Events = std::vector<std::string>;

inline const std::string kSubnetFolder = "/m_webui/usr/db/subnet";
inline const std::string kDefaultFile = kSubnetFolder + "/custom_data.txt";

/* The timeline of the test that runs; frwk_system_reboot is noted there too. */
inline Events &timeline() {
    static Events events;
    return events;
}

class SubnetTest : public ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        std::filesystem::remove_all(kSubnetFolder);
        timeline().clear();
        fake_modem() = {};
        fake_modem().seen = note;
        database().seen = [](const DatabaseRequest &request) { note_request(request); };
        doubles::base::os_sleep.stand_in([](uint32_t seconds) { note_sleep(seconds * 1000); });
        doubles::base::os_msleep.stand_in(note_sleep);
        become(E_APPS_MODULE_ROUTER);
    }
    void TearDown() override {
        reset_process_state(E_APPS_MODULE_TOOL, nullptr);
        ConfigTest::TearDown();
    }

    static void become(int32_t module) { reset_process_state(module, nullptr); }

    /* Writes an operator file. name: its path in the operators' folder. */
    static void put_file(const std::string &name, const std::string &content) {
        const std::filesystem::path path = kSubnetFolder + "/" + name;
        std::filesystem::create_directories(path.parent_path());
        write_file(path, content);
    }

    static std::string path_of(const std::string &name) { return kSubnetFolder + "/" + name; }

    /* What the perm store holds; "(none)" for a missing key. */
    static std::string stored_perm(const std::string &key) {
        const auto found = fake_database().perm.find(key);
        return found != fake_database().perm.end() ? found->second : "(none)";
    }

    /* The pauses of the timeline, in milliseconds. */
    static std::vector<int> pauses() {
        std::vector<int> found;
        for (const std::string &event : timeline()) {
            if (event.rfind("sleep ", 0) == 0) {
                found.push_back(std::stoi(event.substr(6)));
            }
        }
        return found;
    }

    static size_t count_events(const std::string &event) {
        return static_cast<size_t>(std::count(timeline().begin(), timeline().end(), event));
    }

    static void note(const std::string &event) { timeline().push_back(event); }

  private:
    static void note_sleep(uint32_t ms) { note("sleep " + std::to_string(ms)); }

    /* A buffer that the database is asked to fill is undefined until it has done so. */
    static void note_request(const DatabaseRequest &request) {
        if (request.call == "zndb_get" || request.call == "zndb_get_perm") {
            note(request.call.substr(5) + " " + request.key + " " + std::to_string(request.size));
            std::memset(const_cast<void *>(request.buffer), 'U', request.size);
        } else if (request.call == "zndb_save") {
            note("save");
        } else if (request.call == "zndb_del_perm") {
            note("del_perm " + request.key);
        } else {
            const bool perm = request.call == "zndb_set_perm_data";
            note((perm ? "set_perm " : "set ") + request.key + "=" + request.value);
        }
    }
};
