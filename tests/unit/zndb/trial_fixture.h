/*
 * A database with settings on trial.
 */
#pragma once

#include "formats/zndb_apply_wire.h"
#include "support/wait_until.h"
#include "trial.h"
#include "unit/formats/apply_bytes.h"
#include "unit/zndb/database_fixture.h"

inline const std::string kWayBackFile = "/m_data/usr/db/way_back.txt";

class TrialFixture : public DatabaseFixture {
  protected:
    void SetUp() override {
        for (const std::string &file : files_beginning(kWayBackFile)) {
            std::filesystem::remove_all(file);
        }
        for (const char *folder : {"/m_data/usr/www", "/m_data/usr/dbm"}) {
            std::filesystem::remove_all(folder);
        }
        DatabaseFixture::SetUp();
        begin_trial();
    }

    void TearDown() override { trial_.reset(); }

    void begin_trial() {
        trial_ = std::make_unique<Trial>(*database_, times_);
        trial_->recover();
    }

    /* As after SIGKILL. */
    void restart_all() {
        trial_.reset();
        restart();
        begin_trial();
    }

    void cut_power_all() {
        trial_.reset();
        cut_power();
        begin_trial();
    }

    int32_t ask(const std::string &body) {
        ApplyRequest request = {};
        EXPECT_TRUE(read_apply_body(body.data(), static_cast<int32_t>(body.size()), request));
        return trial_->handle(request, answer_);
    }

    int32_t confirm() { return ask(apply_bytes(5)); }
    int32_t revert() { return ask(apply_bytes(6)); }
    int32_t keep(uint32_t seconds) { return ask(apply_bytes(7, 0, seconds)); }
    int32_t restored() { return ask(apply_bytes(8)); }

    int32_t apply(const std::string &items, uint32_t seconds = 60) {
        EXPECT_EQ(0, ask(apply_bytes(1)));
        const uint32_t number = answer_.number;
        EXPECT_EQ(0, ask(apply_bytes(2, number, 0, items)));
        return ask(apply_bytes(3, number, seconds));
    }

    /* Changes a, and adds perm's m. */
    void apply_two(uint32_t seconds = 60) {
        EXPECT_EQ(0, apply(item_bytes(0, 0, "a", "2") + item_bytes(0, 1, "m", "2"), seconds));
        expect_state(ApplyState::kWaiting);
        EXPECT_EQ("2", plain("a"));
        EXPECT_EQ("2", perm("m"));
    }

    void expect_back() {
        EXPECT_EQ("1", plain("a"));
        EXPECT_EQ(kMissing, perm("m"));
    }

    void expect_state(ApplyState state) {
        EXPECT_EQ(0, ask(apply_bytes(0)));
        EXPECT_EQ(static_cast<uint32_t>(state), answer_.state);
    }

    void expect_ended(ApplyEnd end) {
        expect_state(ApplyState::kNone);
        EXPECT_EQ(static_cast<uint32_t>(end), answer_.last_end);
        EXPECT_EQ(std::vector<std::string>(), files_beginning(kWayBackFile));
    }

    /* Until nothing is left of the seconds. */
    void wait_until_due() {
        EXPECT_TRUE(wait_until([this] { return ask(apply_bytes(0)) == 0 && answer_.seconds == 0; }));
    }

    void set_saved_a() {
        ASSERT_EQ(0, database_->set(P, "a", "1"));
        ASSERT_EQ(0, database_->save());
    }

    Trial::Times times_;
    std::unique_ptr<Trial> trial_;
    ApplyAnswer answer_ = {};
};
