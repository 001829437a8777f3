/*
 * The facts about a module that are known without a request: its row of the module table, whether it is
 * enabled, and its process.
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
    bool enabled;  /* no marker file disables it */
    pid_t process; /* the holder of its lock; 0 for none, and for modules without a lock */
};

/* The facts of a module that has a name. */
ModuleFacts module_facts(int32_t id);

/* Those of every module of the table, in the order of their ids. */
std::vector<ModuleFacts> all_module_facts();

/* Whether the module serves messages. Tools don't, unless they are played. */
bool is_service(const ModuleFacts &facts);

/* The keywords of flags: "MONITORED", "ADMIN" ...; a bit without a keyword as a number, "0x1000". Pure. */
std::vector<std::string> flag_words(uint32_t flags);
