/*
 * What leads back from settings that are not confirmed yet, as a text. The first line names the format, the
 * last one has the number of lines before it, which shows that the text is complete:
 *
 *   zndb way-back 1
 *   <P+key=value      what goes back: the journal's line of each change
 *   >P-key            what was applied to the key of the line before
 *   =3
 *
 * Between the first line and the changes there may be words, a line each: "kept" for values that stay until
 * somebody reverts, "whole" if the plain store loses all other keys, "reset" if the plain store was reset
 * since, and "files" with a sign for each file that was copied: "+" for a copy, "-" for a missing file.
 *
 * Pure; does not access files.
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/batch_text.h"
#include "formats/journal_record.h"

/* A key before and after a change; none: it was missing, or is. */
struct KeyChange {
    StoreId store;
    std::string key;
    std::optional<std::string> before;
    std::optional<std::string> after;
};

struct WayBack {
    bool is_kept = false;         /* without a time limit: a start of the service doesn't revert it */
    bool is_whole = false;        /* before is the complete plain store */
    bool plain_was_reset = false; /* of the plain store only keys that still have their new value go back */
    std::string files = {};       /* the signs */
    std::vector<KeyChange> changes = {};
};

/* The most changes, and the longest text of them. */
inline constexpr size_t kWayBackChangesMax = kStoreKeysMax;
inline constexpr size_t kWayBackTextMax = kWayBackChangesMax * 2 * (kRecordLineMax + 2) + 128;

/* Returns the text. The texts of the changes must be such as a line can hold. */
std::string format_way_back(const WayBack &way_back);

/*
 * Reads a text.
 * way_back: receives it; undefined on failure.
 * Returns false for a text that is incomplete or malformed.
 */
bool parse_way_back(std::string_view text, WayBack &way_back);
