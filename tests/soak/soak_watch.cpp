#include "soak_watch.h"

#include <unistd.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

#include "frwk_common.h"
#include "os_mem.h"
#include "soak_settings.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace soak {

namespace {

/* For messages that are still on their way when the modules pause. */
constexpr std::chrono::seconds kArrivalLimit{10};

constexpr int kLooks = 3;
constexpr useconds_t kLookMicroseconds = 1000;

bool is_current(const Board &board, uint32_t src, uint32_t dst) {
    const uint32_t generation = board.generation[dst];
    const Traffic &traffic = board.traffic[src][dst];
    return is_up(generation) && traffic.sent_to == generation && traffic.received_by == generation;
}

void check_pair(Board &board, uint32_t src, uint32_t dst) {
    const Traffic &traffic = board.traffic[src][dst];
    if (!is_current(board, src, dst)) {
        return;
    }
    if (traffic.received < traffic.acknowledged || traffic.received > traffic.begun) {
        complain(&board, "from module %u to %u: %llu begun, %llu acknowledged, %llu received", src, dst,
                 static_cast<unsigned long long>(traffic.begun),
                 static_cast<unsigned long long>(traffic.acknowledged),
                 static_cast<unsigned long long>(traffic.received));
    }
}

/* A publisher that was killed may have reached some listeners and not others. */
void check_notices(Board &board, uint32_t src, uint32_t listener) {
    const Count &received = board.notices[src][listener].received;
    const Module &publisher = board.modules[src];
    if (received < publisher.published || received > publisher.published_begun) {
        complain(&board, "listener %u got %llu of %llu notices of module %u", listener,
                 static_cast<unsigned long long>(received),
                 static_cast<unsigned long long>(publisher.published), src);
    }
}

/* Whether nothing that was acknowledged is still under way. */
bool all_arrived(const Board &board) {
    bool arrived = true;
    for (uint32_t src = 1; src < kModules; ++src) {
        for (uint32_t dst = 1; dst < kModules; ++dst) {
            const Traffic &traffic = board.traffic[src][dst];
            const bool notices = !is_listener(dst) || src == dst ||
                                 board.notices[src][dst].received >= board.modules[src].published;
            const bool messages = !is_current(board, src, dst) || traffic.received >= traffic.acknowledged;
            arrived = arrived && notices && messages;
        }
    }
    return arrived;
}

std::multiset<std::string> listed_names(const std::string &event) {
    std::istringstream lines(file_text("/m_data/usr/subscribe/" + event));
    std::multiset<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        names.insert(line);
    }
    return names;
}

void check_event(Board &board, uint32_t event) {
    std::multiset<std::string> names = listed_names(churn_event(event));
    std::multiset<std::string> expected = {frwk_module_name(kKeeper)};
    for (uint32_t module = 1; module < kModules; ++module) {
        const std::string name = frwk_module_name(static_cast<int32_t>(module));
        const Listed listed = board.modules[module].listed[event];
        if (listed == Listed::kYes || (listed == Listed::kUnknown && names.count(name) == 1)) {
            expected.insert(name);
        }
    }
    if (names != expected) {
        complain(&board, "event %u: %zu names are listed, %zu subscribed", event, names.size(),
                 expected.size());
    }
}

void check_setting(Board &board, uint32_t module, uint32_t key) {
    char value[ZNDB_VALUE_LEN] = "";
    const int ret = zndb_get(key_name(module, key).c_str(), value, sizeof(value));
    if (!is_possible(board, module, key, ret, value)) {
        complain(&board, "module %u: key %u is lost: %d '%.40s'", module, key, ret, value);
    }
}

/* The number after a name in the kernel's summary of a process's memory; 0 if it is missing. */
uint64_t kib_of(const std::string &text, const std::string &name) {
    const size_t at = text.find("\n" + name + ":");
    return at == std::string::npos ? 0 : std::strtoull(text.c_str() + at + name.size() + 2, nullptr, 10);
}

/* A connection may be about to be closed: the fewest of a few looks count. */
size_t settled_descriptors(const Fleet &fleet, uint32_t module) {
    size_t fewest = fleet.descriptors(module);
    for (int look = 0; look < kLooks; ++look) {
        ::usleep(kLookMicroseconds);
        fewest = std::min(fewest, fleet.descriptors(module));
    }
    return fewest;
}

/* No process has nothing of any of the three: what could not be read is no process that did not grow. */
Footprint footprint_of(Board &board, const Fleet &fleet, uint32_t module) {
    const std::string text = file_text("/proc/" + std::to_string(fleet.pid(module)) + "/smaps_rollup");
    const Footprint footprint = {kib_of(text, "Rss"), kib_of(text, "Anonymous"),
                                 settled_descriptors(fleet, module)};
    if (footprint.resident_kib == 0 || footprint.written_kib == 0 || footprint.descriptors == 0) {
        complain(&board, "module %u: its memory or its descriptors can't be read", module);
    }
    return footprint;
}

void check_footprint(Board &board, const Footprint &early, const Footprint &late, uint32_t module) {
    if (late.written_kib > early.written_kib + kGrowthKib ||
        late.resident_kib > early.resident_kib + kGrowthKib || late.descriptors != early.descriptors) {
        complain(&board,
                 "module %u grew: %llu to %llu KiB resident, %llu to %llu written, %zu to %zu descriptors",
                 module, static_cast<unsigned long long>(early.resident_kib),
                 static_cast<unsigned long long>(late.resident_kib),
                 static_cast<unsigned long long>(early.written_kib),
                 static_cast<unsigned long long>(late.written_kib), early.descriptors, late.descriptors);
    }
}

bool is_long_lived(uint32_t module) {
    return module != kDatabase && !is_mortal(module);
}

}  // namespace

uint32_t live_blocks(Board &board, uint32_t module) {
    os_mem_usage_t usage = {};
    int32_t result = 0;
    const apps_err_e_type ret =
        frwk_ipc_msg_get(module, E_APPS_MSG_SYS_MEMORY, &usage, sizeof(usage), 10, &result);
    if (ret != E_APPS_ERR_SUCCESS || result != 0) {
        complain(&board, "module %u does not tell its blocks: %d, %d", module, ret, result);
    }
    return usage.live_blocks;
}

void check_messages(Board &board) {
    (void)wait_until([&] { return all_arrived(board); }, kArrivalLimit);
    for (uint32_t src = 1; src < kModules; ++src) {
        for (uint32_t dst = 1; dst < kModules; ++dst) {
            check_pair(board, src, dst);
            if (is_listener(dst) && src != dst) {
                check_notices(board, src, dst);
            }
        }
    }
}

void check_subscriptions(Board &board) {
    for (uint32_t event = 0; event < kEvents; ++event) {
        check_event(board, event);
    }
}

void check_settings(Board &board) {
    for (uint32_t module = 1; module < kModules; ++module) {
        for (uint32_t key = 0; module != kDatabase && key < kKeys; ++key) {
            check_setting(board, module, key);
        }
    }
}

Sample take_sample(Board &board, const Fleet &fleet) {
    Sample sample = {};
    sample.kills = fleet.kills() + fleet.database_kills();
    for (uint32_t module = 1; module < kModules; ++module) {
        sample.footprints[module] = footprint_of(board, fleet, module);
    }
    return sample;
}

void check_footprints(Board &board, const std::vector<Sample> &samples) {
    for (uint32_t module = 1; module < kModules && samples.size() > 2; ++module) {
        if (is_long_lived(module)) {
            check_footprint(board, samples[1].footprints[module], samples.back().footprints[module], module);
        }
    }
    if (samples.size() > kDatabaseTenth) {
        check_footprint(board, samples[kDatabaseTenth].footprints[kDatabase],
                        samples.back().footprints[kDatabase], kDatabase);
    }
}

}  // namespace soak
