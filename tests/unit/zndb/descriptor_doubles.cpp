#include "unit/zndb/descriptor_doubles.h"

extern "C" {

int __real_fstat64(int fd, struct stat *info);
int __real_link(const char *from, const char *to);

}  // extern "C"

doubles::Double<int(int, struct stat *)> fstat_double(__real_fstat64);
doubles::Double<int(const char *, const char *)> link_double(__real_link);

extern "C" {

int __wrap_fstat64(int fd, struct stat *info) {
    return fstat_double(fd, info);
}

int __wrap_link(const char *from, const char *to) {
    return link_double(from, to);
}

}  // extern "C"
