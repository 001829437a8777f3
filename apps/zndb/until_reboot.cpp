#include "until_reboot.h"

#include <iterator>

#include "formats/debug_marker.h"

namespace {

/* Only this value of the key lasts until the reboot; any other one is saved. */
struct Setting {
    const char *key;
    const char *value;
};

constexpr Setting kSettings[] = {
    /* A device that keeps its debug mode has a marker file, by which the next start sets the key again. */
    {kDebugModeKey, "true"},
};

bool is_unsaved(const Store &plain, const Setting &setting) {
    const std::string *value = plain.find(setting.key);
    return value != nullptr && *value == setting.value && plain.changes().count(setting.key) != 0;
}

}  // namespace

void UntilReboot::note_written(const Store &plain) {
    static_assert(std::size(kSettings) == kCount);
    for (size_t i = 0; i < kCount; ++i) {
        const std::string *value = plain.find(kSettings[i].key);
        states_[i].written = value != nullptr ? std::optional(*value) : std::nullopt;
    }
}

void UntilReboot::note_saved() {
    for (State &state : states_) {
        state.saved = state.written;
    }
}

void UntilReboot::take_out(Store &plain) {
    for (size_t i = 0; i < kCount; ++i) {
        State &state = states_[i];
        state.place = is_unsaved(plain, kSettings[i]) ? Place::kTakenOut : Place::kStore;
        if (state.place == Place::kTakenOut) {
            const bool file_keeps_it = state.saved.has_value() && plain.basis() != Basis::kNothing;
            plain.revert(kSettings[i].key, file_keeps_it ? &*state.saved : nullptr);
        }
    }
}

void UntilReboot::put_back(Store &plain) {
    for (size_t i = 0; i < kCount; ++i) {
        State &state = states_[i];
        if (state.place == Place::kTakenOut) {
            plain.set(kSettings[i].key, kSettings[i].value);
            plain.assume_in_file(kSettings[i].key); /* no record of the journal is forgotten for it */
            state.place = Place::kStore;
        }
    }
}
