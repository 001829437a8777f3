#include "unit/base/secret_doubles.h"

extern "C" {

ssize_t __real_getrandom(void *, size_t, unsigned);
void __real_sodium_memzero(void *, size_t);

}  // extern "C"

namespace doubles::secrets {

Double<ssize_t(void *, size_t, unsigned)> getrandom(__real_getrandom);
Double<void(void *, size_t)> sodium_memzero(__real_sodium_memzero);

}  // namespace doubles::secrets

extern "C" {

ssize_t __wrap_getrandom(void *a, size_t b, unsigned c) {
    return doubles::secrets::getrandom(a, b, c);
}

void __wrap_sodium_memzero(void *a, size_t b) {
    doubles::secrets::sodium_memzero(a, b);
}

}  // extern "C"
