/*
 * What a power cut leaves of the settings' folders. The service on trial notes what it has synced; a run
 * replaces the folders by that.
 *
 * Bytes are safe once their file was synced, names once their folder was. What is not synced is lost, or all
 * of it is there, or only the names are: a name can show a file without its bytes.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace model {

/* What a power cut leaves of that which was not synced. */
enum class Unsynced : uint32_t {
    kLost,
    kNamesOnly,
    kThere
};

/* Notes that a file or folder is safe as it is now. */
void note_synced(int fd);

/* Forgets the notes and takes all that is there as safe. */
void begin_shadow();

/* The bytes of a file, if a power cut leaves the same whatever it does to the unsynced; "" for no file. */
std::optional<std::string> settled_text(const std::string &path);

/* Changes the folders to what the power cut leaves of them, and begins anew. */
void leave_after_power_cut(Unsynced unsynced);

}  // namespace model
