/*
 * The settings that a module keeps in the database, and who was alive meanwhile.
 */
#pragma once

#include <cstdint>

#include "soak_board.h"

namespace soak {

/* This module's part of the board. */
Module &own();

/* Tells whether a module served all the time since this was made. */
class Liveness {
  public:
    explicit Liveness(uint32_t module);

    bool lived() const;
    uint32_t module() const { return module_; }
    uint32_t generation() const { return generation_; }

  private:
    uint32_t module_;
    uint32_t generation_;
};

/* Reads one of the module's settings and compares. */
void get_setting(uint32_t key);

/* Sets one to the value of a step, or reads whether an earlier set of it was done. */
void change_setting(uint32_t key, uint64_t number);

void save_settings();

/*
 * Sets all settings of all modules, which stand still, to the greatest length: from then on the database has
 * all the memory that it needs.
 */
void fill_settings(Board &board);

/* Whether a get of a module's setting returned one of its valid values. */
bool is_possible(const Board &board, uint32_t module, uint32_t key, int ret, const char *value);

}  // namespace soak
