/*
 * Reads values from the file of the simulated modem. Does not interpret them.
 */
#pragma once

#include <cstddef>

/* The longest value, in characters; a longer one is truncated. */
inline constexpr size_t kSimulationValueMax = 63;

/* The value of one key, read when the object is constructed. */
class SimulatedValue {
  public:
    explicit SimulatedValue(const char *key);

    /* Whether the file could be read and has a line for the key. */
    bool known() const { return known_; }

    /* NUL-terminated; "" if not known. */
    const char *text() const { return text_; }

    /* The decimal number at the beginning of the text; 0 without digits; clamped to the range of int. */
    int number() const;

  private:
    bool known_ = false;
    char text_[kSimulationValueMax + 1] = {};
};
