/*
 * A word of shared memory in which the kernel notes that this process has ended, whatever ended it. Uses the
 * list of robust futexes of one thread, which may hold no robust mutex of the C library.
 */
#pragma once

#include <linux/futex.h>

#include <cstdint>

class OwnerMark {
  public:
    OwnerMark() = default;
    OwnerMark(const OwnerMark &) = delete;
    OwnerMark &operator=(const OwnerMark &) = delete;

    /*
     * Called first, by a thread that lives as long as the process. The mark must live as long. If the kernel
     * can't do it, no word is marked.
     */
    void begin();

    /* Whether the kernel notes the end of the process. */
    bool is_available() const { return thread_ != 0; }

    /* Chooses the word, instead of the last one. Only one thread at a time; the word must stay mapped. */
    void move_to(uint32_t *word);

    /* No word is marked. */
    void forget();

  private:
    robust_list_head head_ = {};
    robust_list entry_ = {};
    uint32_t thread_ = 0;
};

/* The bit of the word that the kernel sets. */
inline constexpr uint32_t kOwnerEnded = FUTEX_OWNER_DIED;
