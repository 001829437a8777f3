/*
 * An operation of a run: what a client asks for, or what happens to the service, its files and the power.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/settings_state.h"

namespace model {

enum class Kind {
    /* asked for by a client */
    kSet,
    kDelete,
    kGet,
    kGetDefault,
    kViewGet,
    kList,
    kListPages, /* the smallest that there are */
    kBatch,
    kCompareAndSet,
    kReset,
    kSave,
    kSaveFactory,
    kSaveRam,
    kPowerOffNotice,
    kLanguage,
    kSerial,
    kWatch, /* the first begins to watch, the others compare what was told with what is */
    /* asked for by all clients at once */
    kStorm,
    /* what happens to the service */
    kKill,
    kEnd, /* by message `number`, or SIGTERM for 0 */
    kPowerCut,
    kDamageJournal,
    kDamageFile,
    kRefuseWrites,
    kAllowWrites
};

enum class ItemKind {
    kSet,
    kDelete,
    kExpect,
    kExpectMissing,
    kSave /* in a storm */
};

/* A part of a batch, or one request of a storm. */
struct Item {
    ItemKind kind;
    Store store;
    std::string key = {};
    std::string value = {};
    uint32_t client = 0; /* in a storm */
};

/* What goes wrong during an operation, at the service's `step`th step that changes a file. */
struct Trouble {
    enum class Way {
        kNone,
        kFails, /* with error */
        kDies   /* before the step, or in the middle of a write */
    };

    Way way = Way::kNone;
    uint32_t step = 0;
    int error = 0;
};

struct Operation {
    Kind kind;
    uint32_t client = 0;
    Store store = Store::kPlain;
    std::string key = {}; /* or a prefix, or a language */
    Value value = {};     /* of a compare-and-set: the expected one */
    std::string successor = {};
    std::vector<Item> items = {};
    uint32_t number = 0; /* a message, a place, or a way to damage or cut */
    int error = 0;       /* of refused writes */
    Trouble trouble = {};
};

/* What an operation gave. */
struct Outcome {
    int result = 0;                      /* of the call */
    std::vector<std::string> words = {}; /* what was read */
    bool disturbed = false;              /* a step of the service failed */
};

/* The result of a call without an answer: E_ZNDB_RET_IPC. */
inline constexpr int kNoAnswer = 2;

std::string describe(const Operation &operation);
std::string describe(const Outcome &outcome);

}  // namespace model
