/*
 * The command line options of zndb_tool.
 */
#pragma once

#include <string>
#include <vector>

#include "zndb_tool/store_request.h"

struct ZndbOptions {
    std::vector<std::string> keys;
    std::string key;
    std::vector<std::string> values;
    std::string file = "-";
    bool perm = false;
    bool defaults = false;
    std::string type = "string";
    bool secret = false;
    bool list = false;
    size_t item = 0; /* from 1; 0 for none */
    bool json = false;
    bool save = false;
    bool no_save = false; /* only for backup, which saves by default */
    bool ram = false;
    bool yes = false; /* don't ask */

    Store store() const { return perm ? Store::kPerm : defaults ? Store::kDefault : Store::kPlain; }
};
