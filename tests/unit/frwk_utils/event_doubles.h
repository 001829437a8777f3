/*
 * Events that the code under test publishes: a program that links doubles_events records them, and no module
 * is told.
 */
#pragma once

#include <string>
#include <vector>

#include "apps_message.h"

struct PublishedEvent {
    std::string event;
    apps_message_id_e_type msgid;
    const void *data;
    uint32_t len;
};

/* What was published so far; a test clears it. */
std::vector<PublishedEvent> &published_events();
