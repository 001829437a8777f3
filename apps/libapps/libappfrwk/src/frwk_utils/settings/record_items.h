/*
 * Records that are stored as codec lists. A table describes the items of a record in the order in which they
 * are stored, and fill_record reads them.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "frwk_utils/values/codec_list.h"
#include "internal/log_name.h"

/* The size of an item that is a word to be converted, including its NUL. */
inline constexpr uint32_t kRecordWordSize = 32;

/* The offset of an item that is not stored directly in a field. */
inline constexpr size_t kNoField = SIZE_MAX;

struct RecordItem {
    const char *failure; /* logged if the item can't be read */
    int32_t type;        /* what the item is converted to */
    uint32_t size;       /* size of the converted item in bytes */
    size_t offset;       /* offset of the field; kNoField: the item is passed to settle as a word */
    const char *label;   /* logged with the item after it was read; null logs nothing */
    ItemPrivacy privacy;

    /*
     * Interprets the item; null if the field needs no interpretation. word: the item if it has no field, else
     * empty.
     */
    apps_err_e_type (*settle)(const char *word, void *record);
};

/*
 * Fills a record from the beginning of a list, which is decoded in place. Missing items count as empty; the
 * text after the last item is not read.
 *
 * caller: the function name in the log lines. Stops at the first item that can't be read or interpreted, and
 * returns its result; the fields before it are filled, the others are unchanged.
 */
apps_err_e_type fill_record(LogName caller, const RecordItem *items, size_t count, char *list, void *record);
