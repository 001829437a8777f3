/*
 * Records that are kept as codec lists: each is described by one list of items, in the order in which they
 * are stored, and filled by one loop.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "frwk_utils/values/codec_list.h"

/* Bytes of an item that is a word to be understood, its NUL included. */
inline constexpr uint32_t kRecordWordSize = 32;

/* The offset of an item that no field takes as it stands. */
inline constexpr size_t kNoField = SIZE_MAX;

struct RecordItem {
    const char *failure; /* logged when the item can't be taken */
    int32_t type;        /* what the item is converted to */
    uint32_t size;       /* bytes of that */
    size_t offset;       /* of the field; kNoField keeps the item as a word */
    const char *label;   /* logged with the item once it is taken; null logs nothing */
    ItemPrivacy privacy;

    /*
     * Gives a taken item its meaning; null when the field holds it already. word: the item when no field
     * took it, else empty.
     */
    apps_err_e_type (*settle)(const char *word, void *record);
};

/*
 * Fills a record from the front of a list, which is decoded in place. A list that ends early reads as empty
 * items, and what follows the last item is left.
 *
 * call: the function that the log names. Stops at the first item that can't be taken or settled and returns
 * its result; the fields before it are filled, the others are as they were.
 */
apps_err_e_type fill_record(const char *call, const RecordItem *items, size_t count, char *list,
                            void *record);
