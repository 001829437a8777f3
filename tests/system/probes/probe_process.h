/*
 * A module that asks one probe, in a process of its own, and the tools that it finds.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"

class ProbeTest : public testing::Test {
  protected:
    /* An empty folder for tools, before all others on the path. */
    ProbeTest();

    /* Puts an applet of busybox before the tool of that name. */
    void use_busybox(const std::string &tool);

    /* Puts a shell script before the tool of that name. */
    void use_script(const std::string &tool, const std::string &script);

    /* Leaves nothing on the path but the shell's own commands and the folder for tools. */
    void hide_tools() { path_ = kTools; }

    /* Asks a probe: the line that it answered, and in errors_ what it logged. It ends by itself. */
    std::string ask(const std::vector<std::string> &probe);

    /* The same after a shell command, in a mount namespace of its own. */
    std::string ask_after(const std::string &command, const std::vector<std::string> &probe);

    std::string errors_;

  private:
    static constexpr char kTools[] = "/tmp/m_tmp/tools";

    std::string answer(const std::vector<std::string> &command);

    std::string path_;
};

/* The numbers of a line. */
std::vector<long long> numbers_of(const std::string &line);
