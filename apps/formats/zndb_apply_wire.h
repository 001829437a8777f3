/*
 * The apply control request of the configuration database, message 2102: changes that are staged in any
 * number, made as one, and reverted unless they are confirmed in time. docs/zndb.md describes it.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "apps_message.h"
#include "formats/zndb_batch_wire.h"

/* Not one of the named message identifiers: only the tools and the service know it. */
inline constexpr apps_message_id_e_type kZndbApplyMessage = 2102;

/* What a request is for. */
enum class ApplyAction : uint32_t {
    kStatus,   /* only the answer */
    kBegin,    /* a stage, without changes; the answer has its number */
    kAdd,      /* adds a page of changes and expectations to the stage */
    kCommit,   /* makes them; seconds until they are reverted, 0: they stay */
    kAbandon,  /* drops the stage */
    kConfirm,  /* what was applied stays; saves */
    kRevert,   /* brings back what was there before */
    kKeep,     /* keeps the configuration before a restore; seconds as kCommit, 0: until somebody reverts */
    kRestored, /* the restore has succeeded: the seconds begin */
    kUndo      /* drops everything that is not saved */
};

/* The head of a body; for kAdd the items of the page follow, as in a batch. */
struct zndb_apply_request {
    uint32_t action;  /* an ApplyAction */
    uint32_t number;  /* of the stage; kAdd, kCommit and kAbandon only, otherwise 0 */
    uint32_t seconds; /* kCommit, kKeep and kRestored only, otherwise 0 */
    uint32_t unused;  /* 0 */
};

static_assert(sizeof(zndb_apply_request) == 16);
static_assert(offsetof(zndb_apply_request, seconds) == 8);

/* The longest time until a revert: a day. */
inline constexpr uint32_t kConfirmSecondsMax = 86400;

/* A request that was read; the texts are borrowed. */
struct ApplyRequest {
    ApplyAction action;
    uint32_t number;
    uint32_t seconds;
    const void *page; /* kAdd only: the bytes of the items, and how many there are */
    size_t page_size;
    size_t page_count;
};

/*
 * Reads a body.
 * request: receives it, its page points into body; undefined on failure.
 * Returns false for a malformed body.
 */
bool read_apply_body(const void *body, int32_t size, ApplyRequest &request);

/* Whether something awaits confirmation. */
enum class ApplyState : uint32_t {
    kNone,
    kWaiting,   /* it is reverted unless it is confirmed in time */
    kKept,      /* a restore without a time limit: a revert is possible */
    kReverting, /* the revert has failed so far, and is tried again */
    kRestoring  /* a restore is being carried out */
};

/* How the last one ended, since the service has started. */
enum class ApplyEnd : uint32_t {
    kNone,
    kConfirmed,
    kTimedOut,        /* reverted, as nobody confirmed it */
    kReverted,        /* on request */
    kRevertedAtStart, /* the service was restarted meanwhile */
    kReplaced         /* kept without a time limit, and a later one took its place */
};

/* The answer, for a sender that has room for it. */
struct ApplyAnswer {
    BatchAnswer batch; /* kCommit: the verdict and the item that decided it, otherwise 0 and kNoItem */
    uint32_t number;   /* kBegin: of the new stage, otherwise 0 */
    uint32_t state;    /* an ApplyState, after the request */
    uint32_t seconds;  /* kWaiting: until the revert, rounded up */
    uint32_t changes;  /* of what awaits confirmation; kUndo: dropped ones */
    uint32_t last_end; /* an ApplyEnd */
    uint32_t unused;   /* 0 */
};

static_assert(sizeof(ApplyAnswer) == 32);
static_assert(offsetof(ApplyAnswer, number) == 8);
static_assert(offsetof(ApplyAnswer, last_end) == 24);
