/*
 * Creates and removes the device's key files.
 */
#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

inline constexpr char kProductKeyPath[] = "/etc/quor_product.key";
inline constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
inline constexpr char kDeviceKeyPath[] = "/m_data/usr_permanent/device.key";

/* 32 bytes: first, first + 1, ... */
inline std::string some_key(int first = 0) {
    std::string key;
    for (int i = 0; i < 32; ++i) {
        key += static_cast<char>(first + i);
    }
    return key;
}

inline void write_key_file(const char *path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline std::string key_file_bytes(const char *path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

/* The names in the folder of permanent files. */
inline std::vector<std::string> permanent_files() {
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(kPermanentFolder), closedir);
    std::vector<std::string> names;
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

/* Removes both key files, whatever they are, and everything else in the folder. */
inline void remove_key_files() {
    (void)unlink(kProductKeyPath);
    (void)rmdir(kProductKeyPath);
    for (const std::string &name : permanent_files()) {
        const std::string path = std::string(kPermanentFolder) + "/" + name;
        if (unlink(path.c_str()) != 0) {
            (void)rmdir(path.c_str());
        }
    }
}
