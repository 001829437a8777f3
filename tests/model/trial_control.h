/*
 * What a run tells the service on trial, in a file that both map: which of its steps that change a file fail,
 * and where it ends.
 */
#pragma once

#include <atomic>
#include <cstdint>

namespace model {

inline constexpr char kTrialFolder[] = "/tmp/model";
inline constexpr char kControlFile[] = "/tmp/model/control";

/* Where a file lies; bits, so that several places can refuse writes. */
enum Place : uint32_t {
    kElsewhere = 0,
    kPlainDisk = 1,
    kPermDisk = 2,
    kFactoryDisk = 4,
    kJournals = 8
};

/* All zero: nothing happens. */
struct TrialControl {
    std::atomic<uint32_t> dies_in;   /* steps; the last one is not carried out, or half of a write */
    std::atomic<uint32_t> fails_in;  /* steps; the last one fails once */
    std::atomic<int32_t> error;      /* of the step that fails */
    std::atomic<uint32_t> refusing;  /* places that refuse writes */
    std::atomic<int32_t> refusal;    /* the error there: ENOSPC or EROFS */
    std::atomic<uint32_t> disturbed; /* a step has failed */
    std::atomic<uint32_t> died;      /* the service has ended itself */
};

}  // namespace model
