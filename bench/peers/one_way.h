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
    bool publish = false;    /* use the library's publish instead of a send to each server */
};

/* A server's counter in the file of counters, each in a separate cache line. */
std::atomic<uint64_t> *open_counter(const std::string &path, unsigned index);

/* Sends everything, waits until it has arrived or no more arrives, and prints one JSON object. */
void measure_one_way(const OneWay &plan);
