#include "model/reference_model.h"

#include <algorithm>
#include <iterator>

#include "model/rules.h"

namespace model {

namespace {

/* More would mean that the operations tell too little of the state. */
constexpr size_t kStatesMax = 512;
constexpr size_t kDescribed = 4;

bool agrees(const Possible &possible, const Outcome &outcome) {
    return possible.result == outcome.result && (possible.words.empty() || possible.words == outcome.words);
}

void add(std::vector<State> &states, const State &state) {
    if (std::find(states.begin(), states.end(), state) == states.end()) {
        states.push_back(state);
    }
}

bool same_values(const State &one, const State &other) {
    return std::all_of(std::begin(kStores), std::end(kStores),
                       [&](Store store) { return one.of(store).now == other.of(store).now; });
}

std::string describe_allowed(const std::vector<Possible> &allowed) {
    std::string text;
    for (size_t i = 0; i < std::min(allowed.size(), kDescribed); ++i) {
        text += "\n    allowed: " + describe(Outcome{allowed[i].result, allowed[i].words});
    }
    return text.empty() ? "\n    nothing of the kind is allowed" : text;
}

}  // namespace

std::optional<std::string> ReferenceModel::take(const Operation &operation, const Outcome &outcome) {
    std::vector<State> next;
    std::vector<Possible> all;
    bool certain = true;
    for (const State &state : states_) {
        for (Possible &possible : possible_ends(operation, state, outcome)) {
            if (agrees(possible, outcome)) {
                certain = certain && !same_values(possible.after, state);
                add(next, possible.after);
            }
            all.push_back(std::move(possible));
        }
    }
    if (next.empty()) {
        return describe_allowed(all);
    }
    if (next.size() > kStatesMax) {
        return "the model has lost track: " + std::to_string(next.size()) + " states are possible";
    }
    states_ = std::move(next);
    changes_ += certain ? 1 : 0;
    return std::nullopt;
}

std::vector<std::string> lists_of(const State &state) {
    std::vector<std::string> words;
    for (const Store store : kStores) {
        for (const auto &[key, value] : state.of(store).now) {
            words.push_back(key);
            words.push_back(value);
        }
        words.emplace_back();
    }
    return words;
}

/* Drops the states that are not as they were found. Returns false if none is left. */
template <typename IsAsFound>
bool ReferenceModel::keep(const IsAsFound &is_as_found) {
    std::vector<State> next;
    std::copy_if(states_.begin(), states_.end(), std::back_inserter(next), is_as_found);
    if (next.empty()) {
        return false;
    }
    states_ = std::move(next);
    return true;
}

std::optional<std::string> ReferenceModel::take_lists(const std::vector<std::string> &words) {
    if (keep([&words](const State &state) { return lists_of(state) == words; })) {
        return std::nullopt;
    }
    return "\n    allowed: " + describe(Outcome{0, lists_of(states_.front())});
}

std::optional<std::string> ReferenceModel::take_disk(Store store, const Values &values) {
    if (keep([&](const State &state) { return state.of(store).disk == values; })) {
        return std::nullopt;
    }
    return "no save may have left such a file";
}

void ReferenceModel::cut_power() {
    std::vector<State> next;
    for (State &state : states_) {
        state.cut_power();
        add(next, state);
    }
    states_ = std::move(next);
    ++changes_;
}

}  // namespace model
