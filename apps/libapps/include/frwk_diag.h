/*
 * Network diagnostics: runs ping, traceroute, nslookup or iperf3 and returns the tool's output.
 *
 * A context is for one run: frwk_diag_init, frwk_diag_exec, frwk_diag_free. Any thread may call them, but
 * only one at a time for the same context.
 */
#ifndef QUOR_FRWK_DIAG_H
#define QUOR_FRWK_DIAG_H

#include <stdint.h>
#include <stdio.h>

#include "apps_err.h"
#include "byte_buffer.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Sizes of the texts in bytes, including the NUL. */
#define FRWK_DIAG_PATH_SIZE 128
#define FRWK_DIAG_IFNAME_SIZE 64
#define FRWK_DIAG_HOST_SIZE 256

/* The tools. */
typedef enum frwk_diag_type_e {
    FRWK_DIAG_TYPE_PING = 0,       /* ping */
    FRWK_DIAG_TYPE_TRACEROUTE = 1, /* traceroute */
    FRWK_DIAG_TYPE_NSLOOKUP = 2,   /* nslookup */
    FRWK_DIAG_TYPE_IPERF = 3       /* iperf3 */
} frwk_diag_type_e;

/*
 * Requests. A number of 0 means the tool's default. Hosts and interfaces are NUL-terminated names or
 * addresses that frwk_domain_check accepts and that do not begin with '-'.
 */
typedef struct frwk_diag_ping_req {
    int32_t count;                      /* requests to send */
    int32_t size;                       /* bytes of payload */
    uint32_t deadline;                  /* seconds until ping ends; without it and count ping may never end */
    char ifname[FRWK_DIAG_IFNAME_SIZE]; /* interface to send from; empty = any */
    char target[FRWK_DIAG_HOST_SIZE];   /* host */
} frwk_diag_ping_req;

typedef struct frwk_diag_traceroute_req {
    int32_t queries;                  /* probes for each hop */
    int32_t max_hops;                 /* maximum number of hops */
    int32_t wait;                     /* seconds to wait for each answer */
    char target[FRWK_DIAG_HOST_SIZE]; /* host */
} frwk_diag_traceroute_req;

typedef struct frwk_diag_nslookup_req {
    char target[FRWK_DIAG_HOST_SIZE]; /* name or address to resolve */
    char server[FRWK_DIAG_HOST_SIZE]; /* name server; empty = the system's */
} frwk_diag_nslookup_req;

typedef struct frwk_diag_iperf_req {
    char server[FRWK_DIAG_HOST_SIZE]; /* host that runs an iperf3 server */
    int32_t port;                     /* the server's port */
    uint8_t udp;                      /* not 0 = UDP, else TCP */
    uint8_t reserved[3];              /* not read */
    int32_t time;                     /* seconds to transmit */
} frwk_diag_iperf_req;

/* A request; the type passed with it selects the member. */
typedef union frwk_diag_req {
    frwk_diag_ping_req ping;
    frwk_diag_traceroute_req traceroute;
    frwk_diag_nslookup_req nslookup;
    frwk_diag_iperf_req iperf;
} frwk_diag_req;

/* One run. */
typedef struct frwk_diag_ctx {
    FILE *fp;                       /* the tool's output, open for reading, or null */
    char path[FRWK_DIAG_PATH_SIZE]; /* path of the output file, or empty */
    zn_bf_t buf;                    /* the output as a text; its length includes NULs that the tool printed */
} frwk_diag_ctx;

/*
 * Initialises a context.
 *
 * ctx: overwritten.
 * Returns 1; or 0 if ctx is null or there is no memory for its buffer.
 */
uint32_t frwk_diag_init(frwk_diag_ctx *ctx);

/*
 * Runs a tool and collects its standard output and standard error. Blocks until the tool ends by itself. The
 * base library then kills processes that the tool left running, if it has that function. It also stops a tool
 * that prints more than 16 MiB, which the last line of the output says, and kills the tool if the caller is
 * killed.
 *
 * type: one of frwk_diag_type_e. req: its member of that type is read.
 * ctx: from frwk_diag_init. A second run without frwk_diag_free in between leaks the first run's open file
 * and leaves it on disk.
 * Returns E_APPS_ERR_SUCCESS if the tool was run, whatever its exit status: ctx->buf.data is then its
 * NUL-terminated output, until frwk_diag_free. Otherwise E_APPS_ERR_PARAM for a null argument, an unknown
 * type, or a host or interface that is refused, and nothing is run; E_APPS_ERR_IO if the output can't be
 * read; E_APPS_ERR_MALLOC if there is no memory for it, or it is larger than OS_MEM_BLOCK_MAX.
 */
apps_err_e_type frwk_diag_exec(int32_t type, const frwk_diag_req *req, frwk_diag_ctx *ctx);

/*
 * Closes and deletes the output file and frees the text, after a run that succeeded or failed.
 *
 * ctx: initialised; may be freed more than once, and used for another run after frwk_diag_init. Null does
 * nothing.
 */
void frwk_diag_free(frwk_diag_ctx *ctx);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
