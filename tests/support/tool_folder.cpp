#include "support/tool_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/wait_until.h"

namespace {

/* Not in a folder that some tests take away. */
const char kFolder[] = "/m_data/usr/tools";

}  // namespace

ToolFolder::ToolFolder() : path_before_(getenv("PATH")) {
    EXPECT_EQ(0, mkdir(kFolder, 0755));
    setenv("PATH", (std::string(kFolder) + ":" + path_before_).c_str(), 1);
}

ToolFolder::~ToolFolder() {
    setenv("PATH", path_before_.c_str(), 1);
    std::filesystem::remove_all(kFolder);
}

void ToolFolder::put_script(const std::string &name, const std::string &body) const {
    const std::string path = std::string(kFolder) + "/" + name;
    EXPECT_TRUE(write_text(path, "#!/bin/sh\n" + body + "\n"));
    EXPECT_EQ(0, chmod(path.c_str(), 0755));
}

void ToolFolder::put_link(const std::string &name, const std::string &program) const {
    EXPECT_EQ(0, symlink(program.c_str(), (std::string(kFolder) + "/" + name).c_str()));
}

void ToolFolder::hide_others() const {
    setenv("PATH", kFolder, 1);
}
