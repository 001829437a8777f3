/*
 * The files that a module's start-up reads, for a test that lays them out.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>

class DeviceFiles : public testing::Test {
  protected:
    /* Removes the files, and traces of earlier modules, before and after the test. */
    DeviceFiles() { remove_all(); }
    ~DeviceFiles() override { remove_all(); }

    static void write_config(const std::string &text);
    static void write_startup_list(const std::string &text);

    /* The start hook, as a shell script with these lines. */
    static void write_start_hook(const std::string &lines);

  private:
    static void remove_all();
};
