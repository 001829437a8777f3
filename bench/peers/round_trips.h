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
    double seconds = 0.2;    /* how long each client asks, once it is warm */
    unsigned long count = 0; /* or how often, behind a gate; 0 for by time */
    unsigned clients = 1;
};

/*
 * Runs them and prints one JSON object. With a count the process prints "warm" first, and waits for a line on
 * its standard input before and after the round trips, so that somebody else can count what they cost.
 */
void measure_round_trips(const RoundTrips &plan);
