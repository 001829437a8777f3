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

    Files files = all_files(); /* before it */
    Files unfinished = {};     /* beside them */
    bool late_journal = false; /* the service could not open the journal when it started */
    bool damaged = false;      /* the plain file has a damaged line, and is kept once it is replaced */
    bool takes_memory = true;
    std::vector<long> refusals = {E_APPS_ERR_NOSPACE, E_APPS_ERR_ZNDB_OTHER};
};

inline constexpr char kCutMeanwhile[] = "a file that ends early has been cut meanwhile";

/* A scenario whose runs begin with these files, and in which a flaw is what fails the test. */
Scenario with_files(const char *name, const Files &files);

/*
 * Of a run in which a call fails it is asked, beside what every scenario asks:
 *
 * - a refusal names its cause, and has a line in the log, which does not hold the value;
 * - what is answered is the old when it refuses, the new when it is done, and the same after a crash;
 * - a file is the old one or the new one, byte by byte, and the new one when it is done, but for a perm file
 * whose failure is logged; no other file is touched;
 * - nothing half-written is left;
 * - a damaged file is kept where it was replaced, once, and only there;
 * - the same service does the same request when it comes again, and another one.
 */
Scenario faulty(const ZndbRequest &request);

/*
 * The same for a service that ends since it gets no memory: what its successor answers, and what the files
 * hold, is the old or the new.
 */
Scenario starved(const ZndbRequest &request);

}  // namespace faults
