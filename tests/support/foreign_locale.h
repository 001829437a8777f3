/*
 * A locale that differs from "C" in decimal point and case conversion.
 */
#pragma once

/*
 * Sets the Turkish locale until the end of the scope: "," is the decimal point, and the lower case of "I" is
 * not "i". The build compiles this locale; the machine needs only "C". One object at a time.
 */
class ForeignLocale {
  public:
    ForeignLocale();
    ~ForeignLocale();
    ForeignLocale(const ForeignLocale &) = delete;
    ForeignLocale &operator=(const ForeignLocale &) = delete;
};
