#include "system/tools/tool_checks.h"

#include <gtest/gtest.h>

#include <filesystem>

void forget_module(const std::string &name) {
    std::filesystem::remove("/tmp/m_tmp/ipc/" + name);
}

ToolEnd ToolChecks::run(std::vector<std::string> words, const std::string &input) const {
    words.insert(words.begin(), name_);
    return run_tool(words, input);
}

std::string ToolChecks::output_of(const std::vector<std::string> &words, const std::string &input) const {
    const ToolEnd end = run(words, input);
    EXPECT_EQ(0, end.status) << end.errors;
    EXPECT_EQ("", end.errors);
    return end.output;
}

void ToolChecks::expect_failure(int status, const std::string &complaint,
                                const std::vector<std::string> &words, const std::string &input) const {
    const ToolEnd end = run(words, input);
    EXPECT_EQ(status, end.status);
    EXPECT_EQ(name_ + ": " + complaint + "\n", end.errors);
    EXPECT_EQ("", end.output);
}

void ToolChecks::expect_usage(const std::string &complaint, const std::vector<std::string> &words) const {
    const ToolEnd end = run(words);
    EXPECT_EQ(2, end.status);
    EXPECT_EQ(0u, end.errors.find(name_ + ": " + complaint + "\n")) << end.errors;
    EXPECT_NE(std::string::npos, end.errors.find("--help'\n")) << end.errors;
}
