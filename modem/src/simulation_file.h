/*
 * The file that a simulated modem answers from. Knows its lines, not what the keys mean.
 */
#pragma once

#include <cstddef>

/* The longest value that is read, in characters; the rest of a longer one is cut off. */
inline constexpr size_t kSimulationValueMax = 63;

/* The value of one key, as the file had it when the object was made. */
class SimulatedValue {
  public:
    explicit SimulatedValue(const char *key);

    /* Whether the file could be read and has a line for the key. */
    bool known() const { return known_; }

    /* NUL-terminated; "" when not known. */
    const char *text() const { return text_; }

    /* The decimal number that the text begins with, 0 for none; nearest where it doesn't fit. */
    int number() const;

  private:
    bool known_ = false;
    char text_[kSimulationValueMax + 1] = {};
};
