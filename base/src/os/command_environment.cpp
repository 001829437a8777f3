/*
 * The environment of a command. It is built for each command, since the process may change its own.
 */
#include "command_environment.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "command_scope.h"
#include "os_process.h"
#include "tool_path.h"

namespace {

constexpr char kLocale[] = "LC_ALL=";
constexpr char kCLocale[] = "LC_ALL=C";
constexpr char kPath[] = "PATH=";
constexpr size_t kPathLength = sizeof(kPath) - 1;

/* The path, the locale, the mark, and the terminating null. */
constexpr size_t kOwnEntries = 4;

thread_local bool g_untranslated = false;

size_t count_entries() {
    size_t count = 0;
    while (environ != nullptr && environ[count] != nullptr) {
        ++count;
    }
    return count;
}

bool begins_with(const char *entry, const char *name) {
    return strncmp(entry, name, strlen(name)) == 0;
}

/* Whether the library replaces an entry with its own. */
bool is_replaced(const char *entry) {
    return begins_with(entry, kPath) || (g_untranslated && begins_with(entry, kLocale));
}

/* Room for the entries, and after them for the bytes of the path. */
char **allocate(size_t entries, size_t bytes) {
    return static_cast<char **>(calloc(1, entries * sizeof(char *) + bytes));
}

}  // namespace

void FreeEnvironment::operator()(char **entries) const {
    free(entries);
}

std::unique_ptr<char *, FreeEnvironment> command_environment() {
    const size_t count = count_entries();
    const char *path = getenv("PATH");
    std::unique_ptr<char *, FreeEnvironment> entries(
        allocate(count + kOwnEntries, kPathLength + safe_path_size(path)));
    if (!entries) {
        return nullptr;
    }

    char *own_path = reinterpret_cast<char *>(entries.get() + count + kOwnEntries);
    memcpy(own_path, kPath, kPathLength);
    write_safe_path(path, own_path + kPathLength);

    char **next = std::remove_copy_if(environ, environ + count, entries.get(), is_replaced);
    *next++ = own_path;
    if (g_untranslated) {
        *next++ = const_cast<char *>(kCLocale); /* posix_spawn only reads it */
    }
    *next = command_mark();
    return entries;
}

int32_t os_command_untranslated(int32_t on) {
    const bool before = g_untranslated;
    g_untranslated = on != 0;
    return before ? 1 : 0;
}
