#include "support/foreign_locale.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cstdlib>

/* The C library never frees its copy of LOCPATH; the leak sanitizer asks for what to pass over. */
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions() {
    return "leak:argz_add_sep";
}

ForeignLocale::ForeignLocale() {
    setenv("LOCPATH", FOREIGN_LOCALE_FOLDER, 1);
    EXPECT_NE(nullptr, setlocale(LC_ALL, FOREIGN_LOCALE)) << FOREIGN_LOCALE_FOLDER;
    EXPECT_STREQ(",", localeconv()->decimal_point);
    EXPECT_NE('i', std::tolower('I')); /* strcasecmp of a sanitizer knows no locale */
}

ForeignLocale::~ForeignLocale() {
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}
