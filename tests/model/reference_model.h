/*
 * The promises of the service: what may follow an operation.
 *
 * After an operation that was not answered, or failed half-way, the service may be in one of several states.
 * The model keeps them all, and drops each that a later answer contradicts. When none is left, a promise was
 * broken.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/operation.h"
#include "model/settings_state.h"

namespace model {

/* One way in which an operation may end. */
struct Possible {
    int result;
    State after;
    std::vector<std::string> words = {}; /* what is read */
};

class ReferenceModel {
  public:
    explicit ReferenceModel(const Values &defaults) : states_{State(defaults)} {}

    /* Takes what an operation gave. Returns what would have been allowed instead, if a promise was broken. */
    std::optional<std::string> take(const Operation &operation, const Outcome &outcome);

    /* The same for what the three stores list: a key and its value in turn, and an empty word after each
     * store. */
    std::optional<std::string> take_lists(const std::vector<std::string> &words);

    /* The same for what is on the disk, of one store. Asked only where several states are possible. */
    std::optional<std::string> take_disk(Store store, const Values &values);
    bool is_uncertain() const { return states_.size() > 1; }

    /* The power goes. */
    void cut_power();

    /* A state in which the service may be; after a list of all stores all agree on the present values. */
    const State &state() const { return states_.front(); }

    /* Grows with each change of a present value that is certain. */
    uint64_t changes() const { return changes_; }

  private:
    template <typename IsAsFound>
    bool keep(const IsAsFound &is_as_found);

    std::vector<State> states_;
    uint64_t changes_ = 0;
};

/* The lists of a state in the form of take_lists. */
std::vector<std::string> lists_of(const State &state);

}  // namespace model
