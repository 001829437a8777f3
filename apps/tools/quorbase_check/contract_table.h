/*
 * The functions that the product requires from a device's base library and modem client, as
 * base/platform_contract.txt lists them, each with its check.
 */
#pragma once

#include <string_view>
#include <vector>

#include "examination.h"

struct ContractRow {
    NamedCheck check;
    std::string_view origin; /* "given", "chosen" or "optional" */
    std::string_view header; /* of ours, which declares it */

    bool optional() const { return origin == "optional"; }
    bool of_the_modem() const { return header == "libmal.h"; }
};

/* The rows of the modem client, or those of the base library, in the order of the list. */
std::vector<ContractRow> contract_rows(bool of_the_modem);
