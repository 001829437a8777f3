/*
 * Settings that last until the next reboot: what the save before a reboot leaves out, so that the file keeps
 * the value that it had. A save that a client asks for makes them permanent like any other setting.
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
    /* Notes what the plain file holds. To be called when the store equals the file: just read or written. */
    void note_saved(const Store &plain);

    /* Gives the settings that are set and not saved the values that the file will have. */
    void take_out(Store &plain);

    /* Sets again what was taken out; it counts as unsaved. */
    void put_back(Store &plain);

  private:
    static constexpr size_t kCount = 1;

    enum class Place {
        kStore,
        kTakenOut
    };

    struct State {
        std::optional<std::string> saved = {}; /* the file's value, if it has the key */
        Place place = Place::kStore;
    };
    std::array<State, kCount> states_; /* in the order of kSettings */
};
