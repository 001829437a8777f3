/*
 * What a restore that failed has left, in words, and how to go back. Pure.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct RestoreFacts {
    std::string file;          /* the backup */
    std::string product;       /* the product's name before; "" when it was not known */
    bool knows_product = true; /* whether the device knows it still */
    bool was_refused = true;   /* no record of the backup was applied */
    bool is_known = true;      /* the settings could be read, before and now */
    bool has_changed = false;  /* they are others than before */
    size_t settings_before = 0;
    size_t settings_now = 0;
    size_t settings_on_disk = 0; /* as they were last saved */
};

/* Follows the result of the call. */
std::string restore_hint(const RestoreFacts &facts);

/* Lines of their own; none when nothing has changed. */
std::vector<std::string> restore_advice(const RestoreFacts &facts);

/* Said before a restore when the product's name would be gone with the settings. */
std::string product_warning(const std::string &product);
