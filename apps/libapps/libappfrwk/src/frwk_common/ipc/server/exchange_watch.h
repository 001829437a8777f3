/*
 * How long one exchange holds the service thread, and whom to thank for it.
 */
#pragma once

#include <cstdint>

#include "frwk_common/ipc/transport/ipc_wait.h"
#include "frwk_common/ipc/transport/ipc_wire.h"
#include "internal/coarse_clock.h"

/* What an exchange is busy with. */
enum class ExchangeStep {
    kHeader,
    kBody,
    kRegistration, /* of the module's handler */
    kHandler,
    kAnswer
};

/*
 * Waits for the peer of one exchange: for a request each time 3 seconds at most, and as long as it takes for
 * the answer to be read. Where the process has a limit for exchanges, a request may take that long in all,
 * and an answer be stuck for so long. An exchange that holds the service longer than a second is logged,
 * once, with its peer and with the step that has taken longest.
 */
class ExchangeWatch final : public IpcWait {
  public:
    /* fd: the connection, which stays the caller's. */
    explicit ExchangeWatch(int fd) : fd_(fd), began_ms_(coarse_ms()), looked_ms_(began_ms_) {}

    /* What comes next. header: of the request; kept. */
    void enter(ExchangeStep step, const frwk_ipc_header &header) {
        step_ = step;
        header_ = &header;
        yielded_ = false;
    }

    /* Reads the clock, after what didn't wait here. */
    void look();

    IpcWaited wait(int fd, short events, uint32_t done) override;

  private:
    IpcWaited wait_for_request(int fd);
    IpcWaited wait_for_reader(int fd, uint32_t done);
    uint64_t ms_until_slow() const;
    void note_progress(uint32_t done);
    IpcWaited end_of_patience();
    void report(unsigned held_ms);

    const int fd_;
    ExchangeStep step_ = ExchangeStep::kHeader;
    ExchangeStep longest_ = ExchangeStep::kHeader;
    bool reported_ = false;
    bool yielded_ = false;                    /* in this step */
    const frwk_ipc_header *header_ = nullptr; /* null until it is there */
    const uint64_t began_ms_;
    uint64_t looked_ms_; /* up to here the time is accounted for */
    uint64_t longest_ms_ = 0;
    uint32_t moved_ = UINT32_MAX; /* bytes of the answer that the socket had taken at the last wait */
    uint64_t moved_ms_ = 0;       /* when these became more */
    bool tried_ = false;          /* to write more at the limit, since then */
};
