/*
 * Loads a store from its file, or from the file before the last save where that one is damaged. One thread at
 * a time.
 */
#pragma once

#include <cstdint>
#include <string>

#include "store_file.h"

/* What a store was loaded from. */
struct LoadedStore {
    int error; /* 0, or an errno value when no file could be read to its end */
    Lines lines;
    uint64_t generation;   /* of the newest file, also of one that is damaged; 0 if there is none */
    std::string set_aside; /* the name that a damaged file has got; "" without one */
    bool is_file_damaged;  /* the file in its place still is: the next save replaces it */
};

/*
 * Loads a store. A file whose check line is wrong, that is cut, or that can't be read is set aside under a
 * dated name; the previous file takes its place. A warning says so. Without a usable previous file the store
 * gets what can be read.
 */
LoadedStore load_newest(const std::string &path, Store &store);
