/*
 * Changes and expectations that a client sends in pages, until it commits them as one batch. There is one
 * stage at a time; one whose client has not been heard of for a while, or that takes too long, gives way to
 * the next one. One thread at a time.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "apps_err.h"
#include "formats/zndb_apply_wire.h"
#include "formats/zndb_item.h"

/* The most items of a stage, and their bytes: those of a full store of the longest values. */
inline constexpr size_t kStagedItemsMax = size_t{2} * kStoreKeysMax;
inline constexpr size_t kStagedBytesMax = kStoreKeysMax * kItemSizeMax;

class ApplyStage {
  public:
    using Clock = std::chrono::steady_clock;

    /* patience: how long a stage stays without a request about it; it stays three times as long at most. */
    explicit ApplyStage(Clock::duration patience) : patience_(patience) {}

    /* Begins an empty stage. number: receives its number. Returns 0, or E_APPS_ERR_BUSY, which is logged. */
    apps_err_e_type begin(uint32_t &number);

    /*
     * Adds a page. Returns 0, E_APPS_ERR_ZNDB_NO_FOUND for the number of no stage, or E_APPS_ERR_ZNDB_MEM if
     * there would be too many; then the stage is dropped. Logs failures.
     */
    apps_err_e_type add(const ApplyRequest &request);

    /*
     * Takes the stage. items: receives its items; their texts point into bytes, which receives the stage's.
     * Returns 0 or E_APPS_ERR_ZNDB_NO_FOUND, which is logged.
     */
    apps_err_e_type take(uint32_t number, std::string &bytes, std::vector<ZndbItem> &items);

    /* Drops a stage. Returns 0 or E_APPS_ERR_ZNDB_NO_FOUND, which is logged. */
    apps_err_e_type abandon(uint32_t number);

  private:
    bool is_open() const;
    apps_err_e_type check(uint32_t number) const;
    void drop();

    const Clock::duration patience_;
    uint32_t last_number_ = 0;
    uint32_t number_ = 0; /* 0: there is no stage */
    Clock::time_point begun_;
    Clock::time_point used_;
    std::string bytes_;
    size_t count_ = 0;
};
