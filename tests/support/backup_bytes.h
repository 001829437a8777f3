/*
 * Builds backups byte by byte, without the code that writes and reads them.
 */
#pragma once

#include <cstdint>
#include <string>

#include "md5.h"
#include "support/wait_until.h"

namespace backup_bytes {

inline constexpr uint32_t kFile = 1;
inline constexpr uint32_t kDatabase = 2;

inline std::string word(uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}

/* A record's header. name: truncated or padded with zeros to 128 bytes. */
inline std::string header(uint32_t type, std::string name, uint32_t length) {
    name.resize(128, '\0');
    return word(type) + name + word(length);
}

inline std::string record(uint32_t type, const std::string &name, const std::string &data) {
    return header(type, name, static_cast<uint32_t>(data.size())) + data;
}

/* The 16 bytes of a text's digest. */
inline std::string digest(const std::string &text) {
    const std::string path = "/tmp/m_tmp/digest_of";
    uint8_t bytes[MD5_DIGEST_SIZE] = {};
    if (!write_text(path, text) || !md5_encrypt_file(path.c_str(), bytes)) {
        return "";
    }
    return {reinterpret_cast<const char *>(bytes), sizeof(bytes)};
}

inline std::string trailer(uint32_t magic, const std::string &md5, uint32_t body_length) {
    return word(magic) + md5 + word(body_length);
}

/* A body and the trailer that belongs to it. */
inline std::string packed(const std::string &body, uint32_t magic) {
    return body + trailer(magic, digest(body), static_cast<uint32_t>(body.size()));
}

}  // namespace backup_bytes
