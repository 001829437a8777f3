/*
 * The commands of zndb_tool that read, change and save single settings.
 */
#include <algorithm>
#include <functional>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/input_line.h"
#include "cli/spelling_hint.h"
#include "cli/wait_notice.h"
#include "frwk_module.h"
#include "frwk_utils.h"
#include "output/json_output.h"
#include "zndb.h"
#include "zndb_tool/entry_lines.h"
#include "zndb_tool/entry_output.h"
#include "zndb_tool/store_content.h"
#include "zndb_tool/store_list.h"
#include "zndb_tool/store_saving.h"
#include "zndb_tool/typed_word.h"
#include "zndb_tool/value_list.h"
#include "zndb_tool/zndb_options.h"

namespace {

/* The words of a setting: one, or any number with --list. */
using Words = std::vector<std::string>;

std::string quoted(const std::string &what, const std::string &key) {
    return what + " '" + key + "'";
}

/* "; did you mean ...?" for a missing key; the typed calls return another code for it. */
std::string key_hint(Store store, const std::string &key, apps_err_e_type result) {
    Entries entries;
    const bool missing = result == E_APPS_ERR_ZNDB_NO_FOUND || result == E_APPS_ERR_NOTFOUND;
    if (!missing || !read_store(store, &entries).empty()) {
        return "";
    }
    Words keys;
    for (const auto &entry : entries) {
        keys.push_back(entry.first);
    }
    return did_you_mean(key, keys);
}

ExitCode check_key(const std::string &key) {
    const std::string problem = unsendable_key(key);
    return problem.empty() ? ExitCode::kDone : complain(ExitCode::kUsage, "'" + key + "': " + problem);
}

/* The typed calls translate the database's result; a failed request is E_APPS_ERR_BUSY. */
RequestOutcome outcome_of(apps_err_e_type ret) {
    if (ret == E_APPS_ERR_BUSY) {
        return {E_APPS_ERR_MODULE, E_APPS_ERR_SUCCESS};
    }
    return {E_APPS_ERR_SUCCESS, ret};
}

// ---- get ----

ExitCode read_stored(const ZndbOptions &options, const std::string &key, std::string *stored) {
    const ExitCode checked = check_key(key);
    if (checked != ExitCode::kDone) {
        return checked;
    }
    RequestOutcome outcome = {};
    if (options.secret) {
        const WaitNotice notice(E_APPS_MODULE_ZNDB);
        char bytes[ZNDB_VALUE_LEN] = {};
        outcome = outcome_of(
            frwk_zndb_get_key_value_decrypt(key.c_str(), FRWK_DATA_TYPE_CIPHER, bytes, sizeof(bytes) - 1));
        *stored = bytes;
    } else {
        outcome = get_from_store(options.store(), key, stored);
    }
    return report_store_outcome(outcome, quoted("get", key), key_hint(options.store(), key, outcome.result));
}

/* Keeps only the item that --item selects. */
ExitCode pick_item(const ZndbOptions &options, const std::string &key, Words *items) {
    if (options.item > items->size()) {
        return complain(ExitCode::kRefused, "'" + key + "' has " + std::to_string(items->size()) + " items");
    }
    *items = {(*items)[options.item - 1]};
    return ExitCode::kDone;
}

/* The name of the store that answers a get of the key, which was found. */
ExitCode find_origin(const ZndbOptions &options, const std::string &key, std::string *origin) {
    if (options.perm) {
        *origin = "perm";
        return ExitCode::kDone;
    }
    for (const StoreId id : {StoreId::kPlain, StoreId::kFactory}) {
        if (id == StoreId::kPlain && options.defaults) {
            continue;
        }
        bool has_key = false;
        const RequestOutcome outcome = look_for_key(id, key, &has_key);
        if (!outcome.done() || has_key) {
            *origin = id == StoreId::kPlain ? "plain" : "factory";
            return report_store_outcome(outcome, quoted("get the origin of", key));
        }
    }
    *origin = "default";
    return ExitCode::kDone;
}

ExitCode read_words(const ZndbOptions &options, const std::string &key, Words *words) {
    std::string stored;
    ExitCode code = read_stored(options, key, &stored);
    if (code != ExitCode::kDone) {
        return code;
    }
    *words = options.list || options.item > 0 ? split_list(stored) : Words{stored};
    if (options.item > 0) {
        code = pick_item(options, key, words);
    }
    for (std::string &word : *words) {
        const std::string problem = to_shown(type_named(options.type), word, &word);
        if (!problem.empty()) {
            return complain(ExitCode::kRefused, quoted("get", key) + " failed: " + problem);
        }
    }
    return code;
}

Json json_of_word(const ZndbOptions &options, const std::string &word) {
    return type_named(options.type) == FRWK_DATA_TYPE_STRING ? json_text(word) : json_word(word);
}

Json json_of_words(const ZndbOptions &options, const Words &words) {
    if (!options.list) {
        return json_of_word(options, words.front());
    }
    Json items = json_items();
    for (const std::string &word : words) {
        add_item(items, json_of_word(options, word));
    }
    return items;
}

// ---- set ----

ExitCode words_from_input(const ZndbOptions &options, Words *words) {
    std::string line;
    if (!read_input_line("value of " + options.key + ": ", options.secret, &line)) {
        return complain(ExitCode::kUsage, "no value for '" + options.key + "'");
    }
    *words = {line};
    return ExitCode::kDone;
}

/* The stored list with one item replaced or appended. */
ExitCode replace_item(const ZndbOptions &options, const std::string &item, Words *items) {
    std::string stored;
    const RequestOutcome outcome = get_from_store(options.store(), options.key, &stored);
    if (!outcome.done() && outcome.result != E_APPS_ERR_ZNDB_NO_FOUND) {
        return report_store_outcome(outcome, quoted("get", options.key));
    }
    *items = split_list(stored);
    if (options.item > items->size() + 1) {
        return complain(ExitCode::kUsage,
                        "'" + options.key + "' has " + std::to_string(items->size()) + " items");
    }
    items->resize(std::max(items->size(), options.item));
    (*items)[options.item - 1] = item;
    return ExitCode::kDone;
}

/* The text to be stored. */
ExitCode compose(const ZndbOptions &options, Words words, std::string *text) {
    for (std::string &word : words) {
        const std::string problem = to_stored(type_named(options.type), word, &word);
        if (!problem.empty()) {
            return complain(ExitCode::kUsage, problem);
        }
    }
    if (options.item > 0) {
        const ExitCode code = replace_item(options, std::string(words.front()), &words);
        if (code != ExitCode::kDone) {
            return code;
        }
    }
    *text = options.list || options.item > 0 ? join_list(words) : words.front();
    return ExitCode::kDone;
}

RequestOutcome store_text(const ZndbOptions &options, const std::string &text) {
    if (options.secret) {
        const WaitNotice notice(E_APPS_MODULE_ZNDB);
        return outcome_of(frwk_zndb_set_key_value_encrypt(options.key.c_str(), FRWK_DATA_TYPE_CIPHER,
                                                          text.data(), static_cast<uint32_t>(text.size())));
    }
    return set_in_store(options.store(), options.key, text);
}

ExitCode set_words(const ZndbOptions &options, const Words &words) {
    std::string text;
    const ExitCode code = compose(options, words, &text);
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::string problem = unsendable_value(text);
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, "'" + options.key + "': " + problem);
    }
    const RequestOutcome outcome = store_text(options, text);
    return report_store_outcome(outcome, quoted("set", options.key));
}

// ---- del ----

ExitCode delete_key(const ZndbOptions &options, const std::string &key) {
    const ExitCode code = check_key(key);
    if (code != ExitCode::kDone) {
        return code;
    }
    const RequestOutcome outcome = delete_from_store(options.store(), key);
    return report_store_outcome(outcome, quoted("del", key), key_hint(options.store(), key, outcome.result));
}

/* Prints or adds one setting. */
ExitCode put_value(const ZndbOptions &options, const Json &members, const std::string &key,
                   const Words &words) {
    std::string origin;
    const ExitCode code = options.origin ? find_origin(options, key, &origin) : ExitCode::kDone;
    if (code != ExitCode::kDone) {
        return code;
    }
    if (!options.json) {
        const std::string store = options.origin ? origin + " " : "";
        print_words(store + (options.keys.size() > 1 ? key + "=" : ""), words);
        return code;
    }
    Json value = json_of_words(options, words);
    if (options.origin) {
        Json both = json_members();
        add_member(both, "store", json_text(origin));
        add_member(both, "value", std::move(value));
        value = std::move(both);
    }
    add_member(members, key, std::move(value));
    return code;
}

/* Goes on after a failure, so that every wrong key is reported, but not without the database. Returns the
 * worst code. */
ExitCode for_each_key(const Words &keys, const std::function<ExitCode(const std::string &key)> &act) {
    ExitCode code = ExitCode::kDone;
    for (size_t i = 0; i < keys.size() && code != ExitCode::kUnreachable; ++i) {
        code = std::max(code, act(keys[i]));
    }
    return code;
}

ExitCode get_values(const ZndbOptions &options) {
    const Json members = json_members();
    const ExitCode code = for_each_key(options.keys, [&](const std::string &key) {
        Words words;
        const ExitCode read = read_words(options, key, &words);
        return read == ExitCode::kDone ? put_value(options, members, key, words) : read;
    });
    if (options.json && (code == ExitCode::kDone || json_object_object_length(members.get()) > 0)) {
        print_json(members);
    }
    return code;
}

ExitCode set_value(const ZndbOptions &options) {
    Words words = options.values;
    ExitCode code = check_key(options.key);
    if (code == ExitCode::kDone && words.size() > 1 && !options.list) {
        code = complain(ExitCode::kUsage, "several values make a list: give --list, or quote the value");
    }
    if (code == ExitCode::kDone && words.empty()) {
        code = words_from_input(options, &words);
    }
    if (code == ExitCode::kDone) {
        code = set_words(options, words);
    }
    return code == ExitCode::kDone ? save_if_wanted(options) : code;
}

/* Saves what was deleted, even if other keys could not be. */
ExitCode delete_keys(const ZndbOptions &options) {
    bool has_deleted = false;
    const ExitCode code = for_each_key(options.keys, [&](const std::string &key) {
        const ExitCode deleted = delete_key(options, key);
        has_deleted = has_deleted || deleted == ExitCode::kDone;
        return deleted;
    });
    const bool saves = has_deleted && code != ExitCode::kUnreachable;
    return saves ? std::max(code, save_if_wanted(options)) : code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command get = tool.add("get", "Print settings",
                           "zndb_tool get lan_ip\n"
                           "zndb_tool get --type uint --json mtu\n"
                           "zndb_tool get --list dns_servers\n"
                           "zndb_tool get --origin lan_ip\n",
                           g_options.runs(get_values));
    g_options.add_keys(get);
    g_options.add_store(get, true);
    g_options.add_value_form(get);
    get.flag("--origin", g_options.origin, "Print which store answers, before the value");
    g_options.add_json(get);

    Command set = tool.add("set", "Change a setting",
                           "zndb_tool set --save lan_ip 192.168.0.1\n"
                           "zndb_tool set --type int -- offset -5\n"
                           "zndb_tool set --list dns_servers 1.1.1.1 9.9.9.9\n"
                           "zndb_tool set --secret wifi_key < key.txt\n",
                           g_options.runs(set_value));
    set.add("KEY", g_options.key, "Name of the setting").required();
    set.add("VALUE", g_options.values, "Its value; by default a line of standard input");
    g_options.add_store(set, true);
    g_options.add_value_form(set);
    g_options.add_save(set);

    Command del = tool.add("del", "Delete settings, so that their defaults apply again",
                           "zndb_tool del lan_ip\n", g_options.runs(delete_keys));
    g_options.add_keys(del);
    g_options.add_store(del, false);
    g_options.add_save(del);
}

const CommandGroup kCommands(1, declare);

}  // namespace
