/*
 * The database's program as a process of its own, and a test that asks it as a module does.
 */
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "formats/device_paths.h"
#include "support/child_process.h"
#include "zndb.h"

/* While it lives, the database stays in its start hook: it takes messages, and has loaded nothing yet. */
class HeldStart {
  public:
    HeldStart();
    ~HeldStart();
    HeldStart(const HeldStart &) = delete;
    HeldStart &operator=(const HeldStart &) = delete;

  private:
    int gate_;
};

class ZndbTest : public testing::Test {
  protected:
    /* Makes the test's process a module and removes what another test left. */
    ZndbTest();

    /* Starts the database and waits until it serves. */
    void start();

    /* Starts it where its start is held, and waits until it takes messages. */
    void start_held();

    /* As start, with a shell command run before, in a mount namespace of its own. */
    void start_after(const std::string &command);

    /* Kills it with SIGKILL, and restarts it. */
    void restart();

    /* Kills it as a power cut does: what is on tmpfs is gone. */
    void cut_power();

    /* Ends it by a system message, and expects that it ends well. */
    void end_by(int32_t msgid);

    /* The same, and starts it on a device that has come up again: what was on tmpfs is gone. */
    void come_up_after(int32_t msgid);

    /* A file as the database sees it; "" if it is missing. */
    std::string file_of_zndb(const std::string &path) const;

    std::unique_ptr<ChildProcess> zndb_;
    std::vector<std::string>
        environment_; /* "NAME=value": what it is started with besides the debug channel */

  private:
    std::unique_ptr<ChildProcess> run(const std::vector<std::string> &command) const;
};

/* The value that a get finds, or "ret N". */
std::string plain(const std::string &key);
std::string perm(const std::string &key);
std::string def(const std::string &key);

/* The result of ask_zndb when there was no answer. */
inline constexpr int32_t kZndbNoAnswer = -1000;

/* Sends a request past the client. Returns the database's result, or kZndbNoAnswer. */
int32_t ask_zndb(int32_t msgid, const std::string &body);

/* The body of a set request. */
std::string set_body(const std::string &key, const std::string &value);
