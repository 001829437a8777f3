/*
 * A module that asks one probe, in a separate process, with the tools that the test gives it.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/tool_folder.h"

class ProbeTest : public testing::Test {
  protected:
    /* Sets the locale of the module that asks. */
    void set_locale(const std::string &name) { environment_[0] = "LC_ALL=" + name; }

    /* Puts an applet of busybox before the tool of that name. */
    void use_busybox(const std::string &tool) { tools_.put_link(tool, "/usr/bin/busybox"); }

    /* Asks a probe: the line that it answered, and in errors_ what it logged. It ends by itself. */
    std::string ask(const std::vector<std::string> &probe);

    /* The same after a shell command, in a mount namespace of its own. */
    std::string ask_after(const std::string &command, const std::vector<std::string> &probe);

    const ToolFolder tools_;
    std::string errors_;

  private:
    std::string answer(const std::vector<std::string> &command);

    std::vector<std::string> environment_ = {"LC_ALL=C", "QUOR_DEBUG=1"};
};

/* A command whose first line contains busybox's version, for the table of tools. */
inline constexpr char kBusyboxVersion[] = "busybox | sed 's, multi-call binary.,,'";

/* The numbers of a line. */
std::vector<long long> numbers_of(const std::string &line);
