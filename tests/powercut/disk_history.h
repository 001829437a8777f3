/*
 * What a call did to the disk, step by step, and what a power cut may leave of it.
 *
 * The model: what was written to a file is safe once the file was synced; until then it may be there, or not,
 * or torn, and so may be each state that it went through; of a file that was only cut the other bytes stay.
 * Names that were made, moved or removed in a folder are safe once the folder was synced; until then the last
 * ones may be lost, in their order, whatever became of the contents and of the names in other folders. So a
 * new name can show an unwritten file.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "powercut/disk_image.h"

namespace powercut {

/* Makes the call and records what it does to the folders. One at a time; the calling thread's work counts. */
class DiskHistory {
  public:
    DiskHistory(std::vector<std::string> folders, const std::function<void()> &call);

    /* Every disk that a power cut may leave during the call or directly after it, each once. */
    std::vector<DiskImage> during() const;

    /* The same for a power cut when the call has returned. */
    std::vector<DiskImage> afterwards() const;

    const std::vector<std::string> &folders() const { return folders_; }
    size_t steps() const { return steps_.size(); }

  private:
    struct Step {
        enum class Kind {
            kChange,
            kSyncFile,
            kSyncFolder,
            kSyncAll
        };
        Kind kind;
        uint64_t file;      /* of kSyncFile */
        std::string folder; /* of kSyncFolder */
        DiskImage image;    /* after the step */
    };

    friend class Recorder;
    friend class Volatile;

    std::vector<std::string> folders_;
    DiskImage before_;
    std::vector<Step> steps_;
};

}  // namespace powercut
