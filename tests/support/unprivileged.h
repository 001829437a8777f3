/*
 * Drops root's right to bypass file modes, which a test's user may have.
 */
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>

/* While the object exists, file modes apply to this thread. */
class ModesHold {
  public:
    ModesHold() {
        (void)::syscall(SYS_capget, &header_, before_);
        __user_cap_data_struct without[2] = {before_[0], before_[1]};
        without[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        (void)::syscall(SYS_capset, &header_, without);
    }
    ~ModesHold() { (void)::syscall(SYS_capset, &header_, before_); }
    ModesHold(const ModesHold &) = delete;
    ModesHold &operator=(const ModesHold &) = delete;

  private:
    __user_cap_header_struct header_ = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct before_[2] = {};
};

/* The prefix, with a blank at its end, of a shell command that must be subject to file modes. */
inline std::string modes_hold() {
    return ::geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search -- " : "";
}
