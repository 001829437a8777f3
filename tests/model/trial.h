/*
 * A run: the operations are carried out by the real service and its clients, and the model judges each
 * outcome.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/operation.h"

namespace model {

struct Broken {
    size_t number; /* of the operation */
    std::string what;
};

struct TrialOptions {
    std::string service;      /* the program on trial */
    bool shows_log = false;   /* prints what the service logs when a promise is broken */
    bool shows_steps = false; /* prints each operation with its outcome */
};

/* Returns the first promise that is broken. Needs a device tree of its own; one trial at a time. */
std::optional<Broken> try_service(const std::vector<Operation> &operations, const TrialOptions &options);

}  // namespace model
