/*
 * What every process of a soak does, as a function of the run's seed, the module and the number of its step.
 * A killed module continues where it was, with the same choices.
 */
#pragma once

#include <cstdint>
#include <string>

namespace soak {

constexpr uint32_t kModules = 53; /* ids 1 to 52 are used */
constexpr uint32_t kDatabase = 2;
constexpr uint32_t kKeys = 8;   /* that each module has in the database */
constexpr uint32_t kEvents = 4; /* to which modules come and go */

/* Messages; no system message, and none of the power notifications. */
enum Message : int32_t {
    kAnswered = 50001, /* answered by the bytes of answer_stream */
    kOneWay = 50002,
    kNotice = 50003,      /* of the event that has the same subscribers throughout */
    kChurnNotice = 50004, /* of one of the others */
};

/* How a module spends a step. kRefused is a request to no module. */
enum class Action {
    kSync,
    kAsync,
    kPublish,
    kPublishChurn,
    kToggle,
    kGet,
    kSet,
    kStatus,
    kSave,
    kRefused
};

/* A number that looks like chance and is the same for the same three. */
uint64_t mix(uint64_t seed, uint64_t a, uint64_t b);

struct Step {
    uint64_t draw; /* from which a step takes its further choices */
    Action action;
    uint32_t peer;  /* a module with a handler, perhaps the module itself */
    uint32_t size;  /* of the body */
    uint32_t room;  /* of the answer */
    uint32_t key;   /* of the module's own keys */
    uint32_t event; /* of the kEvents */
};

/* The largest body and the largest answer. */
constexpr uint32_t kLargest = 65536;

/* A module's first steps do everything once, with the largest messages: from then on it needs no more memory.
 */
Step step_of(uint64_t seed, uint32_t module, uint64_t number);

/* Killed and restarted regularly; all others run from the first message to the last. */
bool is_mortal(uint32_t module);

/* One that stays subscribed to the event kSteadyEvent. */
bool is_listener(uint32_t module);

/* One that comes and goes; no name of theirs is part of another's, since unsubscribing looks for a part. */
bool is_churner(uint32_t module);

constexpr char kSteadyEvent[] = "soak.steady";
std::string churn_event(uint32_t event);

/* A subscriber that keeps the file of every churning event from going, which would sync the host's disks. */
constexpr uint32_t kKeeper = 28;

/* Bytes by the number that they begin from. */
void fill(unsigned char *bytes, uint32_t size, uint64_t start);
bool is_filled(const unsigned char *bytes, uint32_t size, uint64_t start);

std::string key_name(uint32_t module, uint32_t key);

/* A number above those of all steps; its value has the greatest length. */
constexpr uint64_t kFullLength = uint64_t{1} << 63;

/* The value that a module's step sets; number 0 means none. */
std::string value_of(uint64_t seed, uint32_t module, uint32_t key, uint64_t number);

}  // namespace soak
