/*
 * Describes what a failed restore has left, and how to recover. Pure.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct RestoreFacts {
    std::string file;          /* the backup */
    std::string product;       /* the product's name before; "" if unknown */
    bool knows_product = true; /* whether the device still has it */
    bool lacks_space = false;  /* the device has no space for the settings of the backup */
    bool was_refused = true;   /* no record of the backup was applied */
    bool is_known = true;      /* the settings could be read both before and afterwards */
    bool has_changed = false;  /* the settings differ from those before */
    size_t settings_before = 0;
    size_t settings_now = 0;
    size_t settings_on_disk = 0; /* number of settings when they were last saved */
};

/* Printed after the result of the call. */
std::string restore_hint(const RestoreFacts &facts);

/* Separate lines; none if nothing has changed. */
std::vector<std::string> restore_advice(const RestoreFacts &facts);

/* A warning before a restore that would discard the product's name with the other settings. */
std::string product_warning(const std::string &product);
