/*
 * Doubles of what is asked of files and folders, which only these tests stand in for.
 */
#pragma once

#include <sys/stat.h>

#include "doubles/double.h"

extern doubles::Double<int(int, struct stat *)> fstat_double;
extern doubles::Double<int(const char *, const char *)> link_double;
