#include "unit/zndb/descriptor_doubles.h"

extern "C" {

int __real_fstat64(int fd, struct stat *info);

}  // extern "C"

doubles::Double<int(int, struct stat *)> fstat_double(__real_fstat64);

extern "C" {

int __wrap_fstat64(int fd, struct stat *info) {
    return fstat_double(fd, info);
}

}  // extern "C"
