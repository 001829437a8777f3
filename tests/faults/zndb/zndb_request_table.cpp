#include "faults/zndb/zndb_request_table.h"

#include "formats/device_paths.h"
#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"
#include "support/checked_file.h"

namespace faults {

namespace {

using paths::kBatchFile;
using paths::kFactoryFile;
using paths::kPermFile;
using paths::kPlainFile;

const std::string kMissing = "result 2001";

/* The files with another journal. */
Files with_journal(const std::string &text) {
    return with_journals(all_files(), text);
}

/* Those of a device that has never saved anything. */
Files without_stores() {
    Files files = all_files();
    for (const char *path : {kPlainFile, kPermFile, kFactoryFile}) {
        files.erase(path);
    }
    return files;
}

/* More than a journal may be before it is shortened. */
std::string overgrown_journal() {
    std::string text;
    while (text.size() <= kJournalSmall) {
        text += "P+other=" + std::string(1000, 'o') + "\n";
    }
    return text + "P+answered=j\nM+answered=j\nF+answered=j\n";
}

/* Those of a device that has saved more than once. */
Files with_previous_files() {
    Files files = all_files();
    for (const char *path : {kPlainFile, kPermFile}) {
        files[std::string(path) + paths::kPreviousSuffix] = saved_file("key=older\n", 1);
    }
    return files;
}

const std::string kPlainRead = "kept=p\nkey=old\n" + long_lines() + "shared=p\n";
const std::string kPlainSaved = "answered=j\nkept=p\nkey=old\n" + long_lines() + "shared=p\n";
const std::string kPermSaved = "answered=j\nkept=m\nkey=old\n";
const std::string kFactorySaved = "answered=j\nfactory=f\nshared=f\n";

/* The same request under other circumstances. */
ZndbRequest on(const Files &files, ZndbRequest request) {
    request.files = files;
    return request;
}

ZndbRequest beside(const Files &unfinished, ZndbRequest request) {
    request.unfinished = unfinished;
    return request;
}

ZndbRequest late(ZndbRequest request, const char *journal = paths::kPlainJournal) {
    request.late_journal = journal;
    request.refusals.push_back(E_APPS_ERR_ZNDB_READ_ONLY); /* its rights can't be narrowed */
    return request;
}

/* With a malformed line in the plain file. */
ZndbRequest damaged(ZndbRequest request) {
    request.files[kPlainFile] += "rubbish\n";
    request.damaged = true;
    return request;
}

ZndbRequest without_memory(ZndbRequest request) {
    request.takes_memory = false;
    return request;
}

/* ---- Requests ------------------------------------------------------------------------------------- */

ZndbRequest set(const char *name) {
    return {name, E_APPS_MSG_ZNDB_SET, "key", "hidden", {{"plain key", "hidden"}}};
}

ZndbRequest del(const char *name) {
    return {name, E_APPS_MSG_ZNDB_DEL, "shared", "", {{"plain shared", "f"}}};
}

ZndbRequest batch(const char *name) {
    return {
        name,
        kZndbBatchMessage,
        "key",
        "hidden",
        {{"plain key", "hidden"}, {"perm key", "hidden"}, {"default key", "hidden"}, {"plain shared", "f"}}};
}

/* With the batch of a service that was killed. */
ZndbRequest after_batch(ZndbRequest request) {
    request.files[kBatchFile] = "P+other=b\nM-kept\n=2\n";
    request.refusals.push_back(E_APPS_ERR_ZNDB_READ_ONLY);
    return request;
}

ZndbRequest reset(const char *name) {
    return {name,
            E_APPS_MSG_ZNDB_RESET,
            "",
            "",
            {{"plain kept", kMissing},
             {"plain key", kMissing},
             {"plain long10", kMissing},
             {"plain long27", kMissing},
             {"plain shared", "f"}}};
}

ZndbRequest save(const char *name) {
    return {name, E_APPS_MSG_ZNDB_SAVE, "", "", {}, {{kPlainFile, kPlainSaved}, {kPermFile, kPermSaved}}};
}

ZndbRequest save_of(const char *name, const Files &saved) {
    return {name, E_APPS_MSG_ZNDB_SAVE, "", "", {}, saved};
}

ZndbRequest factory_save(const char *name) {
    return {name, E_APPS_MSG_ZNDB_FACTOR_SAVE, "", "", {}, {{kFactoryFile, kFactorySaved}}};
}

ZndbRequest power_off(const char *name) {
    return {name, E_APPS_MSG_MONITOR_FPWROFF_NOTIFY,
            "",   "",
            {},   {{kPlainFile, kPlainSaved}, {kPermFile, kPermSaved}, {kFactoryFile, kFactorySaved}}};
}

ZndbRequest save_ram(const char *name) {
    return {name, E_APPS_MSG_ZNDB_SAVE_RAM};
}

ZndbRequest get(const char *name, apps_message_id_e_type msgid, const char *key) {
    return {name, msgid, key};
}

}  // namespace

std::vector<ZndbRequest> zndb_changes() {
    return {
        set("zndb: set, plain"),
        {"zndb: set, perm", E_APPS_MSG_ZNDB_SET_PERM, "key", "hidden", {{"perm key", "hidden"}}},
        {"zndb: set, overlay", E_APPS_MSG_ZNDB_FACTOR_SET, "key", "hidden", {{"default key", "hidden"}}},
        {"zndb: set, a new key", E_APPS_MSG_ZNDB_SET, "other", "hidden", {{"plain other", "hidden"}}},
        on(with_journal("P+answered=j\nM+answered=j\nF+answered=j\nP+key=ha"),
           set("zndb: set, torn journal")),
        on(with_journal(overgrown_journal()), set("zndb: set, overgrown journal")),
        late(set("zndb: set, journal opened late")),
        del("zndb: delete, plain"),
        {"zndb: delete, perm", E_APPS_MSG_ZNDB_DEL_PERM, "kept", "", {{"perm kept", kMissing}}},
        late(del("zndb: delete, journal opened late")),
        batch("zndb: batch"),
        on(without_stores(), {"zndb: batch, no file",
                              kZndbBatchMessage,
                              "key",
                              "hidden",
                              {{"plain key", "hidden"}, {"perm key", "hidden"}, {"default key", "hidden"}}}),
        on(with_journal(overgrown_journal()), batch("zndb: batch, overgrown journal")),
        late(batch("zndb: batch, journal opened late")),
        after_batch(late(set("zndb: set, after a batch, journal opened late"))),
        reset("zndb: reset"),
        beside(leftovers(), reset("zndb: reset, beside leftovers")),
        on(with_previous_files(), reset("zndb: reset, a previous file")),
        on(without_stores(),
           {"zndb: reset, no file", E_APPS_MSG_ZNDB_RESET, "", "", {{"plain answered", "j"}}}),
        late(reset("zndb: reset, journal opened late")),
    };
}

std::vector<ZndbRequest> zndb_saves() {
    return {
        save("zndb: save"),
        on(with_journal("P+answered=j\n"), save_of("zndb: save, plain alone", {{kPlainFile, kPlainSaved}})),
        on(with_journal("M+answered=j\nM-deleted\n"),
           save_of("zndb: save, perm alone", {{kPermFile, kPermSaved}})),
        on(with_journal("P!\nP+key=1\n"), save_of("zndb: save, after a reset", {{kPlainFile, "key=1\n"}})),
        without_memory(on(with_journal(""), save_of("zndb: save, no change", {}))),
        on(without_stores(),
           save_of("zndb: save, the first", {{kPlainFile, "answered=j\n"}, {kPermFile, "answered=j\n"}})),
        beside(leftovers(), save("zndb: save, beside leftovers")),
        on(with_previous_files(), save("zndb: save, previous files")),
        late(save("zndb: save, journal opened late")),
        damaged(save("zndb: save, a damaged file")),
        damaged(on(with_journal(""), save_of("zndb: save, nothing but damage", {{kPlainFile, kPlainRead}}))),
    };
}

std::vector<ZndbRequest> zndb_other_saves() {
    return {
        factory_save("zndb: factory save"),
        on(without_stores(), {"zndb: factory save, the first",
                              E_APPS_MSG_ZNDB_FACTOR_SAVE,
                              "",
                              "",
                              {},
                              {{kFactoryFile, "answered=j\n"}}}),
        beside(leftovers(), factory_save("zndb: factory save, beside leftovers")),
        late(factory_save("zndb: factory save, journal opened late"), paths::kFactoryJournal),
        power_off("zndb: power-off notice"),
        late(power_off("zndb: power-off notice, journal opened late")),
        save_ram("zndb: save-ram"),
        beside(leftovers(), save_ram("zndb: save-ram, beside leftovers")),
        late(save_ram("zndb: save-ram, journal opened late")),
    };
}

std::vector<ZndbRequest> zndb_readings() {
    return {
        without_memory(get("zndb: get, plain", E_APPS_MSG_ZNDB_GET, "key")),
        without_memory(get("zndb: get, perm", E_APPS_MSG_ZNDB_GET_PERM, "key")),
        without_memory(get("zndb: get, default", E_APPS_MSG_ZNDB_GET_DEF, "image")),
        get("zndb: list", kZndbListMessage, "ke"),
    };
}

/* Without its journal the service answers from the files, which lack the key. */
ZndbRequest zndb_late_reading() {
    ZndbRequest reading = late(get("zndb: get, journal opened late", E_APPS_MSG_ZNDB_GET, "answered"));
    reading.refusals = {E_APPS_ERR_ZNDB_NO_FOUND};
    return reading;
}

}  // namespace faults
