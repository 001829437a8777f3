/*
 * The environment of a command, put together anew for each: the process may have changed its own.
 */
#include "command_environment.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "command_scope.h"
#include "os_process.h"

namespace {

constexpr char kLocale[] = "LC_ALL=";
constexpr char kCLocale[] = "LC_ALL=C";

/* The mark, the locale, and the end. */
constexpr size_t kOwnEntries = 3;

thread_local bool g_untranslated = false;

size_t count_entries() {
    size_t count = 0;
    while (environ != nullptr && environ[count] != nullptr) {
        ++count;
    }
    return count;
}

bool sets_locale(const char *entry) {
    return strncmp(entry, kLocale, sizeof(kLocale) - 1) == 0;
}

/* Copies what stays of the process's own entries. Returns where they end. */
char **copy_entries(size_t count, char **to) {
    return std::copy_if(environ, environ + count, to,
                        [](const char *entry) { return !g_untranslated || !sets_locale(entry); });
}

}  // namespace

void FreeEnvironment::operator()(char **entries) const {
    free(entries);
}

std::unique_ptr<char *, FreeEnvironment> command_environment() {
    const size_t count = count_entries();
    std::unique_ptr<char *, FreeEnvironment> entries(
        static_cast<char **>(calloc(count + kOwnEntries, sizeof(char *))));
    if (!entries) {
        return nullptr;
    }
    char **next = copy_entries(count, entries.get());
    if (g_untranslated) {
        *next++ = const_cast<char *>(kCLocale); /* who starts a process only reads it */
    }
    *next = command_mark();
    return entries;
}

int32_t os_command_untranslated(int32_t on) {
    const bool before = g_untranslated;
    g_untranslated = on != 0;
    return before ? 1 : 0;
}
