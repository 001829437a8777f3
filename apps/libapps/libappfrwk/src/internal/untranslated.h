/*
 * Tools print in the language of the module's environment. Output that somebody searches for fixed words must
 * be untranslated; the command's text must not change for that.
 */
#pragma once

#include <cstdint>

#include "internal/optional_calls.h"

/*
 * Until the end of the scope, the calling thread's commands print untranslated output. With a base library
 * without this function, they print in the module's language.
 */
class Untranslated {
  public:
    Untranslated() : before_(set(1)) {}
    ~Untranslated() { set(before_); }
    Untranslated(const Untranslated &) = delete;
    Untranslated &operator=(const Untranslated &) = delete;

  private:
    static int32_t set(int32_t on) {
        return os_command_untranslated != nullptr ? os_command_untranslated(on) : 0;
    }

    const int32_t before_;
};
