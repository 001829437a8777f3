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
#include "support/folder_names.h"
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
    std::vector<std::string> names() const { return names_in(folder_.path()); }

    const TempFolder folder_;
    const UniqueFd held_{::open(folder_.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};

  private:
    size_t descriptors_before_ = 0;
};
