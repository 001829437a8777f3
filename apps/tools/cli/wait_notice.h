/*
 * What a tool says while a module keeps it waiting.
 */
#pragma once

#include <cstdint>

/*
 * While it lives, the tool waits for a module's answer, which may take without limit. It says so on standard
 * error after 5 seconds, and each time that this has doubled. For the main thread, one at a time.
 */
class WaitNotice {
  public:
    explicit WaitNotice(uint32_t module);
    ~WaitNotice();
    WaitNotice(const WaitNotice &) = delete;
    WaitNotice &operator=(const WaitNotice &) = delete;
};
