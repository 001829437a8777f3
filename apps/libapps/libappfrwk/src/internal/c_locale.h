/*
 * The "C" locale for numbers with a fraction: their point is "." in every file and message, whatever locale
 * the module has set.
 */
#pragma once

#include <locale.h>

/*
 * Gives the calling thread the "C" locale until the end of the scope; other threads keep theirs. glibc and
 * musl have this locale built in: asking for it takes no memory and can't fail.
 */
class CLocale {
  public:
    CLocale() : c_(::newlocale(LC_ALL_MASK, "C", nullptr)), before_(::uselocale(c_)) {}
    ~CLocale() {
        (void)::uselocale(before_);
        if (c_ != locale_t{}) { /* another C library may have had no memory for it */
            ::freelocale(c_);
        }
    }
    CLocale(const CLocale &) = delete;
    CLocale &operator=(const CLocale &) = delete;

  private:
    const locale_t c_;
    const locale_t before_;
};
