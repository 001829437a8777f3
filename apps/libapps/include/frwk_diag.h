/*
 * Network diagnostics: runs ping, traceroute, nslookup or iperf3 for a user and gives the tool's own words.
 *
 * A context serves one run: frwk_diag_init, frwk_diag_exec, frwk_diag_free. The calls may be made from any
 * thread, those on one context one at a time.
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

/* Sizes of the texts, their NUL included. */
#define FRWK_DIAG_PATH_SIZE 128
#define FRWK_DIAG_IFNAME_SIZE 64
#define FRWK_DIAG_HOST_SIZE 256

/* What is run. */
typedef enum frwk_diag_type_e {
    FRWK_DIAG_TYPE_PING = 0,       /* ping */
    FRWK_DIAG_TYPE_TRACEROUTE = 1, /* traceroute */
    FRWK_DIAG_TYPE_NSLOOKUP = 2,   /* nslookup */
    FRWK_DIAG_TYPE_IPERF = 3       /* iperf3 */
} frwk_diag_type_e;

/*
 * What is asked of the tool. A number of 0 leaves the tool's default. Hosts and interfaces are names or
 * addresses that frwk_domain_check passes, that do not begin with '-' and that end with a NUL.
 */
typedef struct frwk_diag_ping_req {
    int32_t count;                      /* requests to send */
    int32_t size;                       /* bytes of payload */
    uint32_t deadline;                  /* seconds after which ping ends; with no count either, it may not */
    char ifname[FRWK_DIAG_IFNAME_SIZE]; /* interface to send from; empty = any */
    char target[FRWK_DIAG_HOST_SIZE];   /* host */
} frwk_diag_ping_req;

typedef struct frwk_diag_traceroute_req {
    int32_t queries;                  /* probes for each hop */
    int32_t max_hops;                 /* hops to look at */
    int32_t wait;                     /* seconds to wait for each answer */
    char target[FRWK_DIAG_HOST_SIZE]; /* host */
} frwk_diag_traceroute_req;

typedef struct frwk_diag_nslookup_req {
    char target[FRWK_DIAG_HOST_SIZE]; /* name or address to resolve */
    char server[FRWK_DIAG_HOST_SIZE]; /* name server; empty = the system's */
} frwk_diag_nslookup_req;

typedef struct frwk_diag_iperf_req {
    char server[FRWK_DIAG_HOST_SIZE]; /* host that runs an iperf3 server */
    int32_t port;                     /* of the server */
    uint8_t udp;                      /* not 0 = UDP, else TCP */
    uint8_t reserved[3];              /* not read */
    int32_t time;                     /* seconds to transmit */
} frwk_diag_iperf_req;

/* A request; the type that goes with it says which member counts. */
typedef union frwk_diag_req {
    frwk_diag_ping_req ping;
    frwk_diag_traceroute_req traceroute;
    frwk_diag_nslookup_req nslookup;
    frwk_diag_iperf_req iperf;
} frwk_diag_req;

/* One run. */
typedef struct frwk_diag_ctx {
    FILE *fp;                       /* the tool's output, open for reading; null when there is none */
    char path[FRWK_DIAG_PATH_SIZE]; /* file of the output; empty when there is none */
    zn_bf_t buf;                    /* the output as a text; its length counts NULs that the tool printed */
} frwk_diag_ctx;

/*
 * Makes a context ready for its run.
 *
 * ctx: overwritten.
 * Returns 1; or 0 when ctx is null or its buffer can't be had.
 */
uint32_t frwk_diag_init(frwk_diag_ctx *ctx);

/*
 * Runs a tool and collects all that it prints, to standard output and standard error. Blocks until the tool
 * ends by itself; processes that it leaves behind are killed then, where the base library can find them. A
 * tool that prints more than 16 MiB is stopped there, which the last line of its output says; one whose
 * caller is killed is killed too. Both are the base library's doing.
 *
 * type: one of frwk_diag_type_e. req: its member of that type is read.
 * ctx: from frwk_diag_init. A second run without frwk_diag_free between loses the first one's open file and
 * leaves it on disk.
 * Returns E_APPS_ERR_SUCCESS however the tool itself fared: ctx->buf.data is then its output, ended by a NUL,
 * until frwk_diag_free. Otherwise E_APPS_ERR_PARAM for a null argument, another type, or a host or interface
 * that is refused, and nothing is run; E_APPS_ERR_IO when the output can't be read; E_APPS_ERR_MALLOC when
 * there is no memory for it (it is above OS_MEM_BLOCK_MAX, for one).
 */
apps_err_e_type frwk_diag_exec(int32_t type, const frwk_diag_req *req, frwk_diag_ctx *ctx);

/*
 * Closes and deletes the output file and gives the text back, after a run that succeeded or failed.
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
