/*
 * A shared library that is loaded while the program runs, with all its symbols bound at once.
 */
#pragma once

#include <string>

class LoadedLibrary {
  public:
    /* path: without a slash, the loader searches its folders. */
    explicit LoadedLibrary(const std::string &path);
    ~LoadedLibrary();

    LoadedLibrary(const LoadedLibrary &) = delete;
    LoadedLibrary &operator=(const LoadedLibrary &) = delete;

    /* Why it could not be loaded, in the loader's words; "" if it was. */
    const std::string &problem() const { return problem_; }

    /* The address of a symbol of the library or of those that it needs; null if none has it. */
    void *address(const char *name) const;

    /* The bytes of a variable; 0 if the symbol is missing or is no variable. */
    size_t variable_size(const char *name) const;

  private:
    void *handle_;
    std::string problem_;
};
