/*
 * Where calls of json_get_string arrive, and how they go on.
 */
#include "unit/frwk_utils/json_doubles.h"

extern "C" const char *__real_json_get_string(const json_item *);

namespace doubles::json {

Double<const char *(const json_item *)> json_get_string(__real_json_get_string);

}  // namespace doubles::json

extern "C" const char *__wrap_json_get_string(const json_item *a) {
    return doubles::json::json_get_string(a);
}
