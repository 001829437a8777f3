/*
 * A fixture for files in a folder that is held open: no test leaves a descriptor open.
 */
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "support/open_descriptors.h"
#include "support/temp_folder.h"
#include "support/unique_fd.h"

class HeldFolderTest : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        descriptors_before_ = open_descriptors();
    }

    void TearDown() override {
        FaultsTest::TearDown();
        EXPECT_EQ(descriptors_before_, open_descriptors());
    }

    /* The names in the folder, sorted. */
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(folder_.path())) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const TempFolder folder_;
    const UniqueFd held_{::open(folder_.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};

  private:
    int descriptors_before_ = 0;
};
