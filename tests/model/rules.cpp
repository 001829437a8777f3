#include "model/rules.h"

#include <strings.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "model/storm_rule.h"
#include "zndb_ext.h"

namespace model {

namespace {

using Ends = std::vector<Possible>;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kMissing = 3;
constexpr size_t kKeyMax = 31;
constexpr size_t kValueMax = 1023;

constexpr char kLanguageList[] = "webs_language_support";
constexpr char kLanguage[] = "webs_language";

/* A text that a line of a file can't hold. */
bool is_refused_key(const std::string &key) {
    return key.empty() || key.find_first_of("=\r\n") != std::string::npos || key[0] == '#' || key[0] == ' ' ||
           key[0] == '\t';
}

/* The result of a key and a value, whatever the stores hold. */
int result_of_texts(const std::string &key, const std::string &value) {
    if (key.size() > kKeyMax) {
        return E_ZNDB_RET_KEY_LEN;
    }
    if (value.size() > kValueMax) {
        return E_ZNDB_RET_VALUE_LEN;
    }
    return is_refused_key(key) || value.find_first_of("\r\n") != std::string::npos ? kFailed : kDone;
}

/*
 * How a change may end that would have this result and leave this state: it is made if it is answered with
 * success, not made if it is refused, and made or not if there is no answer.
 */
Ends ends_of_change(const State &before, const State &after, int result, const Outcome &outcome) {
    const State &expected = result == kDone ? after : before;
    if (outcome.result == kNoAnswer) {
        return {{kNoAnswer, before}, {kNoAnswer, expected}};
    }
    Ends ends = {{result, expected}};
    if (outcome.disturbed) {
        ends.push_back({kFailed, before});
    }
    return ends;
}

Ends end_of_set(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    after.change(operation.store, operation.key, operation.value);
    return ends_of_change(state, after, result_of_texts(operation.key, *operation.value), outcome);
}

Ends end_of_delete(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    const bool is_there = value_in(state.of(operation.store).now, operation.key).has_value();
    after.change(operation.store, operation.key, std::nullopt);
    return ends_of_change(state, after, is_there ? kDone : kMissing, outcome);
}

Ends end_of_read(const State &state, const Value &value) {
    return {value ? Possible{kDone, state, {*value}} : Possible{kMissing, state}};
}

Ends end_of_get(const Operation &operation, const State &state, const Outcome &) {
    return end_of_read(state, state.get(operation.store, operation.key));
}

Ends end_of_get_default(const Operation &operation, const State &state, const Outcome &) {
    return end_of_read(state, state.get(Store::kFactory, operation.key));
}

Ends end_of_list(const Operation &operation, const State &state, const Outcome &) {
    std::vector<std::string> words;
    for (const auto &[key, value] : state.of(operation.store).now) {
        if (key.compare(0, operation.key.size(), operation.key) == 0) {
            words.push_back(key);
            words.push_back(value);
        }
    }
    words.emplace_back();
    return {{kDone, state, words}};
}

bool holds(const Item &expectation, const State &state) {
    const Value present = value_in(state.of(expectation.store).now, expectation.key);
    return expectation.kind == ItemKind::kExpectMissing ? !present : present == expectation.value;
}

/* What building the batch, or the service, says. */
int result_of_batch(const std::vector<Item> &items, const State &state) {
    if (items.size() > ZNDB_BATCH_MAX) {
        return E_ZNDB_RET_VALUE_LEN;
    }
    for (const Item &item : items) {
        const int result = result_of_texts(item.key, item.value);
        if (result != kDone) {
            return result;
        }
    }
    const bool hold = std::all_of(items.begin(), items.end(), [&state](const Item &item) {
        return item.kind == ItemKind::kSet || item.kind == ItemKind::kDelete || holds(item, state);
    });
    return hold ? kDone : E_ZNDB_RET_CONFLICT;
}

Ends end_of_batch(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    for (const Item &item : operation.items) {
        if (item.kind == ItemKind::kSet || item.kind == ItemKind::kDelete) {
            after.change(item.store, item.key,
                         item.kind == ItemKind::kSet ? Value(item.value) : std::nullopt);
        }
    }
    return ends_of_change(state, after, result_of_batch(operation.items, state), outcome);
}

Ends end_of_compare_and_set(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    const bool hold = value_in(state.of(operation.store).now, operation.key) == operation.value;
    after.change(operation.store, operation.key, operation.successor);
    return ends_of_change(state, after, hold ? kDone : E_ZNDB_RET_CONFLICT, outcome);
}

Ends end_of_reset(const Operation &, const State &state, const Outcome &outcome) {
    State after = state;
    after.reset();
    return ends_of_change(state, after, kDone, outcome);
}

/* Nothing that a client sees, whatever it answers. */
Ends end_of_save_ram(const Operation &, const State &state, const Outcome &outcome) {
    return ends_of_change(state, state, kDone, outcome);
}

using Save = void (State::*)(Store);

/* The states after a save of some stores that was cut short: each file is the old one or the new one. */
std::vector<State> half_saved(const State &state, const std::vector<Store> &stores, Save save) {
    std::vector<State> states = {state};
    for (const Store store : stores) {
        states.front().of(store).is_history_exact = false;
    }
    for (const Store store : stores) {
        const std::vector<State> before = states;
        for (const State &each : before) {
            State saved = each;
            (saved.*save)(store);
            saved.of(store).history = each.of(store).history; /* the journal may not be empty yet */
            saved.of(store).is_history_exact = false;
            states.push_back(saved);
            if (saved.of(store).kept_mode != each.of(store).kept_mode) {
                saved.of(store).kept_mode = each.of(store).kept_mode;
                states.push_back(saved);
            }
        }
    }
    return states;
}

/* told: the store whose result the answer is. The other ones may have failed all the same. */
Ends ends_of_save(const State &state, const std::vector<Store> &stores, Save save, Store told,
                  const Outcome &outcome) {
    State saved = state;
    for (const Store store : stores) {
        (saved.*save)(store);
    }
    if (outcome.result != kNoAnswer && !outcome.disturbed) {
        return {{kDone, saved}};
    }
    Ends ends;
    for (const State &each : half_saved(state, stores, save)) {
        ends.push_back({kNoAnswer, each});
        ends.push_back({kFailed, each});
        if (each.of(told).disk == saved.of(told).disk) {
            ends.push_back({kDone, each});
        }
    }
    return ends;
}

const std::vector<Store> kSavedByClients = {Store::kPlain, Store::kPerm};

Ends end_of_save(const Operation &, const State &state, const Outcome &outcome) {
    return ends_of_save(state, kSavedByClients, &State::save, Store::kPlain, outcome);
}

Ends end_of_save_factory(const Operation &, const State &state, const Outcome &outcome) {
    return ends_of_save(state, {Store::kFactory}, &State::save, Store::kFactory, outcome);
}

Ends end_of_power_off_notice(const Operation &, const State &state, const Outcome &outcome) {
    return ends_of_save(state, {Store::kPlain, Store::kPerm, Store::kFactory}, &State::save_before_power_off,
                        Store::kPlain, outcome);
}

bool is_language_of(const std::string &list, const std::string &language) {
    std::istringstream items(list);
    for (std::string item; std::getline(items, item, ',');) {
        if (::strcasecmp(item.substr(0, item.find('#')).c_str(), language.c_str()) == 0) {
            return true;
        }
    }
    return false;
}

/* frwk_language_change: a set and a save; 1 if both are done. */
Ends end_of_language(const Operation &operation, const State &state, const Outcome &outcome) {
    const Value list = state.get(Store::kPlain, kLanguageList);
    if (operation.key.empty() || !list || !is_language_of(*list, operation.key)) {
        return {{0, state}};
    }
    State set = state;
    set.change(Store::kPlain, kLanguage, operation.key);
    Ends ends;
    for (Possible &each : ends_of_save(set, kSavedByClients, &State::save, Store::kPlain, outcome)) {
        ends.push_back({each.result == kDone ? 1 : 0, each.after});
    }
    if (outcome.disturbed) {
        ends.push_back({0, state});
    }
    return ends;
}

std::set<std::string> keys_of(const Values &values) {
    std::set<std::string> keys;
    for (const auto &[key, value] : values) {
        keys.insert(key);
    }
    return keys;
}

/* What a damaged journal may still give for a key. */
bool may_be_left(const StoreState &store, const std::string &key, const Value &found) {
    if (found == value_in(store.now, key)) {
        return true;
    }
    const auto history = store.history.find(key);
    const bool was_journaled = history != store.history.end() || store.emptied;
    return was_journaled && (found == value_in(store.disk, key) ||
                             (history != store.history.end() && history->second.count(found) > 0));
}

/*
 * The words are the store's list, from an earlier file with the unsaved changes on top: no value that no save
 * has left, and no unsaved change is lost.
 */
bool may_be_earlier(const StoreState &store, const std::string &key, const Value &found) {
    if (found == value_in(store.now, key)) {
        return true;
    }
    const auto ever = store.ever.find(key);
    const auto history = store.history.find(key);
    const bool is_unsaved = history != store.history.end() || store.emptied;
    return (!is_unsaved || !store.is_history_exact) &&
           (!found || (ever != store.ever.end() && ever->second.count(found) > 0) ||
            (history != store.history.end() && history->second.count(found) > 0));
}

Ends end_of_damaged_file(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    StoreState &store = after.of(operation.store);
    Values found;
    for (size_t i = 0; i + 1 < outcome.words.size(); i += 2) {
        found[outcome.words[i]] = outcome.words[i + 1];
    }
    std::set<std::string> keys = keys_of(found);
    keys.merge(keys_of(store.now));
    const bool may_be = std::all_of(keys.begin(), keys.end(), [&](const std::string &key) {
        return may_be_earlier(store, key, value_in(found, key));
    });
    store.now = found;
    return may_be ? Ends{{kDone, after}} : Ends{};
}

/* The words are the store's list. */
Ends end_of_damage(const Operation &operation, const State &state, const Outcome &outcome) {
    State after = state;
    StoreState &store = after.of(operation.store);
    Values found;
    for (size_t i = 0; i + 1 < outcome.words.size(); i += 2) {
        found[outcome.words[i]] = outcome.words[i + 1];
    }
    std::set<std::string> keys = keys_of(found);
    keys.merge(keys_of(store.now));
    const bool may_be = std::all_of(keys.begin(), keys.end(), [&](const std::string &key) {
        return may_be_left(store, key, value_in(found, key));
    });
    store.is_history_exact = false;
    for (const std::string &key : keys) {
        after.change(operation.store, key, value_in(found, key));
    }
    if (!may_be) {
        return {};
    }
    State not_emptied = after; /* the reset's record may be the damaged one */
    not_emptied.of(operation.store).emptied = false;
    return {{kDone, after}, {kDone, not_emptied}};
}

Ends end_of_nothing(const Operation &, const State &state, const Outcome &outcome) {
    return {{outcome.result, state}};
}

/* Reboot (2) and shutdown (4) save first; exit (1) and reset (3) don't. */
Ends end_of_end(const Operation &operation, const State &state, const Outcome &outcome) {
    const bool saves = operation.number == 2 || operation.number == 4;
    if (!saves) {
        return {{outcome.result, state}};
    }
    Ends ends = end_of_power_off_notice(operation, state, {kDone, {}, outcome.disturbed});
    for (Possible &each : ends) {
        each.result = outcome.result;
    }
    return ends;
}

using Rule = Ends (*)(const Operation &operation, const State &state, const Outcome &outcome);

struct Row {
    Kind kind;
    Rule rule;
};

constexpr Row kRows[] = {
    {Kind::kSet, end_of_set},
    {Kind::kDelete, end_of_delete},
    {Kind::kGet, end_of_get},
    {Kind::kGetDefault, end_of_get_default},
    {Kind::kViewGet, end_of_get},
    {Kind::kList, end_of_list},
    {Kind::kListPages, end_of_list},
    {Kind::kBatch, end_of_batch},
    {Kind::kCompareAndSet, end_of_compare_and_set},
    {Kind::kReset, end_of_reset},
    {Kind::kSave, end_of_save},
    {Kind::kSaveFactory, end_of_save_factory},
    {Kind::kSaveRam, end_of_save_ram},
    {Kind::kPowerOffNotice, end_of_power_off_notice},
    {Kind::kLanguage, end_of_language},
    {Kind::kStorm, end_of_storm},
    {Kind::kEnd, end_of_end},
    {Kind::kDamageJournal, end_of_damage},
    {Kind::kDamageFile, end_of_damaged_file},
};

}  // namespace

std::vector<Possible> possible_ends(const Operation &operation, const State &state, const Outcome &outcome) {
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&operation](const Row &each) { return each.kind == operation.kind; });
    return (row != std::end(kRows) ? row->rule : end_of_nothing)(operation, state, outcome);
}

}  // namespace model
