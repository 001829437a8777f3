/*
 * Fuzzes connection profiles.
 */
#include "frwk_utils.h"
#include "support/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const ExactText text(FuzzInput(data, size).text());
    const bool is_empty = *text.get() == '\0';
    const auto profile = std::make_unique<frwk_profile_t>();

    const apps_err_e_type ret = frwk_parse_profile_str(text.get(), profile.get());
    FUZZ_CHECK(!is_empty || ret == E_APPS_ERR_FAILURE);
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_FAILURE || ret == E_APPS_ERR_OUTOFBUF);
    FUZZ_CHECK(ends(profile->profilename) && ends(profile->username) && ends(profile->password) &&
               ends(profile->apn) && ends(profile->readonly));
    FUZZ_CHECK(profile->authmode >= 0 && profile->authmode <= 3);
    FUZZ_CHECK(profile->iptype >= (ret == E_APPS_ERR_SUCCESS ? 1 : 0) && profile->iptype <= 3);
    return 0;
}
