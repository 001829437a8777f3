/*
 * The service's view in shared memory: all settings, for clients that read them without a request. Keeps the
 * file up to date, replaces it when it is too small, and tells its readers. Without memory for it, or when a
 * journal needs its room, there is no file, and clients ask the service.
 *
 * One thread at a time: the database calls it with its lock held.
 */
#pragma once

#include <optional>
#include <string>

#include "change_observer.h"
#include "formats/zndb_view_writer.h"
#include "owner_mark.h"
#include "support/mapped_file.h"
#include "view_access.h"

class ViewFile : public ChangeObserver {
  public:
    /*
     * mark: notes in the file when the process ends; null if nobody has to know. Where the kernel can't do
     * that, no file is made.
     */
    ViewFile(std::string path, ViewAccess access, OwnerMark *mark);
    ~ViewFile() override;

    /* Replaces the file of an earlier service, whose serial goes on. */
    void began(const Contents &contents) override;

    void changed(const Changes &changes) override;

    bool free_room() override;

    /* Without it, those who watch would hear of the last changes only with the next one. */
    void retry() override;

  private:
    struct Made {
        MappedFile memory;
        std::optional<view::Writer> writer;
        dev_t device = 0;
        ino_t number = 0;
    };

    static bool write(view::Writer &writer, const JournalRecord &change);
    bool update(const Changes &changes);
    bool end_is_noted() const;
    bool is_too_large() const;
    bool is_lost();
    template <typename Fill>
    int make(size_t keys, size_t records, Fill fill);
    int make_larger(const Changes &changes);
    int make_smaller();
    int make_anew();
    int settle(int fd, Made &made) const;
    void replace(Made made);
    MappedFile predecessor() const;
    void give_up(int error);

    const std::string path_;
    const ViewAccess access_;
    OwnerMark *const mark_;
    const uint32_t instance_;
    std::optional<Contents> contents_;
    Made present_;
    uint32_t serial_ = 0; /* the last one that readers may have seen */
    uint32_t looked_at_ = 0;
};
