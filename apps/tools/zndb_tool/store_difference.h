/*
 * The settings of a file that a store has with another value, or lacks.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/exit_code.h"
#include "formats/journal_record.h"
#include "zndb_tool/zndb_options.h"

struct SettingDifference {
    std::string key;
    std::optional<std::string> present; /* what the store itself has */
    std::string wanted;                 /* what the file has */
};

/* The store that --perm or --factory selects. */
StoreId chosen_store(const ZndbOptions &options);

/*
 * Compares a file of key=value lines with the chosen store. Of a key that is there twice, the last line
 * counts. differences: receives them, in the order of the keys' bytes. Prints an error message on failure.
 */
ExitCode find_differences(const ZndbOptions &options, std::vector<SettingDifference> *differences);

/* Prints one line for what is there, one for what the file has. */
void print_differences(const std::vector<SettingDifference> &differences);
