/*
 * Measures messages without an answer: a burst to one server, or events to several.
 */
#pragma once

#include <string>

#include "peers/peer.h"

struct OneWay {
    std::string peer;
    std::string counters; /* the file that the servers count in */
    size_t size = 64;
    unsigned long count = 0; /* messages, or events */
    unsigned servers = 1;    /* each receives every event */
    bool publish = false;    /* by the library's publish, in place of a send to each in turn */
};

/* The count of a server in the file of counters. Servers count at once, so each has a line of its own. */
std::atomic<uint64_t> *open_counter(const std::string &path, unsigned index);

/* Sends everything, waits until it has arrived or no more arrives, and prints one JSON object. */
void measure_one_way(const OneWay &plan);
