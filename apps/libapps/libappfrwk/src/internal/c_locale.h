/*
 * The "C" locale for real numbers: the decimal point is "." in every file and message, whatever the module's
 * locale.
 */
#pragma once

#include <locale.h>

/*
 * Sets the "C" locale for the calling thread until the end of the scope. In glibc and musl this locale is
 * built in: it needs no memory and can't fail.
 */
class CLocale {
  public:
    CLocale() : c_(::newlocale(LC_ALL_MASK, "C", nullptr)), before_(::uselocale(c_)) {}
    ~CLocale() {
        (void)::uselocale(before_);
        if (c_ != locale_t{}) { /* another C library may fail without memory */
            ::freelocale(c_);
        }
    }
    CLocale(const CLocale &) = delete;
    CLocale &operator=(const CLocale &) = delete;

  private:
    const locale_t c_;
    const locale_t before_;
};
