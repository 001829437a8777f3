/*
 * A test that writes the file of the simulated modem. It begins without the file.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "libmal.h"
#include "support/files.h"

class SimulatedModem : public testing::Test {
  protected:
    SimulatedModem() { std::filesystem::remove_all(folder()); }

    static std::filesystem::path folder() { return std::filesystem::path(MAL_SIMULATION_FILE).parent_path(); }

    static void simulate(const std::string &content) {
        std::filesystem::create_directories(folder());
        write_file(MAL_SIMULATION_FILE, content);
    }
};
