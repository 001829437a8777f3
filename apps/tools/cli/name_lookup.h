/*
 * Looks up modules, messages and result codes from the command line, by name or by number. The error message
 * for an unknown name suggests the nearest one.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps_err.h"
#include "apps_message.h"

/* A number, or the problem with the word. */
struct Named {
    int64_t number;
    std::string problem; /* "" on success */
};

/* A module that can be sent to: its name or alias, in upper or lower case, or its id. */
Named find_module(const std::string &word);

/* A message: its name, with or without its E_APPS_MSG_, in upper or lower case, or its number. */
Named find_message(const std::string &word);

/* The complete name of the message that has this name, with or without its E_APPS_MSG_; "" for none. */
std::string complete_message_name(const std::string &word);

/* A result code: its name, with or without its E_APPS_ERR_, in upper or lower case, or its number. */
Named find_code(const std::string &word);

std::vector<std::string> module_names();

/* The names that may complete the beginning of one, in the notation in which it was begun: with or without
 * E_APPS_MSG_, in upper or lower case. */
std::vector<std::string> message_names_like(const std::string &begun);

/* The complete names that a shell's pattern matches, with or without E_APPS_MSG_, in upper or lower case. */
std::vector<std::string> message_names_matching(const std::string &pattern);

/* "wlan", or the number of a module that has no name. */
std::string module_text(uint32_t module);

/* "E_APPS_MSG_WLAN_...", or "unknown" for a number that no message has. */
std::string message_name(apps_message_id_e_type msgid);

/* "E_APPS_ERR_...", or "unknown" for a number that no result has. */
std::string code_name(apps_err_e_type code);

/* "5004 E_APPS_MSG_WLAN_..." */
std::string message_text(apps_message_id_e_type msgid);
