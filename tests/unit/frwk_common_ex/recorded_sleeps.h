/*
 * A fixture that keeps the pauses between attempts instead of sleeping through them.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "doubles/base_doubles.h"

/* Installed and removed with the fixture, so that members of derived fixtures may replace more functions. */
class RecordedSleeps : public testing::Test {
  protected:
    RecordedSleeps() {
        doubles::restore_all();
        doubles::base::os_sleep.stand_in([this](uint32_t seconds) { pauses_ms_.push_back(seconds * 1000); });
        doubles::base::os_msleep.stand_in([this](uint32_t ms) { pauses_ms_.push_back(ms); });
    }

    ~RecordedSleeps() override { doubles::restore_all(); }

    static std::vector<uint32_t> half_seconds(size_t count) { return std::vector<uint32_t>(count, 500); }

    std::vector<uint32_t> pauses_ms_;
};
