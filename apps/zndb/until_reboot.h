/*
 * Settings that last until the next reboot. The save before a reboot leaves them out, so that the file keeps
 * its old value. A save that a client requests makes them permanent like any other setting.
 *
 * To add one, add a row to kSettings in until_reboot.cpp. One thread at a time.
 */
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "store.h"

class UntilReboot {
  public:
    /* Records the values that the plain file has if it has those of the store. */
    void note_written(const Store &plain);

    /* The file is there: has been read, or was written. */
    void note_saved();

    /* Replaces the unsaved values of these settings by the values that the file will have. */
    void take_out(Store &plain);

    /* Sets the values again that take_out has replaced; they count as unsaved. */
    void put_back(Store &plain);

  private:
    static constexpr size_t kCount = 1;

    enum class Place {
        kStore,
        kTakenOut
    };

    struct State {
        std::optional<std::string> written = {}; /* what the last save wrote, whether it ended well or not */
        std::optional<std::string> saved = {};   /* the file's value, if it has the key */
        Place place = Place::kStore;
    };
    std::array<State, kCount> states_; /* in the order of kSettings */
};
