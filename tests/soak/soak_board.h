/*
 * What the processes of a soak share: who is alive, how far everybody is, and what was sent, acknowledged and
 * received. It lies in a file of the device tree that all of them map, so what a process wrote outlives it.
 *
 * A module's generation is even while it serves and odd while it is down; each start is two more. A message
 * carries the generation of its receiver that the sender saw: only what one generation was sent can be missed
 * in it. Each word has one writer at a time.
 */
#pragma once

#include <atomic>
#include <cstdint>

#include "soak_plan.h"

namespace soak {

using Word = std::atomic<uint32_t>;
using Count = std::atomic<uint64_t>;

/* Messages from one module to another, since the receiver was started. */
struct Traffic {
    Word sent_to;       /* the generation that the next two count for */
    Count begun;        /* what was about to be sent */
    Count acknowledged; /* what the library said was delivered, while the receiver lived on */
    Word received_by;   /* the generation that the next two count for */
    Count received;
    Count last; /* number of the last one, which rises */
};

/* Notices of the steady event from one publisher to one listener. */
struct Notices {
    Count received;
    Count last;
};

/* One key in the database: which steps' values it may have. */
struct Setting {
    Count acknowledged; /* 0 = never set */
    Count doubtful;     /* begun, and not known to be done; 0 = none */
};

enum class Listed : uint32_t {
    kNo,
    kYes,
    kUnknown
};

struct Module {
    Count steps;   /* done */
    Count excused; /* requests that failed since their receiver was down or killed */
    Count doubts;  /* sets whose result only a later get showed */
    Count syncs, asyncs, publications, changes, gets, sets, saves;
    Count churn_notices;
    Count published_begun;
    Count published;
    Word idle;
    Word serving; /* the generation that is ready */
    std::atomic<Listed> listed[kEvents];
    Setting settings[kKeys];
};

struct Board {
    uint64_t seed;
    uint64_t quota; /* steps of each module */
    Word paused;
    Word generation[kModules];
    Module modules[kModules];
    Traffic traffic[kModules][kModules]; /* sender, receiver */
    Notices notices[kModules][kModules]; /* publisher, listener */
    Word complaints;                     /* how many there were; the first ones are kept */
    char complaint[16][256];
};

/* Makes the board, all zeros, or opens it. Ends the process when that can't be done. */
Board *make_board(const char *path);
Board *open_board(const char *path);

/* Notes that something does not hold, as printf does. */
__attribute__((format(printf, 2, 3))) void complain(Board *board, const char *format, ...);

bool is_up(uint32_t generation);

}  // namespace soak
