/*
 * A double of ftruncate, which only these tests stand in for.
 */
#pragma once

#include <sys/types.h>

#include "doubles/double.h"

extern doubles::Double<int(int, off_t)> truncate_double;
