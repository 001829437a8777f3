/*
 * Tools answer in the language of the module's environment. What is read for fixed words, or handed on to
 * somebody who reads it so, is asked for untranslated; the text of the command stays as it is.
 */
#pragma once

#include <cstdint>

#include "internal/optional_calls.h"

/*
 * The calling thread's commands answer untranslated until the end of the scope, or, with a base library that
 * doesn't know how, in the language that the module has.
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
