/*
 * A device whose folders another user has been at.
 */
#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>
#include <vector>

#include "support/file_info.h"
#include "support/shared_memory.h"

/* The kinds of nodes that an attacker puts in the place of a file, socket or folder. */
enum class Plant {
    kFile,       /* one that all may read and write, with a text */
    kLink,       /* to the victim */
    kPipe,       /* which all may read and write */
    kFolder,     /* with nothing in it */
    kFullFolder, /* with a file in it, which rmdir(2) refuses */
    kSocket      /* that nobody listens on */
};

inline const std::vector<Plant> kAllPlants = {Plant::kFile,   Plant::kLink,       Plant::kPipe,
                                              Plant::kFolder, Plant::kFullFolder, Plant::kSocket};

/* For a failed test's message. */
const char *name_of(Plant plant);

/* A file of the device's own that a link may lead to. */
inline constexpr char kVictim[] = "/m_data/usr/victim";
inline constexpr char kPrecious[] = "precious";

/* Puts the victim there, and removes what earlier tests left in /tmp/m_tmp. */
void clean_device();

/* Makes a folder that everybody may write to. */
void open_to_all(const std::string &folder);

/* Puts something there as the other user. text: that of a file. */
void plant(Plant what, const std::string &path, const std::string &text = "planted");

/* Incremented by all processes of a test. */
using SharedCount = SharedMemory<std::atomic<unsigned long>>;

/* Sets the umask until the end of the scope. */
class Umask {
  public:
    explicit Umask(mode_t mask);
    ~Umask();
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;

  private:
    const mode_t before_;
};
