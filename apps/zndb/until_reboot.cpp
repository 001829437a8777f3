#include "until_reboot.h"

#include <iterator>

namespace {

/* Only this value of the key lasts until the reboot; any other one is saved. */
struct Setting {
    const char *key;
    const char *value;
};

constexpr Setting kSettings[] = {
    /* For a permanent debug mode a marker file makes the next start set the key again. */
    {"device_debug_mode", "true"},
};

bool is_unsaved(const Store &plain, const Setting &setting) {
    const std::string *value = plain.find(setting.key);
    return value != nullptr && *value == setting.value && plain.changes().count(setting.key) != 0;
}

}  // namespace

void UntilReboot::note_saved(const Store &plain) {
    static_assert(std::size(kSettings) == kCount);
    for (size_t i = 0; i < kCount; ++i) {
        const std::string *value = plain.find(kSettings[i].key);
        states_[i].saved = value != nullptr ? std::optional(*value) : std::nullopt;
    }
}

void UntilReboot::take_out(Store &plain) {
    for (size_t i = 0; i < kCount; ++i) {
        State &state = states_[i];
        state.taken_out = is_unsaved(plain, kSettings[i]);
        if (state.taken_out) {
            const bool file_keeps_it = state.saved.has_value() && !plain.cleared();
            plain.revert(kSettings[i].key, file_keeps_it ? &*state.saved : nullptr);
        }
    }
}

void UntilReboot::put_back(Store &plain) {
    for (size_t i = 0; i < kCount; ++i) {
        State &state = states_[i];
        if (state.taken_out) {
            plain.set(kSettings[i].key, kSettings[i].value);
            plain.suspect(kSettings[i].key); /* keeps the key's records in the journal */
            state.taken_out = false;
        }
    }
}
