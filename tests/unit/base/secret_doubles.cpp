#include "unit/base/secret_doubles.h"

extern "C" {

void __real_sodium_memzero(void *, size_t);

}  // extern "C"

namespace doubles::secrets {

Double<void(void *, size_t)> sodium_memzero(__real_sodium_memzero);

}  // namespace doubles::secrets

extern "C" {

void __wrap_sodium_memzero(void *a, size_t b) {
    doubles::secrets::sodium_memzero(a, b);
}

}  // extern "C"
