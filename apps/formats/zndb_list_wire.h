/*
 * The list request of the configuration database, message 2101: one page of a store's keys. docs/zndb.md
 * describes it.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "apps_message.h"
#include "formats/zndb_item.h"

/* Not one of the named message identifiers: only the client, the tools and the service know it. */
inline constexpr apps_message_id_e_type kZndbListMessage = 2101;

/* What is listed. */
enum class Listed : uint32_t {
    kValues, /* the keys that the store itself has */
    kUnsaved /* the keys that have changed since the last save, with their value or as deleted */
};

/* The body of a request. */
struct zndb_list_request {
    uint32_t store;            /* a StoreId */
    uint32_t listed;           /* a Listed */
    char prefix[ZNDB_KEY_LEN]; /* of the keys; NUL-terminated, the rest is zero */
    char after[ZNDB_KEY_LEN];  /* the page begins with the first key greater than this one; as prefix */
};

static_assert(sizeof(zndb_list_request) == 72);
static_assert(offsetof(zndb_list_request, prefix) == 8);
static_assert(offsetof(zndb_list_request, after) == 40);

/* The same, read or to be written; the texts are borrowed. */
struct ListRequest {
    StoreId store;
    Listed listed;
    std::string_view prefix; /* at most 31 bytes, as after */
    std::string_view after;
};

zndb_list_request list_body(const ListRequest &request);

/*
 * Reads the body of a list request.
 * request: receives it, its texts point into body; unchanged on failure.
 * Returns false for a body of another size, without a NUL in a text, or with an unknown word.
 */
bool read_list_body(const void *body, int32_t size, ListRequest &request);

/* The head of an answer, before its items. */
struct zndb_list_head {
    uint32_t count; /* items that follow */
    uint32_t flags;
};

static_assert(sizeof(zndb_list_head) == 8);
static_assert(offsetof(zndb_list_head, flags) == 4);

inline constexpr uint32_t kListGoesOn = 1;  /* there are further keys after the last one */
inline constexpr uint32_t kListEmptied = 2; /* of changes: the store was reset before them */

/* The smallest answer that always has room for an item. */
inline constexpr size_t kListPageMin = sizeof(zndb_list_head) + kItemSizeMax;

/* Writes a page into an answer's buffer. */
class ListPage {
  public:
    /* size: kListPageMin or more. */
    ListPage(void *buffer, size_t size);

    /* Appends an item; returns false if it doesn't fit, and marks the page as one that goes on. */
    bool add(const ZndbItem &item);

    /* Adds to the flags. */
    void mark(uint32_t flag);

  private:
    void write_head();

    unsigned char *const buffer_;
    const size_t size_;
    size_t used_ = sizeof(zndb_list_head);
    zndb_list_head head_ = {0, 0};
};

/* Reads a page. */
class ListedPage {
  public:
    /* bytes: the complete buffer of the answer; outlives this. */
    ListedPage(const void *bytes, size_t size);

    /*
     * Reads the next item. Returns false after the last one, and for an item that is malformed or of another
     * kind than a list has.
     */
    bool next(ZndbItem &item);

    /* Whether all items were read; if not, the page is malformed. */
    bool at_end() const { return left_ == 0; }

    bool goes_on() const { return (flags_ & kListGoesOn) != 0; }
    bool emptied() const { return (flags_ & kListEmptied) != 0; }

  private:
    ZndbItems items_;
    uint32_t left_ = 0;
    uint32_t flags_ = 0;
};
