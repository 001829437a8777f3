/*
 * A double of what is asked of an open file, which only these tests stand in for.
 */
#pragma once

#include <sys/stat.h>

#include "doubles/double.h"

extern doubles::Double<int(int, struct stat *)> fstat_double;
