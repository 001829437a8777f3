/*
 * Converts the client's results to result codes of the framework.
 */
#include "zndb.h"

#include <cstddef>
#include <iterator>

namespace {

constexpr apps_err_e_type kErrorOf[] = {
    E_APPS_ERR_SUCCESS,  /* E_ZNDB_RET_SUCCESS */
    E_APPS_ERR_FAILURE,  /* E_ZNDB_RET_FAILURE */
    E_APPS_ERR_BUSY,     /* E_ZNDB_RET_IPC */
    E_APPS_ERR_NOTFOUND, /* E_ZNDB_RET_NOT_FOUND */
    E_APPS_ERR_OUTOFBUF, /* E_ZNDB_RET_KEY_LEN */
    E_APPS_ERR_OUTOFBUF, /* E_ZNDB_RET_VALUE_LEN */
};

static_assert(std::size(kErrorOf) == E_ZNDB_RET_VALUE_LEN + 1);

}  // namespace

apps_err_e_type frwk_zndb_error_convert(int code) {
    const auto index = static_cast<size_t>(static_cast<unsigned>(code));
    return index < std::size(kErrorOf) ? kErrorOf[index] : E_APPS_ERR_FAILURE;
}
