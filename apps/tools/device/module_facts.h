/*
 * What is known of a module without asking it: its row of the module table, whether it may run, and which
 * process it is.
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

struct ModuleFacts {
    int32_t id;
    std::string name;
    std::string alias;
    uint32_t flags;
    bool enabled;  /* no marker file switches it off */
    pid_t process; /* the one that holds its lock; 0 for none, and for modules without a lock */
};

/* The facts of a module that has a name. */
ModuleFacts module_facts(int32_t id);

/* Those of every module of the table, in the order of their ids. */
std::vector<ModuleFacts> all_module_facts();

/* Whether other modules can send to it. Tools can be played, but serve nobody by themselves. */
bool is_service(const ModuleFacts &facts);

/* "MONITORED", "ADMIN" ...; a bit without a name as its number, "0x1000". Pure. */
std::vector<std::string> flag_words(uint32_t flags);
