#include "simulation_file.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "libmal.h"
#include "support/unique_fd.h"

namespace {

/* Reads a line; skips the part that doesn't fit, so that it is not read as another line. */
bool read_line(std::FILE *file, char *line, size_t size) {
    int next = std::fgetc(file);
    if (next == EOF) {
        return false;
    }
    size_t length = 0;
    for (; next != EOF && next != '\n'; next = std::fgetc(file)) {
        if (length + 1 < size) {
            line[length++] = static_cast<char>(next);
        }
    }
    line[length] = '\0';
    return true;
}

/* Returns the value if the line has this key, else null. */
const char *value_of(const char *line, const char *key) {
    const size_t length = std::strlen(key);
    return std::strncmp(line, key, length) == 0 && line[length] == '=' ? line + length + 1 : nullptr;
}

}  // namespace

SimulatedValue::SimulatedValue(const char *key) {
    const UniqueFile file(std::fopen(MAL_SIMULATION_FILE, "re"));
    char line[128];
    while (!known_ && file && read_line(file.get(), line, sizeof(line))) {
        const char *value = value_of(line, key);
        if (value != nullptr) {
            const size_t length = std::min(std::strcspn(value, "\r"), kSimulationValueMax);
            std::memcpy(text_, value, length);
            known_ = true;
        }
    }
}

int SimulatedValue::number() const {
    return static_cast<int>(std::clamp<long long>(std::strtoll(text_, nullptr, 10), INT_MIN, INT_MAX));
}
