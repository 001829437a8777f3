/*
 * Modules: their ids, the rows of the module table, and the flags of a row.
 */
#ifndef QUOR_FRWK_MODULE_H
#define QUOR_FRWK_MODULE_H

#include <stdint.h>

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Module ids, which index the module table. A message can be sent to the ids between
 * E_APPS_MODULE_MIN and E_APPS_MODULE_MAX; each is named after its module. Three of them are defined with
 * the result codes: E_APPS_MODULE_OMA (22), E_APPS_MODULE_OMADM (23) and E_APPS_MODULE_GNSS (24).
 */
enum {
    E_APPS_MODULE_MIN = 0,
    E_APPS_MODULE_TOOL = 0, /* may start, but can't be found by name or receive messages */
    E_APPS_MODULE_MONITOR = 1,
    E_APPS_MODULE_ZNDB = 2,
    E_APPS_MODULE_ROUTER = 3,
    E_APPS_MODULE_MNET = 4,
    E_APPS_MODULE_WLAN = 5,
    E_APPS_MODULE_BLE = 6,
    E_APPS_MODULE_DIALUP = 7,
    E_APPS_MODULE_DMP = 8,
    E_APPS_MODULE_DEVICE = 9,
    E_APPS_MODULE_VOICE = 10,
    E_APPS_MODULE_SMS = 11,
    E_APPS_MODULE_DBM = 12,
    E_APPS_MODULE_STATISTICS = 13,
    E_APPS_MODULE_FGNTP = 14,
    E_APPS_MODULE_MULTIUPG = 15,
    E_APPS_MODULE_FOTA = 16,
    E_APPS_MODULE_WEBSERVER = 17,
    E_APPS_MODULE_TR069 = 18,
    E_APPS_MODULE_ZNAPP = 19,
    E_APPS_MODULE_LCD = 20,
    E_APPS_MODULE_ATFWD_DAEMON = 21,
    E_APPS_MODULE_MINISSDPD = 25,
    E_APPS_MODULE_MINIUPNPC = 26,
    E_APPS_MODULE_CARDMATCH = 27,
    E_APPS_MODULE_ETHBN = 28,
    E_APPS_MODULE_TOOLKIT = 29,
    E_APPS_MODULE_ATMAP = 30,
    E_APPS_MODULE_ESIM = 31,
    E_APPS_MODULE_HILINK = 32,
    E_APPS_MODULE_UDPSRV = 33,
    E_APPS_MODULE_RC = 34,
    E_APPS_MODULE_BANDSTEER = 35,
    E_APPS_MODULE_NOTIFYMGR = 36,
    E_APPS_MODULE_SERIAL_BRIDGE = 37,
    E_APPS_MODULE_QMI_SHUTDOWN_MODEM = 38,
    E_APPS_MODULE_START_THIRD_APP = 39, /* also the first slot for modules that are not built in */
    E_APPS_MODULE_AT_CMD_TASK = 47,
    E_APPS_MODULE_ZNDB_TOOL = 48,
    E_APPS_MODULE_APPTEST = 49,
    E_APPS_MODULE_TOUCH_TEST = 50,
    E_APPS_MODULE_MONITOR_TOOL = 51,
    E_APPS_MODULE_LOGTOOL = 52,
    E_APPS_MODULE_MAX = 53
};

/* Rows of the module table. The last row has no id. */
#define FRWK_MODULE_ROWS 54

/* Slots for modules that the configuration file defines and the table does not. */
#define FRWK_MODULE_SPARE_FIRST 39
#define FRWK_MODULE_SPARE_COUNT 8

/* Flag bits of a row. The ten named ones are the keywords of the module configuration file. */
#define FRWK_FLAG_DAEMON 0x0001u    /* single instance; serves messages from its start */
#define FRWK_FLAG_MONITORED 0x0002u /* the same, and the monitor watches it; receives broadcasts */
#define FRWK_FLAG_RUN 0x0004u       /* named in the start-up list */
#define FRWK_FLAG_BLOCK 0x0008u     /* for the device's other programs */
#define FRWK_FLAG_MPSS 0x0010u      /* needs the modem processor */
#define FRWK_FLAG_ADMIN 0x0020u     /* may enable and disable other modules */
#define FRWK_FLAG_POWEROFF 0x0040u  /* for the device's other programs */
#define FRWK_FLAG_PRESTART 0x0080u  /* for the device's other programs */
#define FRWK_FLAG_EXTERNAL 0x0100u  /* for the device's other programs */
#define FRWK_FLAG_PSEUDO 0x0200u    /* for the device's other programs */

/* Memory settings of a module, passed to os_mem_init at start-up; all 0 = no limits. */
typedef struct frwk_module_memory {
    uint32_t warn_at;    /* bytes; one warning when the live bytes first exceed it */
    uint32_t refuse_at;  /* bytes; 0 = no limit */
    uint8_t pool;        /* 1 = designed for a pool */
    uint32_t pool_block; /* bytes */
    uint32_t pool_total; /* bytes */
} frwk_module_memory;

/* One row of the module table. */
typedef struct frwk_module_info {
    const char *name;  /* lower case; null in an empty slot */
    const char *alias; /* display name; null in an empty slot */
    uint32_t flag;     /* FRWK_FLAG_* and bits without a name */
    int32_t delay;     /* milliseconds to wait at the end of start-up, 0 = none */
    uint32_t facility; /* of the system log: 1 to 20, 0 = default */
    frwk_module_memory memory;
    const char *cmd; /* extra arguments of the module's program; null = none */
} frwk_module_info;

/*
 * The module table, indexed by module id. Each process has its own copy; start-up applies the
 * module configuration file and the start-up list to it.
 */
extern frwk_module_info g_modules_info[FRWK_MODULE_ROWS];

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
