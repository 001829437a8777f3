/*
 * Batches: a body that grows item by item, and the request that sends it.
 */
#include <algorithm>
#include <cstring>
#include <new>

#include "database_call.h"
#include "formats/zndb_batch_wire.h"
#include "internal/frwk_log.h"
#include "internal/plain_block.h"
#include "support/owned_block.h"
#include "zndb_ext.h"

struct zndb_batch {
    OwnedBlock body;
    size_t room = 0; /* bytes of the block */
    size_t size = 0; /* bytes of the items */
    uint32_t count = 0;
};

namespace {

constexpr size_t kFirstRoom = 256;

bool is_store(zndb_store store) {
    return static_cast<unsigned>(store) <= ZNDB_STORE_FACTORY;
}

/* Returns false without memory; then the batch is unchanged. */
bool make_room(zndb_batch &batch, size_t size) {
    if (size <= batch.room) {
        return true;
    }
    const size_t room = std::max({kFirstRoom, 2 * batch.room, size});
    OwnedBlock larger(plain_block(room));
    if (!larger) {
        return false;
    }
    if (batch.size > 0) {
        std::memcpy(larger.get(), batch.body.get(), batch.size);
    }
    batch.body = std::move(larger);
    batch.room = room;
    return true;
}

int append(LogName caller, zndb_batch &batch, const ZndbItem &item) {
    if (batch.count == ZNDB_BATCH_MAX) {
        FRWK_WARN(caller, "the batch is full: it has %d items", ZNDB_BATCH_MAX);
        return E_ZNDB_RET_VALUE_LEN;
    }
    const size_t size = batch.size + item_size(item);
    if (!make_room(batch, size)) {
        FRWK_WARN(caller, "no memory for a batch of %zu bytes", size);
        return E_ZNDB_RET_FAILURE;
    }
    write_item(bytes_of(batch.body) + batch.size, item);
    batch.size = size;
    ++batch.count;
    return E_ZNDB_RET_SUCCESS;
}

int check_store(LogName caller, zndb_store store) {
    if (!is_store(store)) {
        FRWK_WARN(caller, "store %d is unknown", static_cast<int>(store));
        return E_ZNDB_RET_FAILURE;
    }
    return E_ZNDB_RET_SUCCESS;
}

/* Checks what every item has. */
int check_item(LogName caller, bool all_given, zndb_store store, const char *key) {
    if (all_given) {
        const int ret = check_store(caller, store);
        if (ret != E_ZNDB_RET_SUCCESS) {
            return ret;
        }
    }
    return zndb::check_arguments(caller, all_given, key);
}

/* Adds an item without a value. */
int add_key(LogName caller, ItemKind kind, zndb_batch *batch, zndb_store store, const char *key) {
    const int ret = check_item(caller, batch != nullptr && key != nullptr, store, key);
    return ret != E_ZNDB_RET_SUCCESS ? ret
                                     : append(caller, *batch, {kind, static_cast<StoreId>(store), key, {}});
}

/* Adds an item with a value. */
int add_value(LogName caller, ItemKind kind, zndb_batch *batch, zndb_store store, const char *key,
              const char *value) {
    const bool all_given = batch != nullptr && key != nullptr && value != nullptr;
    int ret = check_item(caller, all_given, store, key);
    if (ret == E_ZNDB_RET_SUCCESS) {
        ret = zndb::check_value(caller, value);
    }
    return ret != E_ZNDB_RET_SUCCESS
               ? ret
               : append(caller, *batch, {kind, static_cast<StoreId>(store), key, value});
}

int expect(LogName caller, zndb_batch *batch, zndb_store store, const char *key, const char *value) {
    return value == nullptr ? add_key(caller, ItemKind::kExpectMissing, batch, store, key)
                            : add_value(caller, ItemKind::kExpect, batch, store, key, value);
}

/* A conflict is an ordinary answer, as a missing key is to a get. */
int outcome(LogName caller, int32_t result, const BatchAnswer &answer) {
    if (answer.verdict == E_ZNDB_RET_CONFLICT) {
        FRWK_DEBUG(caller, "expectation %u does not hold", answer.item);
        return E_ZNDB_RET_CONFLICT;
    }
    const int ret = zndb::plain_outcome(caller, result);
    return answer.verdict == E_ZNDB_RET_REFUSED ? E_ZNDB_RET_REFUSED : ret;
}

int send_batch(LogName caller, const zndb_batch &batch) {
    BatchAnswer answer = {E_ZNDB_RET_FAILURE, kNoItem};
    int32_t result = 0;
    const int ret = zndb::send_request(
        {caller, kZndbBatchMessage, batch.body.get(), batch.size, &answer, sizeof(answer)}, &result);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }
    return result == E_APPS_ERR_SUCCESS ? E_ZNDB_RET_SUCCESS : outcome(caller, result, answer);
}

}  // namespace

static_assert(static_cast<int>(StoreId::kPlain) == ZNDB_STORE_PLAIN);
static_assert(static_cast<int>(StoreId::kPerm) == ZNDB_STORE_PERM);
static_assert(static_cast<int>(StoreId::kFactory) == ZNDB_STORE_FACTORY);

zndb_batch *zndb_batch_new(void) {
    void *block = os_mem_malloc(sizeof(zndb_batch));
    if (block == nullptr) {
        FRWK_WARN(__func__, "no memory for a batch");
        return nullptr;
    }
    return new (block) zndb_batch;
}

int zndb_batch_set(zndb_batch *batch, zndb_store store, const char *key, const char *value) {
    return add_value(__func__, ItemKind::kSet, batch, store, key, value);
}

int zndb_batch_delete(zndb_batch *batch, zndb_store store, const char *key) {
    return add_key(__func__, ItemKind::kDelete, batch, store, key);
}

int zndb_batch_expect(zndb_batch *batch, zndb_store store, const char *key, const char *value) {
    return expect(__func__, batch, store, key, value);
}

int zndb_batch_apply(zndb_batch *batch) {
    if (batch == nullptr) {
        FRWK_WARN(__func__, "Parameter error!");
        return E_ZNDB_RET_FAILURE;
    }
    if (batch->count == 0) {
        return E_ZNDB_RET_SUCCESS;
    }
    const int ret = send_batch(__func__, *batch);
    if (ret == E_ZNDB_RET_SUCCESS) {
        batch->count = 0;
        batch->size = 0;
    }
    return ret;
}

void zndb_batch_free(zndb_batch *batch) {
    if (batch != nullptr) {
        batch->~zndb_batch();
        os_mem_free(batch);
    }
}

int zndb_compare_and_set(zndb_store store, const char *key, const char *expected, const char *value) {
    zndb_batch batch;
    int ret = expect(__func__, &batch, store, key, expected);
    if (ret == E_ZNDB_RET_SUCCESS) {
        ret = add_value(__func__, ItemKind::kSet, &batch, store, key, value);
    }
    return ret != E_ZNDB_RET_SUCCESS ? ret : send_batch(__func__, batch);
}
