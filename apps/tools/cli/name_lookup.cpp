#include "cli/name_lookup.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "cli/spelling_hint.h"
#include "cli/text_match.h"
#include "frwk_common.h"

namespace {

constexpr char kMessagePrefix[] = "E_APPS_MSG_";
constexpr char kCodePrefix[] = "E_APPS_ERR_";

/* A whole number within 32 bits, decimal or 0x. */
bool read_number(const std::string &word, int64_t *number) {
    char *end = nullptr;
    errno = 0;
    const long long value = std::strtoll(word.c_str(), &end, 0);
    if (word.empty() || *end != '\0' || errno != 0 || value < INT32_MIN || value > INT32_MAX) {
        return false;
    }
    *number = value;
    return true;
}

bool same_name(const std::string &left, const char *right) {
    return ::strcasecmp(left.c_str(), right) == 0;
}

/* Finds the row with the name "word", or prefix and word. Returns null if no row has that name. */
const zn_enum_item *row_named(const zn_enum_item *table, size_t count, const std::string &prefix,
                              const std::string &word) {
    for (size_t i = 0; i < count; ++i) {
        if (same_name(word, table[i].name) || same_name(prefix + word, table[i].name)) {
            return &table[i];
        }
    }
    return nullptr;
}

std::string without_prefix(const std::string &name, const std::string &prefix) {
    const bool has_prefix = ::strncasecmp(name.c_str(), prefix.c_str(), prefix.size()) == 0;
    return has_prefix ? name.substr(prefix.size()) : name;
}

std::vector<std::string> names_of(const zn_enum_item *table, size_t count, const std::string &prefix) {
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i) {
        names.push_back(without_prefix(table[i].name, prefix));
    }
    return names;
}

Named find_row(const std::string &kind, const std::string &word, const std::string &prefix,
               const zn_enum_item *table, size_t count) {
    Named found = {0, ""};
    if (read_number(word, &found.number)) {
        return found;
    }
    if (const zn_enum_item *row = row_named(table, count, prefix, word)) {
        return {row->value, ""};
    }
    const std::string hint = did_you_mean(without_prefix(word, prefix), names_of(table, count, prefix));
    return {0, "unknown " + kind + " '" + word + "'" + hint};
}

bool is_module(int64_t id) {
    return id > E_APPS_MODULE_MIN && id < E_APPS_MODULE_MAX &&
           frwk_module_name(static_cast<int32_t>(id)) != nullptr;
}

/* A device's base library may return null for a number without a name. */
std::string name_or_unknown(const char *name) {
    return name != nullptr ? name : "unknown";
}

}  // namespace

Named find_module(const std::string &word) {
    int64_t number = 0;
    if (read_number(word, &number)) {
        return is_module(number) ? Named{number, ""} : Named{0, "there is no module " + word};
    }
    for (int32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        if (is_module(id) &&
            (same_name(word, frwk_module_name(id)) || same_name(word, frwk_module_alias(id)))) {
            return {id, ""};
        }
    }
    return {0, unknown_name("module", word, module_names())};
}

Named find_message(const std::string &word) {
    return find_row("message", word, kMessagePrefix, g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT);
}

std::string complete_message_name(const std::string &word) {
    const zn_enum_item *row =
        row_named(g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT, kMessagePrefix, word);
    return row != nullptr ? row->name : "";
}

Named find_code(const std::string &word) {
    return find_row("result code", word, kCodePrefix, g_enum_apps_err_e_type, APPS_ERR_CODE_COUNT);
}

std::vector<std::string> module_names() {
    std::vector<std::string> names;
    for (int32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        if (is_module(id)) {
            names.emplace_back(frwk_module_name(id));
        }
    }
    return names;
}

std::vector<std::string> message_names_matching(const std::string &pattern) {
    std::vector<std::string> matching;
    for (const std::string &name : names_of(g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT, "")) {
        if (matches_pattern(name, pattern) || matches_pattern(name, kMessagePrefix + pattern)) {
            matching.push_back(name);
        }
    }
    return matching;
}

std::vector<std::string> message_names_like(const std::string &begun) {
    const bool complete = starts_like(kMessagePrefix, begun) || starts_like(begun, kMessagePrefix);
    const bool lower = std::any_of(begun.begin(), begun.end(),
                                   [](unsigned char letter) { return std::islower(letter) != 0; });
    std::vector<std::string> names =
        names_of(g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT, complete ? "" : kMessagePrefix);
    for (std::string &name : names) {
        std::transform(name.begin(), name.end(), name.begin(), [&](unsigned char letter) {
            return static_cast<char>(lower ? std::tolower(letter) : letter);
        });
    }
    return names;
}

std::string module_text(uint32_t module) {
    const bool known = module < FRWK_MODULE_ROWS && is_module(static_cast<int64_t>(module));
    return known ? frwk_module_name(static_cast<int32_t>(module)) : std::to_string(module);
}

std::string message_name(apps_message_id_e_type msgid) {
    return name_or_unknown(zn_enum_to_str_apps_message_id_e_type(msgid));
}

std::string code_name(apps_err_e_type code) {
    return name_or_unknown(zn_enum_to_str_apps_err_e_type(code));
}

std::string message_text(apps_message_id_e_type msgid) {
    return std::to_string(msgid) + " " + message_name(msgid);
}
