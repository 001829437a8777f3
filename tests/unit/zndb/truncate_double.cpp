#include "unit/zndb/truncate_double.h"

extern "C" int __real_ftruncate64(int fd, off_t size);

doubles::Double<int(int, off_t)> truncate_double(__real_ftruncate64);

extern "C" int __wrap_ftruncate64(int fd, off_t size) {
    return truncate_double(fd, size);
}
