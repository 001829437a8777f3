/*
 * A request to the database service as a scenario.
 */
#pragma once

#include <string>
#include <vector>

#include "faults/scenario.h"
#include "faults/zndb/zndb_world.h"

namespace faults {

struct ZndbRequest {
    const char *name;
    apps_message_id_e_type msgid;
    std::string key = {};
    std::string value = {};

    Answers changes = {}; /* what is answered otherwise once it is done */
    Files saved = {};     /* the files that it replaces, and their new texts */

    Files files = all_files();     /* before it */
    Files unfinished = {};         /* beside them */
    std::string late_journal = {}; /* the service could not open the journal when it started */
    bool damaged = false;          /* the plain file has a damaged line, and is kept once it is replaced */
    bool takes_memory = true;
    std::vector<long> refusals = {E_APPS_ERR_NOSPACE, E_APPS_ERR_ZNDB_OTHER};
};

inline constexpr char kCutMeanwhile[] = "a file that ends early has been cut meanwhile";

/* A scenario whose runs start with these files, and in which a flaw fails the test. */
Scenario with_files(const char *name, const Files &files);

/*
 * Additional checks for a run in which a call fails:
 *
 * - a refusal has the code of its cause, and is logged without the value;
 * - answers are the old ones after a refusal, the new ones after success, and the same after a crash;
 * - a file is the old one or the new one, byte by byte, and the new one after success, except a perm file
 * whose failure is logged; no other file is changed;
 * - nothing half-written is left;
 * - a damaged file is kept once when it was replaced, and only then;
 * - the same service carries out the repeated request, and another one.
 */
Scenario faulty(const ZndbRequest &request);

/*
 * The same for a service that ends without memory: the answers of its successor, and the files, are the old
 * or the new ones.
 */
Scenario starved(const ZndbRequest &request);

}  // namespace faults
