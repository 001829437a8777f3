/*
 * The simulated device of the fault tests: the database, modules that answer, and fake tools.
 */
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "faults/scenario.h"
#include "support/child_process.h"
#include "support/module_process.h"
#include "support/tool_folder.h"

namespace faults {

/* Module ids of the device. */
inline constexpr uint32_t kMonitor = 1;
inline constexpr uint32_t kPeer = 10;

/* A message that the modules of the device answer with their request's body. */
inline constexpr int32_t kEcho = 40000;

/* Makes the test's process a module, permanently. */
void become_module(int32_t id);

/* The test's process is a tool; removes the leftovers of earlier tests. */
class FaultyDevice : public testing::Test {
  protected:
    FaultyDevice();

    void start_database();
    void start_peers();

    ToolFolder tools_;
    std::unique_ptr<ChildProcess> zndb_;
    std::unique_ptr<ModuleProcess> monitor_;
    std::unique_ptr<ModuleProcess> peer_;
};

/* Writes a file and the folders above it. */
void put_text(const std::string &path, const std::string &text);

/* The decrypted bytes of a file, using a copy; "" if it is not encrypted. */
std::string deciphered(const std::string &path, const std::string &copy);

/* The value of the plain or the perm store; "" if it is missing. */
std::string stored(const std::string &key);
std::string stored_perm(const std::string &key);

}  // namespace faults
