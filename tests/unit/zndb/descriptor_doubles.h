/*
 * Test doubles for file and folder functions that only these tests replace.
 */
#pragma once

#include <sys/stat.h>

#include "doubles/double.h"

extern doubles::Double<int(int, struct stat *)> fstat_double;
extern doubles::Double<int(const char *, const char *)> link_double;
