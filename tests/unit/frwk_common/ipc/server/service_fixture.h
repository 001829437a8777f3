/*
 * What the tests of the service share: requests as bytes, and a process that is a serving module and gives
 * back every block it took.
 */
#pragma once

#include "support/log_checks.h"
#include "support/memory_usage.h"
#include "unit/frwk_common/ipc/test_handler.h"
#include "unit/frwk_common/ipc/wire_bytes.h"
#include "unit/frwk_common/module_fixture.h"

/* A synchronous request of module 5 with message 3001 and a limit of 3 seconds. */
inline Bytes request(uint32_t rsp_size, const Bytes &body = {}) {
    return words({5, 3001, 0, 3, rsp_size, static_cast<uint32_t>(body.size())}) + body;
}

inline Bytes zeros(size_t size) {
    return Bytes(size);
}

/* The process is module 3, router, with a registered handler. */
class IpcServiceTest : public ModuleTest {
  protected:
    IpcServiceTest() {
        TestHandler::reset();
        g_s_ipc_handler = TestHandler::handle;
        live_blocks_ = live_blocks();
    }
    ~IpcServiceTest() override { EXPECT_EQ(live_blocks(), live_blocks_); }

    LogCapture log_;

  private:
    uint32_t live_blocks_ = 0;
};
