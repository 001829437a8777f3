/*
 * Converts the apply control message to calls of the trial, and tells it of resets; all else is the
 * database's. Does not access files.
 */
#pragma once

#include "trial.h"
#include "zndb_handler.h"

/*
 * Answers one message. Any thread. Returns as zndb_handle and Trial::handle. The answer's buffer receives an
 * ApplyAnswer if it has room for one, whatever the result; not for a malformed body.
 */
apps_err_e_type zndb_handle(Database &database, Trial &trial, const ZndbMessage &message);
