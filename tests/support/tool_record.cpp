#include "support/tool_record.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

std::string first_line_of(const std::string &command) {
    FILE *output = popen((command + " 2>&1").c_str(), "re");
    char line[256] = "";
    EXPECT_NE(nullptr, fgets(line, sizeof(line), output)) << command;
    pclose(output);
    const std::string text = line;
    return text.substr(0, text.find('\n'));
}

}  // namespace

void record_tool_version(const std::string &use, const std::string &tool, const std::string &version) {
    const char *path = getenv("QUOR_TOOLS_TRIED");
    if (path == nullptr || testing::Test::HasFailure()) {
        return;
    }
    const std::string line = use + "\t" + tool + "\t" + version + "\n";
    const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << path;
    EXPECT_EQ(static_cast<ssize_t>(line.size()), write(fd, line.data(), line.size()));
    close(fd);
}

void record_tool(const std::string &use, const std::string &tool, const std::string &version_command) {
    record_tool_version(use, tool, first_line_of(version_command));
}
