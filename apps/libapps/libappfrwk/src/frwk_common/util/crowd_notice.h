/*
 * Decides when to log a count that stays small in a healthy module.
 */
#pragma once

#include <atomic>
#include <cstdint>

/*
 * Requests a log line when the count reaches kFirst, and again at 10, 100 and so on times that. The same
 * number is requested again only after the count fell below half of it, so that a count that varies around it
 * is logged once. Any thread. An object whose bytes are all zero is in the initial state.
 */
template <uint32_t kFirst>
class CrowdNotice {
  public:
    /* The count of the next log line. */
    uint32_t next() const { return after(said_.load(std::memory_order_relaxed)); }

    /* Tells the object that the count has grown. Returns whether to log it. */
    bool grown_to(uint32_t count) {
        uint32_t said = said_.load(std::memory_order_relaxed);
        return count >= after(said) && said_.compare_exchange_strong(said, after(said));
    }

    /* Tells the object that the count has fallen. */
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

    std::atomic<uint32_t> said_{0}; /* the last logged number; 0 for none */
};
