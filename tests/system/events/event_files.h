/*
 * The subscriptions as they lie in files.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

/* The file of the event that the tests use, "link". */
inline constexpr char kEventFile[] = "/m_data/usr/subscribe/link";
inline constexpr char kEventLock[] = "/tmp/m_tmp/lock/subscribe";

/* A test that starts with a folder of subscriptions and nothing in it. */
class EventFiles : public testing::Test {
  protected:
    EventFiles();
};

/* The lines of the event's file. What is no line, since its end is missing, fails the test. */
std::vector<std::string> subscribers();
