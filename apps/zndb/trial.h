/*
 * Settings on trial: they are reverted unless somebody confirms them in time, also if the service is killed
 * or the power fails meanwhile. Answers the apply control message. Any thread.
 *
 * The way back is written to flash before the first change, and removed when the settings were confirmed and
 * saved, or reverted and saved. A start of the service that finds it reverts. So it doesn't matter what is
 * saved meanwhile.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "apply_stage.h"
#include "database.h"
#include "formats/way_back_text.h"
#include "formats/zndb_apply_wire.h"
#include "kept_files.h"
#include "way_back_file.h"

class Trial {
  public:
    using Clock = std::chrono::steady_clock;

    struct Times {
        Clock::duration patience = std::chrono::seconds(10); /* with a stage that nobody fills */
        Clock::duration retry = std::chrono::seconds(10);    /* after a revert that failed */
        Clock::duration restore = std::chrono::minutes(10);  /* for a restore to end */
    };

    /* The database must outlive it. */
    explicit Trial(Database &database) : Trial(database, Times()) {}
    Trial(Database &database, const Times &times);
    Trial(const Trial &) = delete;
    Trial &operator=(const Trial &) = delete;

    /* Reverts what was not confirmed when the service ended. Once, after the database was loaded. */
    void recover();

    /* Waits until a revert is due, the time of it changes, or the longest time has passed. */
    void wait(Clock::duration longest);

    /* Declares that nobody calls wait: then nothing is applied that would have to be reverted in time. */
    void declare_unwatched();

    /* Reverts if that is due. */
    void act_if_due();

    /*
     * Answers a request. Results: 0; E_APPS_ERR_BUSY while something else awaits confirmation or is being
     * staged; E_APPS_ERR_ZNDB_NO_FOUND if there is no such stage, or nothing to confirm or to revert;
     * otherwise those of the database. Each refusal is logged.
     */
    apps_err_e_type handle(const ApplyRequest &request, ApplyAnswer &answer);

    /*
     * Must be called before a reset of the plain store. The values that the reset discards don't come back.
     * Returns 0, or the value of result_of_errno; then there must be no reset.
     */
    apps_err_e_type before_reset();

  private:
    apps_err_e_type act(const ApplyRequest &request, ApplyAnswer &answer);
    apps_err_e_type check_free() const;
    apps_err_e_type give_up_kept();
    apps_err_e_type begin(WayBack way_back);
    void withdraw();
    apps_err_e_type commit(const ApplyRequest &request, BatchAnswer &answer);
    apps_err_e_type commit_on_trial(const std::vector<ZndbItem> &items, uint32_t seconds,
                                    BatchAnswer &answer);
    apps_err_e_type apply_as_previewed(const std::vector<ZndbItem> &items, BatchAnswer &answer);
    apps_err_e_type copy_plain(WayBack &way_back);
    apps_err_e_type keep(uint32_t seconds);
    apps_err_e_type note_restored();
    apps_err_e_type confirm();
    apps_err_e_type save_changed();
    apps_err_e_type revert_on_request();
    apps_err_e_type revert(ApplyEnd end);
    apps_err_e_type put_all_back();
    apps_err_e_type save_put_back();
    void end(ApplyEnd end);
    void change_state(ApplyState state, Clock::duration until_due);
    bool has_time_limit() const;
    bool concerns(StoreId id) const;
    uint32_t seconds_left() const;

    Database &database_;
    const Times times_;
    std::mutex mutex_; /* protects everything below; taken before the database's */
    std::condition_variable moved_;
    ApplyStage stage_;
    WayBackFile file_;
    KeptFiles kept_files_;
    WayBack way_back_;
    ApplyState state_ = ApplyState::kNone;
    ApplyEnd last_end_ = ApplyEnd::kNone;
    ApplyEnd coming_end_ = ApplyEnd::kNone; /* kReverting: what it is when it succeeds */
    bool is_put_back_ = false;              /* kReverting: only the save and the file are left */
    bool is_watched_ = true;
    Clock::time_point due_;
    uint32_t seconds_ = 0; /* kRestoring: the time limit that is to begin */
};
