/*
 * Texts for the conversion test: most look like numbers, many lie at the limits of a type. One seed always
 * gives the same texts, on every host.
 */
#pragma once

#include <cstdint>
#include <random>
#include <string>

class TextGenerator {
  public:
    explicit TextGenerator(uint64_t seed) : random_(seed) {}

    /* Never with a NUL in it. */
    std::string next();

  private:
    size_t below(size_t count) { return static_cast<size_t>(random_() % count); }
    char one_of(const std::string &characters) { return characters[below(characters.size())]; }
    std::string several_of(const std::string &characters, size_t most);

    std::string dressed(const std::string &number);
    std::string near_a_limit();
    std::string whole_number();
    std::string real_number();
    std::string spelled_number();
    std::string long_number();
    std::string jumble();

    std::mt19937_64 random_;
};
