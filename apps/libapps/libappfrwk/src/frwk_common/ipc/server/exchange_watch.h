/*
 * Measures how long one exchange occupies the service thread, limits it, and logs the peer of a slow one.
 */
#pragma once

#include <cstdint>

#include "formats/ipc_wire.h"
#include "frwk_common/ipc/transport/ipc_connection.h"
#include "frwk_common/ipc/transport/ipc_wait.h"
#include "internal/coarse_clock.h"

namespace ipc {

/* The steps of an exchange. */
enum class ExchangeStep {
    kHeader,
    kBody,
    kRegistration, /* waiting for the module's handler to be registered */
    kHandler,
    kAnswer
};

/*
 * Waits for the peer of one exchange: at most 3 seconds for each piece of a request, and without limit until
 * the answer is read. If the process has a limit for exchanges, it limits the complete request, and the time
 * in which the peer reads nothing of its answer. An exchange that takes longer than a second is logged once,
 * with its peer and its longest step.
 */
class ExchangeWatch final : public Wait {
  public:
    /* connection: outlives this. */
    explicit ExchangeWatch(const Connection &connection)
        : connection_(connection), began_ms_(coarse_ms()), looked_ms_(began_ms_) {}

    /* Starts the next step. header: of the request; must outlive the exchange. */
    void enter(ExchangeStep step, const frwk_ipc_header &header) {
        step_ = step;
        header_ = &header;
        yielded_ = false;
    }

    /* Reads the clock, after a step that didn't wait here. */
    void look();

    Waited wait(int fd, short events, uint32_t done) override;

  private:
    Waited wait_for_request(int fd);
    Waited wait_for_reader(int fd, uint32_t done);
    uint64_t ms_until_slow() const;
    void note_progress(uint32_t done);
    Waited end_of_patience();
    void report(unsigned held_ms);

    const Connection &connection_;
    ExchangeStep step_ = ExchangeStep::kHeader;
    ExchangeStep longest_ = ExchangeStep::kHeader;
    bool reported_ = false;
    bool yielded_ = false;                    /* in this step */
    const frwk_ipc_header *header_ = nullptr; /* null until it was received */
    const uint64_t began_ms_;
    uint64_t looked_ms_; /* the time up to here is accounted for */
    uint64_t longest_ms_ = 0;
    uint32_t moved_ = UINT32_MAX; /* bytes of the answer that were written at the last wait */
    uint64_t moved_ms_ = 0;       /* when this number last increased */
    bool tried_ = false;          /* whether a write was retried at the limit since then */
};

}  // namespace ipc
