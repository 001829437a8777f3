/*
 * What a command prints, at most 255 bytes.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "os_process.h"

inline std::string output_of(const std::string &command) {
    FILE *stream = os_popen(command.c_str(), "r");
    char text[256] = "";
    const size_t length = fread(text, 1, sizeof(text) - 1, stream);
    EXPECT_EQ(0, os_pclose(stream));
    return {text, length};
}
