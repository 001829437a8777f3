/*
 * A locale that differs from "C" in what a program's own texts rely on.
 */
#pragma once

/*
 * The process's locale is that of Turkey until the end of the scope: "," is the decimal point, and the small
 * letter of "I" is not "i". The build compiles this locale; the machine needs none but "C". One object at a
 * time.
 */
class ForeignLocale {
  public:
    ForeignLocale();
    ~ForeignLocale();
    ForeignLocale(const ForeignLocale &) = delete;
    ForeignLocale &operator=(const ForeignLocale &) = delete;
};
