/*
 * When a count that stays small in a healthy module is worth a line in the log.
 */
#pragma once

#include <atomic>
#include <cstdint>

/*
 * Asks for a line when the count reaches kFirst, and again at each tenfold of that. A number is asked for
 * once more only after the count fell below half of it, so that one that goes up and down around it is told
 * of once. Any thread. All bytes zero is an object that has asked for nothing.
 */
template <uint32_t kFirst>
class CrowdNotice {
  public:
    /* The count at which the next line is due. */
    uint32_t next() const { return after(said_.load(std::memory_order_relaxed)); }

    /* The count has grown to this. Returns whether that is worth a line. */
    bool grown_to(uint32_t count) {
        uint32_t said = said_.load(std::memory_order_relaxed);
        return count >= after(said) && said_.compare_exchange_strong(said, after(said));
    }

    /* The count has fallen to this. */
    void fallen_to(uint32_t count) {
        uint32_t said = said_.load(std::memory_order_relaxed);
        while (said != 0 && count < said / 2) {
            (void)said_.compare_exchange_strong(said, said > kFirst ? said / kStep : 0);
            said = said_.load(std::memory_order_relaxed);
        }
    }

  private:
    static constexpr uint32_t kStep = 10;

    static uint32_t after(uint32_t said) {
        if (said == 0) {
            return kFirst;
        }
        return said > UINT32_MAX / kStep ? UINT32_MAX : said * kStep;
    }

    std::atomic<uint32_t> said_{0}; /* the last number that was asked for; 0 for none */
};
