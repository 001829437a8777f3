#include "formats/module_flags.h"

#include <cstring>

namespace {

struct Word {
    const char *text;
    uint32_t bit;
};

constexpr size_t kPrefixLength = sizeof("FRWK_FLAG_") - 1;

constexpr Word kWords[] = {
    {"FRWK_FLAG_DAEMON", FRWK_FLAG_DAEMON},     {"FRWK_FLAG_MONITORED", FRWK_FLAG_MONITORED},
    {"FRWK_FLAG_RUN", FRWK_FLAG_RUN},           {"FRWK_FLAG_BLOCK", FRWK_FLAG_BLOCK},
    {"FRWK_FLAG_MPSS", FRWK_FLAG_MPSS},         {"FRWK_FLAG_ADMIN", FRWK_FLAG_ADMIN},
    {"FRWK_FLAG_POWEROFF", FRWK_FLAG_POWEROFF}, {"FRWK_FLAG_PRESTART", FRWK_FLAG_PRESTART},
    {"FRWK_FLAG_EXTERNAL", FRWK_FLAG_EXTERNAL}, {"FRWK_FLAG_PSEUDO", FRWK_FLAG_PSEUDO},
};

}  // namespace

uint32_t flags_in(const char *text) {
    uint32_t flags = 0;
    for (const Word &word : kWords) {
        if (std::strstr(text, word.text) != nullptr) {
            flags |= word.bit;
        }
    }
    return flags;
}

uint32_t flag_bit(std::string_view word) {
    for (const Word &known : kWords) {
        if (word == known.text) {
            return known.bit;
        }
    }
    return 0;
}

const char *flag_name(uint32_t bit) {
    for (const Word &word : kWords) {
        if (word.bit == bit) {
            return word.text + kPrefixLength;
        }
    }
    return nullptr;
}
