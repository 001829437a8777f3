/*
 * The words for a boolean. Pure functions; any thread.
 */
#include "frwk_utils/values/bool_text.h"

#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "support/letter_case.h"

namespace {

constexpr const char *kTrueWords[] = {"1", "on", "yes", "true", "enable"};
constexpr const char *kFalseWords[] = {"0", "no", "off", "false", "disable", ""};

struct BoolStyle {
    int32_t style;
    const char *true_word;
    const char *false_word;
};

constexpr BoolStyle kStyles[] = {
    {FRWK_BOOL_STYLE_ON_OFF, "on", "off"},
    {FRWK_BOOL_STYLE_YES_NO, "yes", "no"},
    {FRWK_BOOL_STYLE_TRUE_FALSE, "true", "false"},
    {FRWK_BOOL_STYLE_ENABLE_DISABLE, "enable", "disable"},
};
constexpr BoolStyle kDigits = {0, "1", "0"};

const BoolStyle &style_of(int32_t style) {
    for (const BoolStyle &each : kStyles) {
        if (each.style == style) {
            return each;
        }
    }
    return kDigits;
}

template <size_t kCount>
bool is_one_of(const char *const (&words)[kCount], const char *text) {
    for (const char *word : words) {
        if (same_ignoring_case(word, text)) {
            return true;
        }
    }
    return false;
}

}  // namespace

const char *frwk_bool_to_str(int32_t style, int32_t value) {
    const BoolStyle &words = style_of(style);
    return value != 0 ? words.true_word : words.false_word;
}

bool read_bool_word(const char *text, uint8_t *out) {
    const char *word = text != nullptr ? text : ""; /* an empty setting means off */
    const bool value = is_one_of(kTrueWords, word);
    if (!value && !is_one_of(kFalseWords, word)) {
        FRWK_DEBUG(log_name::kStrToBool, "invalid bool value=%s!", word);
        return false;
    }
    if (out != nullptr) {
        *out = value ? 1 : 0;
    }
    return true;
}

int32_t frwk_str_to_bool(const char *text, uint8_t *out) {
    if (!read_bool_word(text, out)) {
        FRWK_WARN(__func__, "the text is no word for a boolean!");
        return 0;
    }
    return 1;
}
