/*
 * A module's handler that records each call and answers as the test says.
 */
#pragma once

#include <mutex>
#include <vector>

#include "frwk_common.h"
#include "unit/frwk_common/ipc/wire_bytes.h"

struct HandledCall {
    uint32_t src;
    int32_t msgid;
    bool has_data;
    int32_t data_len;
    Bytes data;
    bool has_rsp;
    uint32_t rsp_size;
    Bytes rsp_before; /* the answer's buffer as the handler found it */
    uint32_t timeout;
};

/* One handler for the program, since a handler is a plain function. Any thread may call it. */
class TestHandler {
  public:
    /* Forgets all calls; further ones return result and copy answer into the answer's buffer. */
    static void reset(apps_err_e_type result = 0, Bytes answer = {}) {
        TestHandler &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        self.result_ = result;
        self.answer_ = std::move(answer);
        self.calls_.clear();
    }

    static std::vector<HandledCall> calls() {
        TestHandler &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        return self.calls_;
    }

    /* The handler to register. */
    static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                  int32_t data_len, void *rsp, uint32_t rsp_size, uint32_t timeout) {
        TestHandler &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        self.calls_.push_back({src, msgid, data != nullptr, data_len,
                               copy_of(data, data_len > 0 ? static_cast<size_t>(data_len) : 0),
                               rsp != nullptr, rsp_size, copy_of(rsp, rsp_size), timeout});
        if (rsp != nullptr && self.answer_.size() <= rsp_size && !self.answer_.empty()) {
            std::memcpy(rsp, self.answer_.data(), self.answer_.size());
        }
        return self.result_;
    }

  private:
    static TestHandler &the_one() {
        static TestHandler handler;
        return handler;
    }
    static Bytes copy_of(const void *data, size_t size) {
        const auto *bytes = static_cast<const unsigned char *>(data);
        return bytes != nullptr ? Bytes(bytes, bytes + size) : Bytes();
    }

    std::mutex mutex_;
    apps_err_e_type result_ = 0;
    Bytes answer_;
    std::vector<HandledCall> calls_;
};
