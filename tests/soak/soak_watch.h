/*
 * The invariants of a soak, checked when its modules pause: nothing that was acknowledged is lost,
 * subscriptions are as they were left, settings are the last acknowledged ones, and no process grows. For one
 * thread.
 */
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "soak_fleet.h"

namespace soak {

/* A process as the kernel accounts it. */
struct Footprint {
    uint64_t resident_kib;
    uint64_t written_kib; /* of these, heap and stacks: what the process wrote itself */
    size_t descriptors;
};

/* One tenth of a run. */
struct Sample {
    uint64_t steps;
    double seconds;
    uint64_t kills;
    std::array<Footprint, kModules> footprints;
};

/* From here on the database is not killed any more, and its settings are filled once; counted from 0. */
constexpr size_t kDatabaseTenth = 6;

/* How far a module may grow between the second tenth and the last, and the database from its tenth on. */
constexpr uint64_t kGrowthKib = 64;

/* Live blocks of the tracked memory of a paused module; reports an error if it doesn't answer. */
uint32_t live_blocks(Board &board, uint32_t module);

/* Every message that was acknowledged to a module that still lives was received; waits for those under way.
 */
void check_messages(Board &board);

/* The files of the events name those that subscribed and no others. */
void check_subscriptions(Board &board);

/* The database has every setting as it was acknowledged. */
void check_settings(Board &board);

/* Complains of a process that can't be looked at. */
Sample take_sample(Board &board, const Fleet &fleet);

/* No long-lived process has grown from the second sample to the last, nor the database in its last life. */
void check_footprints(Board &board, const std::vector<Sample> &samples);

/* Of each kind of traffic there was at least about half of what so many messages bring. */
void check_counts(Board &board, uint64_t messages);

void print_samples(const std::vector<Sample> &samples);
void print_totals(const Board &board, const Fleet &fleet, double seconds);

}  // namespace soak
