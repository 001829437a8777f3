/*
 * A client of the service in a process of its own. It knows the operations of the run and carries out those
 * that it is told by their number.
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

#include "model/operation.h"
#include "support/unique_fd.h"

namespace model {

/* Numbers that are none of an operation. */
inline constexpr uint32_t kWaitUntilServed = 0xFFFFFFFF;
inline constexpr uint32_t kAskWhetherServed = 0xFFFFFFFE;
inline constexpr uint32_t kSaveAll = 0xFFFFFFFC; /* the words are the results of both saves */
inline constexpr uint32_t kListAll = 0xFFFFFFFD; /* in the form of ReferenceModel::take_lists */

class Client {
  public:
    Client(uint32_t id, const std::vector<Operation> &operations);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    /* The two halves of ask. */
    void tell(uint32_t number) const;
    Outcome answer() const;

    Outcome ask(uint32_t number) const {
        tell(number);
        return answer();
    }

  private:
    pid_t pid_ = -1;
    UniqueFd socket_;
};

}  // namespace model
