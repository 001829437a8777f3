/*
 * What the tests of sending share: a process that is module 3, router, its requests to wlan, and faults.
 */
#pragma once

#include <cerrno>

#include "doubles/base_doubles.h"
#include "support/log_checks.h"
#include "support/memory_usage.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/ipc/test_handler.h"
#include "unit/frwk_common/ipc/test_peer.h"
#include "unit/frwk_common/module_fixture.h"

inline constexpr uint32_t kSelf = E_APPS_MODULE_ROUTER;
inline constexpr uint32_t kWlan = E_APPS_MODULE_WLAN;
inline constexpr int32_t kUntouched = 0x55AA;

inline void refuse_blocks() {
    doubles::base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
}

/* Lets every thread be asked for and none start. */
inline void refuse_threads() {
    doubles::base::os_thread_create.stand_in(
        [](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) { return EAGAIN; });
}

inline void writes_break_off() {
    io_faults::on_write(
        [first = true](const io_faults::Output &real, int fd, const void *buf, size_t) mutable -> ssize_t {
            if (!first) {
                errno = EPIPE;
                return -1;
            }
            first = false;
            return real(fd, buf, 10);
        });
}

/* The process is module 3, router. */
class IpcRequestTest : public ModuleTest {
  protected:
    IpcRequestTest() {
        make_ipc_folder();
        TestHandler::reset();
        live_blocks_ = live_blocks();
    }
    ~IpcRequestTest() override { EXPECT_EQ(live_blocks(), live_blocks_); }

    /* A synchronous request to wlan without a body, with a small answer buffer. */
    apps_err_e_type ask() {
        return frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, rsp_.data(), static_cast<uint32_t>(rsp_.size()), 3,
                                  &result_);
    }
    /* A synchronous request to wlan with a body. */
    apps_err_e_type ask_with(const Bytes &body) {
        return frwk_ipc_send_sync(kWlan, 5001, body.data(), static_cast<uint32_t>(body.size()), nullptr, 0, 3,
                                  &result_);
    }
    static apps_err_e_type tell(uint32_t module, const Bytes &body, uint32_t timeout = 3) {
        return frwk_ipc_send_async(module, 5001, body.data(), static_cast<uint32_t>(body.size()), timeout);
    }

    LogCapture log_;
    Bytes rsp_ = Bytes(8);
    int32_t result_ = kUntouched;

  private:
    uint32_t live_blocks_ = 0;
};
