/*
 * The files of the stores: the present ones, those before the last save, and those that were set aside.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

struct StoreGeneration {
    const char *store; /* "plain", "perm" or "factory" */
    const char *state; /* "present", "previous" or "damaged", which is one that was set aside */
    std::string file;
    std::optional<uint64_t> generation; /* none without a check line */
    bool is_sound;                      /* false if the check line is not that of the file */
};

/*
 * Finds the files of all stores, those that were set aside from the oldest on.
 * generations: receives them. Returns "" or the problem with a file that can't be read.
 */
std::string find_generations(std::vector<StoreGeneration> *generations);
