/*
 * States of the processors, as tests compare them.
 */
#pragma once

#include <ostream>

#include "frwk_common.h"

/* The fill value of a record, which shows the members that are not written. */
inline constexpr frwk_cpustate kUntouchedState = {7777, 7777, 7777, 7777, 7777};

inline bool operator==(const frwk_cpustate &a, const frwk_cpustate &b) {
    return a.usr == b.usr && a.nic == b.nic && a.sys == b.sys && a.idle == b.idle && a.usage == b.usage;
}

inline std::ostream &operator<<(std::ostream &out, const frwk_cpustate &state) {
    return out << "usr " << state.usr << " nic " << state.nic << " sys " << state.sys << " idle "
               << state.idle << " usage " << state.usage;
}
