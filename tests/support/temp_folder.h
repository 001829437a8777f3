/*
 * A folder for a test's files; the destructor removes it.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class TempFolder {
  public:
    TempFolder() : path_(testing::TempDir() + "quor_unit_base.XXXXXX") {
        EXPECT_NE(nullptr, mkdtemp(path_.data()));
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    std::string path(const std::string &name = "") const { return path_ + "/" + name; }

    /* Creates a file and returns its path. */
    std::string file(const std::string &name, const std::string &content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

  private:
    std::string path_;
};
