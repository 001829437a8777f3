/*
 * Product data: stores the key=value lines of a file in the plain store. No state.
 */
#include "frwk_utils.h"
#include "frwk_utils/values/key_value_line.h"
#include "internal/frwk_log.h"
#include "zndb.h"

namespace {

constexpr KeyValueRules kProductDataRules = {log_name::kSpecifyPathDbAdapt, CommentPlace::kFirstByte,
                                             "line empty or '#', continue \n", nullptr, nullptr};

}  // namespace

int32_t frwk_specify_path_db_adapt(const char *path) {
    if (path == nullptr) {
        FRWK_WARN(__func__, "path null\n");
        return -1;
    }
    KeyValueFile file(kProductDataRules);
    if (!file.open(path)) {
        return -1;
    }

    KeyValue pair = {};
    while (file.next(&pair)) {
        FRWK_DEBUG(__func__, "set product id data %s=%s", pair.key, pair.value);
        (void)zndb_set(pair.key, pair.value);
    }
    return 0;
}
