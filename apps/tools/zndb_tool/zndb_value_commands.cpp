#include "zndb_tool/zndb_value_commands.h"

#include <algorithm>
#include <functional>

#include "cli/code_hint.h"
#include "cli/complaint.h"
#include "cli/confirmation.h"
#include "cli/input_line.h"
#include "cli/spelling_hint.h"
#include "cli/wait_notice.h"
#include "frwk_module.h"
#include "frwk_utils.h"
#include "output/json_output.h"
#include "zndb.h"
#include "zndb_tool/entry_lines.h"
#include "zndb_tool/entry_output.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/typed_word.h"
#include "zndb_tool/value_list.h"

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

ExitCode report(const RequestOutcome &outcome, const std::string &what, const std::string &hint = "") {
    return report_outcome(outcome, E_APPS_MODULE_ZNDB, what, hint);
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
    return report(outcome, quoted("get", key), key_hint(options.store(), key, outcome.result));
}

/* Keeps only the item that --item selects. */
ExitCode pick_item(const ZndbOptions &options, const std::string &key, Words *items) {
    if (options.item > items->size()) {
        return complain(ExitCode::kRefused, "'" + key + "' has " + std::to_string(items->size()) + " items");
    }
    *items = {(*items)[options.item - 1]};
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
        return report(outcome, quoted("get", options.key));
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
    return report(outcome, quoted("set", options.key));
}

// ---- save ----

/* Reports a store that could not be saved; it fails the command only if the command has changed it. */
ExitCode report_store(apps_err_e_type result, bool counts, const std::string &what, const std::string &hint) {
    if (result == E_APPS_ERR_SUCCESS) {
        return ExitCode::kDone;
    }
    if (counts) {
        return report({E_APPS_ERR_SUCCESS, result}, what, hint);
    }
    return complain(ExitCode::kDone,
                    "warning: " + what + " failed: " + code_text(result) + code_hint(result));
}

/* Saves the plain and the perm store. about_plain, about_perm: whether a failure of that store fails the
 * command. */
ExitCode save_both(bool about_plain, bool about_perm, const std::string &hint = "") {
    const SaveOutcome saved = save_both_stores();
    if (saved.plain == E_APPS_ERR_SUCCESS && saved.perm == E_APPS_ERR_SUCCESS) {
        return report(saved.request, "save", hint);
    }
    const ExitCode plain = report_store(saved.plain, about_plain, "save", hint);
    const ExitCode perm = report_store(saved.perm, about_perm, "save of the perm store", hint);
    return std::max(plain, perm);
}

// ---- del ----

ExitCode delete_key(const ZndbOptions &options, const std::string &key) {
    const ExitCode code = check_key(key);
    if (code != ExitCode::kDone) {
        return code;
    }
    const RequestOutcome outcome = delete_from_store(options.store(), key);
    return report(outcome, quoted("del", key), key_hint(options.store(), key, outcome.result));
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

}  // namespace

ExitCode get_values(const ZndbOptions &options) {
    const Json members = json_members();
    const ExitCode code = for_each_key(options.keys, [&](const std::string &key) {
        Words words;
        const ExitCode read = read_words(options, key, &words);
        if (read == ExitCode::kDone && options.json) {
            add_member(members, key, json_of_words(options, words));
        } else if (read == ExitCode::kDone) {
            print_words(options.keys.size() > 1 ? key + "=" : "", words);
        }
        return read;
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

ExitCode save_changes(const ZndbOptions &options) {
    if (options.ram) {
        return report(save_in_ram(), "save");
    }
    return options.defaults ? report(save_overlay(), "save") : save_both(true, true);
}

ExitCode reset_settings(const ZndbOptions &options) {
    if (!is_confirmed("delete every setting of the plain store", options.yes)) {
        return complain(ExitCode::kRefused, "nothing was done");
    }
    const ExitCode code = report(reset_store(), "reset");
    return code == ExitCode::kDone ? save_if_wanted(options) : code;
}

ExitCode save_if_wanted(const ZndbOptions &options) {
    if (!options.save) {
        return ExitCode::kDone;
    }
    return options.defaults ? report(save_overlay(), "save") : save_both(!options.perm, options.perm);
}

ExitCode save_before_backup(const ZndbOptions &options) {
    return options.no_save ? ExitCode::kDone
                           : save_both(true, false, "; --no-save backs up what was saved before");
}
