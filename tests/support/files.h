/*
 * Files of the device that a test writes and reads.
 */
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

inline void write_file(const std::string &path, const std::string &content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

/* The content of a file; "" if it is missing. */
inline std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline bool exists(const std::string &path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0;
}

/* Removes a file, or a folder with nothing in it. */
inline void remove_node(const std::string &path) {
    if (unlink(path.c_str()) != 0) {
        (void)rmdir(path.c_str());
    }
}
