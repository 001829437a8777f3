#include "apply_handler.h"

#include "unit/zndb/trial_fixture.h"

namespace {

class ApplyHandler : public TrialFixture {
  protected:
    int32_t send(int32_t msgid, const std::string &body, void *rsp = nullptr, uint32_t rsp_size = 0) {
        return zndb_handle(*database_, *trial_,
                           {3, msgid, body.empty() ? nullptr : body.data(), static_cast<int32_t>(body.size()),
                            rsp, rsp_size, may_write_factory_});
    }

    ApplyAnswer rsp_ = {};
    bool (*may_write_factory_)(const ZndbMessage &message) = nullptr;
};

}  // namespace

TEST_F(ApplyHandler, FillsAnAnswerThatFits) {
    EXPECT_EQ(0, send(2102, apply_bytes(1), &rsp_, sizeof(rsp_)));
    EXPECT_EQ(1u, rsp_.number);
    EXPECT_EQ(kNoItem, rsp_.batch.item);
    EXPECT_EQ(17, send(2102, apply_bytes(1), &rsp_, sizeof(rsp_)));
    EXPECT_EQ(0u, rsp_.number);
    rsp_.number = 77;
    EXPECT_EQ(0, send(2102, apply_bytes(0), &rsp_, sizeof(rsp_) - 1));
    EXPECT_EQ(0, send(2102, apply_bytes(0)));
    EXPECT_EQ(77u, rsp_.number);
}

TEST_F(ApplyHandler, RefusesAMalformedBody) {
    for (const std::string &body : {std::string(), std::string("x"), apply_bytes(99)}) {
        log_.clear();
        EXPECT_EQ(2004, send(2102, body, &rsp_, sizeof(rsp_)));
        EXPECT_EQ((std::vector<std::string>{"message 2102 of module 3 refused: its body of " +
                                            std::to_string(body.size()) + " bytes is malformed"}),
                  warnings(log_));
    }
}

TEST_F(ApplyHandler, TellsTheTrialOfAReset) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(0, send(E_APPS_MSG_ZNDB_RESET, ""));
    EXPECT_EQ(0, revert());
    EXPECT_EQ(kMissing, plain("a"));
}

TEST_F(ApplyHandler, RefusesAResetThatTheTrialCanNotNote) {
    set_saved_a();
    apply_two();
    fail_open(kWayBackFile + ".tmp", ENOSPC);
    EXPECT_EQ(6, send(E_APPS_MSG_ZNDB_RESET, ""));
    end_faults();
    EXPECT_EQ("2", plain("a"));
}

TEST_F(ApplyHandler, PassesAllElseToTheDatabase) {
    set_saved_a();
    char value[1024] = "";
    EXPECT_EQ(0, send(E_APPS_MSG_ZNDB_GET, std::string("a\0", 2), value, sizeof(value)));
    EXPECT_STREQ("1", value);
}

TEST_F(ApplyHandler, TheOverlayIsForThoseWhoMayChangeIt) {
    may_write_factory_ = [](const ZndbMessage &) { return false; };
    EXPECT_EQ(0, send(2102, apply_bytes(1), &rsp_, sizeof(rsp_)));
    const uint32_t number = rsp_.number;
    const std::string own = item_bytes(0, 0, "a", "1") + item_bytes(2, 2, "f", "1");
    EXPECT_EQ(0, send(2102, apply_bytes(2, number, 0, own)));
    EXPECT_EQ(2006,
              send(2102, apply_bytes(2, number, 0, own + item_bytes(0, 2, "f", "2")), &rsp_, sizeof(rsp_)));
    EXPECT_EQ(E_ZNDB_RET_REFUSED, rsp_.batch.verdict);
    EXPECT_EQ(2u, rsp_.batch.item);
    EXPECT_EQ(2006, send(2102, apply_bytes(9)));
    may_write_factory_ = [](const ZndbMessage &) { return true; };
    EXPECT_EQ(0, send(2102, apply_bytes(2, number, 0, own + item_bytes(0, 2, "f", "2"))));
    EXPECT_EQ(0, send(2102, apply_bytes(9)));
}
