/*
 * Files of the private device tree that the fuzz targets run in.
 */
#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "support/fuzz_input.h"

inline void put_file(const char *path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    FUZZ_CHECK(file);
}

/* The complete content; "" without a file. */
inline std::string content_of(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline bool make_folder(const char *path) {
    std::error_code ignored;
    std::filesystem::create_directories(path, ignored);
    return std::filesystem::is_directory(path);
}
