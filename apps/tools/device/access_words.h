/*
 * Describes why this process has no access to a file or folder, and the command that would help. For the main
 * thread: the owner's name is looked up in a way that is not thread-safe.
 */
#pragma once

#include <string>

enum class Access {
    kUse,   /* to read a file, or to connect to a socket */
    kCreate /* to create or replace a file, for which its folder must be writable */
};

/*
 * "no access to PATH (owner root, mode 0600; try 'sudo TOOL')". PATH is the folder that is closed, or else
 * the file itself.
 */
std::string access_words(const std::string &path, Access access = Access::kUse);

/* The same if this process can't create or replace the file, and "" if it can. */
std::string creation_problem(const std::string &path);

/* The same for writing to a file; one that is missing would be created. */
std::string write_problem(const std::string &path);

/*
 * The failed operation and its cause: access_words for EACCES, the system's text for other errno values.
 * what: the operation, with the path, such as "can't read x".
 */
std::string failure_text(const std::string &what, const std::string &path, int error,
                         Access access = Access::kUse);
