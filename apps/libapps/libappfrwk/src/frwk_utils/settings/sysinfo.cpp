/*
 * Uptime and memory: the only probe that needs the configuration database.
 */
#include <sys/sysinfo.h>

#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "os_time.h"

namespace {

constexpr char kUptimeOffsetKey[] = "device_uptime_offset";
constexpr int32_t kNotRead = -1;

/* Reads the setting unless it was read before. An offset below 1 means none, so -1 can mean "not read". */
int32_t uptime_offset() {
    const int32_t known = g_s_uptime_offset;
    if (known != kNotRead) {
        return known;
    }

    int32_t offset = 0;
    if (frwk_zndb_get_key_value(kUptimeOffsetKey, FRWK_DATA_TYPE_INT, &offset, sizeof(offset)) !=
        E_APPS_ERR_SUCCESS) {
        return kNotRead;
    }
    if (offset < 0) {
        offset = 0;
    }
    g_s_uptime_offset = offset;
    return offset;
}

/* Converts to the record's 32-bit members before multiplying, so that every host computes the same low 32
 * bits. */
void fill(const struct sysinfo &kernel, frwk_sysinfo *info) {
    const auto bytes = [unit = kernel.mem_unit](unsigned long count) {
        return static_cast<uint32_t>(count) * unit;
    };
    info->total_ram = bytes(kernel.totalram);
    info->free_ram = bytes(kernel.freeram);
    info->shared_ram = bytes(kernel.sharedram);
    info->buffer_ram = bytes(kernel.bufferram);
    info->total_swap = bytes(kernel.totalswap);
    info->free_swap = bytes(kernel.freeswap);
    info->used_ram = bytes(kernel.totalram - kernel.freeram);
    info->mem_unit = kernel.mem_unit;
    info->procs = kernel.procs;
}

}  // namespace

uint32_t frwk_uptime(void) {
    const uint32_t raw = os_uptime_sec();
    const int32_t offset = uptime_offset();
    if (offset < 1 || static_cast<uint32_t>(offset) >= raw) {
        return raw;
    }
    return raw - static_cast<uint32_t>(offset);
}

uint32_t frwk_get_sysinfo(frwk_sysinfo *info) {
    const uint32_t uptime = frwk_uptime();
    if (info == nullptr) {
        return uptime;
    }

    struct sysinfo kernel = {};
    if (::sysinfo(&kernel) != 0) {
        FRWK_WARN_ERRNO(__func__, "sysinfo error!");
        return uptime;
    }
    fill(kernel, info);
    info->uptime = uptime;
    return uptime;
}
