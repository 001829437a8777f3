#include "database_steps.h"

#include <string>

#include "formats/entry_line.h"
#include "os_log.h"

namespace {

/* In the order of StoreId. */
constexpr const char *kNames[] = {"plain", "perm", "factory"};

apps_err_e_type refuse_text(std::string_view key, const char *problem) {
    OS_LOG(OS_LOG_WARNING, "'%s' refused: %s", std::string(key).c_str(), problem);
    return E_APPS_ERR_ZNDB_ARG;
}

}  // namespace

apps_err_e_type check_texts(std::string_view key, std::string_view value) {
    if (const char *problem = key_problem(key)) {
        return refuse_text(key, problem);
    }
    if (const char *problem = value_problem(value)) {
        return refuse_text(key, problem);
    }
    return E_APPS_ERR_SUCCESS;
}

const char *name_of(StoreId id) {
    return kNames[static_cast<size_t>(id)];
}
