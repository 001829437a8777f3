/*
 * The subscribers of events, read from the subscription files as a publisher reads them.
 */
#pragma once

#include <string>
#include <vector>

/* An event and the lines of its file; or a folder that can't be read. */
struct EventListeners {
    std::string event; /* "" for a folder */
    std::string folder;
    bool used;                      /* the folder is the one in use */
    std::vector<std::string> names; /* in the order of subscription, of modules or not */
    std::string problem;            /* why it can't be read, or "" */
};

/* The names in the text of a subscription file. Pure. */
std::vector<std::string> subscriber_names(const std::string &text);

/* The events of both folders, each folder's in alphabetical order. */
std::vector<EventListeners> read_event_listeners();
