#include "model/storm_rule.h"

#include <string>

namespace model {

namespace {

/* The items that one client has sent, and what became of each. */
struct Sent {
    std::vector<const Item *> items = {};
    std::vector<int> results = {};
};

using AllSent = std::vector<Sent>;

/* The words have a client's results one after another, and "" after each client's. */
AllSent sent_by_clients(const Operation &operation, const Outcome &outcome) {
    AllSent all;
    size_t word = 0;
    for (uint32_t client = 0; client < operation.number; ++client) {
        Sent sent;
        for (const Item &item : operation.items) {
            if (item.client == client && word < outcome.words.size() && !outcome.words[word].empty()) {
                sent.items.push_back(&item);
                sent.results.push_back(std::stoi(outcome.words[word++]));
            }
        }
        ++word;
        all.push_back(sent);
    }
    return all;
}

void carry_out(State &state, const Item &item) {
    if (item.kind != ItemKind::kSave) {
        state.change(item.store, item.key, item.kind == ItemKind::kSet ? Value(item.value) : std::nullopt);
    }
}

bool was_made(int result) {
    return result == 0;
}

/* The states after the items of one client: an item without an answer was carried out or not. */
std::vector<State> after_items(const std::vector<State> &before, const Sent &sent, size_t count) {
    std::vector<State> states = before;
    for (size_t i = 0; i < count; ++i) {
        const std::vector<State> each_before = states;
        if (sent.results[i] != kNoAnswer && !was_made(sent.results[i])) {
            continue; /* refused, or a delete of a missing key */
        }
        if (was_made(sent.results[i])) {
            states.clear();
        }
        for (State state : each_before) {
            carry_out(state, *sent.items[i]);
            states.push_back(state);
        }
    }
    return states;
}

/* Every state that the stores may have been in when a save took them, for each number of items before it. */
std::vector<State> moments(const State &begin, const AllSent &all, uint32_t saver, size_t before_save) {
    std::vector<State> states = {begin};
    for (uint32_t client = 0; client < all.size(); ++client) {
        std::vector<State> next;
        const size_t most = client == saver ? before_save : all[client].items.size();
        for (size_t count = client == saver ? before_save : 0; count <= most; ++count) {
            const std::vector<State> some = after_items(states, all[client], count);
            next.insert(next.end(), some.begin(), some.end());
        }
        states = next;
    }
    return states;
}

/* The states after a save: both files are written, or either one if it was cut short. */
std::vector<State> saved(const State &moment, int result, bool disturbed) {
    std::vector<State> states;
    for (const bool plain : {true, false}) {
        for (const bool perm : {true, false}) {
            State state = moment;
            if (plain) {
                state.save(Store::kPlain);
            }
            if (perm) {
                state.save(Store::kPerm);
            }
            const bool failed = result != 0 && (disturbed || result == kNoAnswer);
            if ((plain && perm) || failed || (plain && disturbed)) {
                states.push_back(state);
                state.of(Store::kPlain).kept_mode = moment.of(Store::kPlain).kept_mode;
                states.push_back(state);
            }
        }
    }
    return states;
}

/* The states whose files the storm may leave. */
std::vector<State> disks_after(const State &begin, const AllSent &all, bool disturbed) {
    for (uint32_t client = 0; client < all.size(); ++client) {
        for (size_t i = 0; i < all[client].items.size(); ++i) {
            if (all[client].items[i]->kind != ItemKind::kSave) {
                continue;
            }
            std::vector<State> disks;
            for (const State &moment : moments(begin, all, client, i)) {
                const std::vector<State> some = saved(moment, all[client].results[i], disturbed);
                disks.insert(disks.end(), some.begin(), some.end());
            }
            return disks;
        }
    }
    return {begin};
}

bool has_right_results(const AllSent &all, const State &begin, bool disturbed) {
    for (const Sent &sent : all) {
        State state = begin;
        for (size_t i = 0; i < sent.items.size(); ++i) {
            const Item &item = *sent.items[i];
            const bool missing =
                item.kind == ItemKind::kDelete && !value_in(state.of(item.store).now, item.key);
            const int right = missing ? 3 : 0;
            if (sent.results[i] != right && sent.results[i] != kNoAnswer &&
                !(disturbed && sent.results[i] == 1)) {
                return false;
            }
            if (sent.results[i] == 0) {
                carry_out(state, item);
            }
        }
    }
    return true;
}

}  // namespace

std::vector<Possible> end_of_storm(const Operation &operation, const State &state, const Outcome &outcome) {
    const AllSent all = sent_by_clients(operation, outcome);
    if (!has_right_results(all, state, outcome.disturbed)) {
        return {};
    }
    std::vector<State> ends = {state};
    for (const Sent &sent : all) {
        ends = after_items(ends, sent, sent.items.size());
    }
    std::vector<Possible> possible;
    for (const State &disk : disks_after(state, all, outcome.disturbed)) {
        for (State end : ends) {
            for (const Store store : kStores) {
                end.of(store).disk = disk.of(store).disk;
                end.of(store).ever = disk.of(store).ever;
                end.of(store).is_history_exact = false;
                end.of(store).emptied = disk.of(store).emptied;
                end.of(store).kept_mode = disk.of(store).kept_mode;
            }
            possible.push_back({outcome.result, end});
        }
    }
    return possible;
}

}  // namespace model
