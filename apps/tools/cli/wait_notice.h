/*
 * The notice that a tool prints while it waits for a module.
 */
#pragma once

#include <cstdint>

/*
 * While the object exists, the tool waits for a module's answer without a limit. The wait is reported on
 * standard error after 5, 10, 20 seconds and so on. For the main thread, one object at a time.
 */
class WaitNotice {
  public:
    explicit WaitNotice(uint32_t module);
    ~WaitNotice();
    WaitNotice(const WaitNotice &) = delete;
    WaitNotice &operator=(const WaitNotice &) = delete;
};
