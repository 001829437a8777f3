/*
 * What the tests of queues share. A queue lives until its process ends, so each test has queues of its own.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "doubles/base_doubles.h"
#include "frwk_common.h"
#include "support/memory_usage.h"
#include "support/wait_until.h"
#include "unit/frwk_common/module_fixture.h"

struct ItcMessage {
    uint32_t msgid;
    std::string data;
    int32_t size;

    bool operator==(const ItcMessage &other) const {
        return msgid == other.msgid && data == other.data && size == other.size;
    }
};

/* A handler that keeps the messages it receives. One for the program, since a handler is a plain function. */
class ItcRecorder {
  public:
    static void handle(uint32_t msgid, const void *data, int32_t size) {
        ItcRecorder &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        const auto length = static_cast<size_t>(std::max(size, 0));
        self.messages_.push_back({msgid, std::string(static_cast<const char *>(data), length), size});
    }

    static std::vector<ItcMessage> messages() {
        ItcRecorder &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        return self.messages_;
    }

    /* Waits until there are count messages, and returns all that there are. */
    static std::vector<ItcMessage> wait_for(size_t count) {
        EXPECT_TRUE(wait_until([count] { return messages().size() >= count; }));
        return messages();
    }

    static void reset() {
        ItcRecorder &self = the_one();
        const std::lock_guard<std::mutex> lock(self.mutex_);
        self.messages_.clear();
    }

  private:
    static ItcRecorder &the_one() {
        static ItcRecorder recorder;
        return recorder;
    }

    std::mutex mutex_;
    std::vector<ItcMessage> messages_;
};

/* Puts a text into a queue. */
inline apps_err_e_type send_text(const std::string &name, uint32_t msgid, const std::string &text) {
    return frwk_itc_send(name.c_str(), msgid, text.data(), static_cast<int32_t>(text.size()));
}

/* name_ is the test's own queue. */
class ItcTest : public ModuleTest {
  protected:
    ItcTest() : name_(testing::UnitTest::GetInstance()->current_test_info()->name()) { ItcRecorder::reset(); }

    apps_err_e_type create() { return frwk_itc_create(name_.c_str(), nullptr, ItcRecorder::handle); }

    const std::string name_;
};
