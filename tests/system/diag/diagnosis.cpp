#include "system/diag/diagnosis.h"

#include <gtest/gtest.h>

#include "os_mem.h"

namespace {

/* The tests are no module, whose memory would have had its settings by now. */
class ReadyMemory : public testing::Environment {
  public:
    void SetUp() override { os_mem_init(nullptr); }
};

const testing::Environment *const kReadyMemory = testing::AddGlobalTestEnvironment(new ReadyMemory);

}  // namespace

Diagnosis::Diagnosis(int32_t type, const frwk_diag_req &req) {
    EXPECT_EQ(1u, frwk_diag_init(&context_));
    result_ = frwk_diag_exec(type, &req, &context_);
}

Diagnosis::~Diagnosis() {
    frwk_diag_free(&context_);
}

std::string Diagnosis::text() const {
    return context_.buf.data != nullptr ? std::string(context_.buf.data, context_.buf.length) : "";
}
