/*
 * secret-module KEY SECRET
 *
 * A module that does with a secret what modules do, well and badly, and prints the result of each call, one
 * a line: "WHAT RESULT". The secret stays stored under the key.
 */
#include <cstdio>
#include <cstring>
#include <string>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "zndb.h"

namespace {

void report(const char *what, int result) {
    std::printf("%s %d\n", what, result);
}

apps_err_e_type read_secret(const char *key, int32_t size) {
    char out[256];
    return frwk_zndb_get_key_value_decrypt(key, FRWK_DATA_TYPE_CIPHER, out, size);
}

/* Reads the secret from a stored text with one character altered, and puts the text back. */
apps_err_e_type read_altered(const char *key) {
    char stored[ZNDB_VALUE_LEN] = "";
    (void)zndb_get(key, stored, sizeof(stored));
    std::string altered = stored;
    altered[altered.size() / 2] = altered[altered.size() / 2] == 'A' ? 'B' : 'A';
    (void)zndb_set(key, altered.c_str());
    const apps_err_e_type ret = read_secret(key, 256);
    (void)zndb_set(key, stored);
    return ret;
}

apps_err_e_type read_as_number(const char *key) {
    int32_t number = 0;
    return frwk_zndb_get_key_value_decrypt(key, FRWK_DATA_TYPE_BOOL, &number, sizeof(number));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        return 2;
    }
    const char *key = argv[1];
    const char *secret = argv[2];
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);

    report("set", frwk_zndb_set_key_value_encrypt(key, FRWK_DATA_TYPE_CIPHER, secret,
                                                  static_cast<uint32_t>(std::strlen(secret))));
    report("get", read_secret(key, 256));
    report("get-short", read_secret(key, 3));
    report("get-altered", read_altered(key));
    report("get-as-bool", read_as_number(key));
    report("get-again", read_secret(key, 256));
    report("save", zndb_save());
    return 0;
}
