/*
 * A double of the base library's reading of JSON strings. Link doubles_json.
 */
#pragma once

#include "doubles/double.h"
#include "json.h"

namespace doubles::json {

extern Double<const char *(const json_item *)> json_get_string;

}  // namespace doubles::json
