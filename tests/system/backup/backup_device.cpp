/*
 * A module that backs up and restores on a test's command, in a process that a test may kill, or on a device
 * of its own.
 *
 *     backup-device
 *
 * It starts as a tool, waits until the database serves, prints "started", and takes one command a line from
 * its standard input:
 *
 *     backup PATH     frwk_dbrm_backup; replies with the result
 *     restore PATH    frwk_dbrm_restore; replies with the result
 *     get KEY         replies with the value, or "ret N"
 *     digest PATH     replies with the digest of a file, or an empty line
 */
#include <iostream>
#include <sstream>
#include <string>

#include "frwk_common.h"
#include "frwk_dbrm.h"
#include "md5.h"
#include "zndb.h"

namespace {

std::string value_of(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    const int ret = zndb_get(key.c_str(), value, sizeof(value));
    return ret == 0 ? value : "ret " + std::to_string(ret);
}

std::string digest_of(const std::string &path) {
    char text[MD5_TEXT_SIZE] = "";
    (void)md5_encrypt_file_str(path.c_str(), text);
    return text;
}

std::string carry_out(const std::string &command, const std::string &argument) {
    if (command == "backup") {
        return std::to_string(frwk_dbrm_backup(argument.c_str()));
    }
    if (command == "restore") {
        return std::to_string(frwk_dbrm_restore(argument.c_str()));
    }
    if (command == "get") {
        return value_of(argument);
    }
    return command == "digest" ? digest_of(argument) : "unknown command";
}

}  // namespace

int main() {
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    while (frwk_get_module_status(E_APPS_MODULE_ZNDB) != 1) {
        frwk_sleep(10);
    }
    std::cout << "started" << std::endl;

    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command;
        std::string argument;
        words >> command >> argument;
        std::cout << carry_out(command, argument) << std::endl;
    }
}
