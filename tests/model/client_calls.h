/*
 * The calls of a client, one for each kind of operation.
 */
#pragma once

#include <map>
#include <memory>
#include <string>

#include "model/operation.h"
#include "model/told_values.h"

namespace model {

class ClientCalls {
  public:
    /* Makes the process a module. */
    explicit ClientCalls(uint32_t id);

    Outcome carry_out(const Operation &operation);

    static Outcome wait_until_served();
    static Outcome ask_whether_served();
    static Outcome list_all();
    static Outcome save_all();

  private:
    Outcome watch(const Operation &operation);

    const uint32_t id_;
    std::unique_ptr<ToldValues> told_;
};

}  // namespace model
