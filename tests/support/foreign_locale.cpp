#include "support/foreign_locale.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <clocale>
#include <cstdlib>

ForeignLocale::ForeignLocale() {
    setenv("LOCPATH", FOREIGN_LOCALE_FOLDER, 1);
    EXPECT_NE(nullptr, setlocale(LC_ALL, FOREIGN_LOCALE)) << FOREIGN_LOCALE_FOLDER;
    EXPECT_STREQ(",", localeconv()->decimal_point);
    EXPECT_NE(0, strcasecmp("I", "i"));
}

ForeignLocale::~ForeignLocale() {
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}
