/*
 * The service's view of all settings, as this process has mapped it. Any thread; a forked child uses the maps
 * of its parent.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <utility>

#include "formats/zndb_view_reader.h"

namespace zndb_view {

struct Map;

/* A map that stays while this object lives. */
class Pinned {
  public:
    Pinned() = default;
    explicit Pinned(Map *map) : map_(map) {}
    ~Pinned();
    Pinned(const Pinned &) = delete;
    Pinned &operator=(const Pinned &) = delete;
    Pinned(Pinned &&other) noexcept : map_(std::exchange(other.map_, nullptr)) {}
    Pinned &operator=(Pinned &&) = delete;

    explicit operator bool() const { return map_ != nullptr; }
    const view::Reader &reader() const;

  private:
    friend Pinned pin();

    Map *map_ = nullptr;
};

/*
 * Returns the present view; nothing if this process may not read or trust it. Without a system
 * call as long as the view has not been replaced and its service lives.
 */
Pinned pin();

}  // namespace zndb_view
