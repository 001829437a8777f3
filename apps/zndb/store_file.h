/*
 * The file of a store: lines of key=value in order of the keys. Lines that begin with '#' and empty lines
 * mean nothing, and are gone once the file is rewritten. One thread at a time.
 */
#pragma once

#include <string>

#include "store.h"

/*
 * Loads a file into a store. What can't be read is reported and passed over.
 *
 * Returns 0, also when there is no file, or an errno value when there is one that can't be read to its
 * end; the store then holds what came before.
 */
int load_store(const std::string &path, Store &store);

/*
 * Replaces a file by what the store holds, so that it survives a power cut, and is the old one or the new
 * one at every moment. Missing folders are made.
 *
 * folders_are_safe: an earlier call for the path has succeeded. Otherwise folders that are there already may
 * be new ones, whose names are not on the disk yet, and they are synced too.
 * Returns 0, or an errno value after a log line; then the next call must not take the folders for safe.
 */
int save_store(const std::string &path, const Store &store, bool folders_are_safe = false);
