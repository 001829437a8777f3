#include "log/log_period.h"

#include "log/log_time.h"

bool LogPeriod::takes(const std::string &time) {
    if (!is_limited()) {
        return true;
    }
    if (const std::optional<std::time_t> at = time_of_line(time, now_)) {
        last_ = (!since_ || *at >= *since_) && (!until_ || *at <= *until_);
    }
    return last_;
}
