/*
 * Measures round trips: of one client, or of many at once on one server.
 */
#pragma once

#include <string>

#include "peers/peer.h"

struct RoundTrips {
    std::string peer;
    size_t request = 16;
    uint32_t answer = 64;
    double seconds = 0.2;    /* duration of each client, after the warm-up */
    unsigned long count = 0; /* number of round trips instead, after a gate; 0: use seconds */
    unsigned clients = 1;
};

/*
 * Runs them and prints one JSON object. With a count the process prints "warm" first, and waits for a line on
 * its standard input before and after the round trips, so that another process can count their cost.
 */
void measure_round_trips(const RoundTrips &plan);
