/*
 * What is said about settings on trial. Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "zndb_tool/store_apply.h"

/* After an apply and after a restore: until when it must be confirmed, and how. */
std::string trial_notice(size_t settings, uint32_t seconds);
std::string restore_notice(uint32_t seconds);

/* Why an apply, a confirmation or the begin of a restore was refused; "" for the hint of the code. */
std::string apply_hint(const ApplyOutcome &outcome, const std::vector<ZndbItem> &items);
std::string confirm_hint(const ApplyOutcome &outcome);
std::string keep_hint(const ApplyOutcome &outcome);
