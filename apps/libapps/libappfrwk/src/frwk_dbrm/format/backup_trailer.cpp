#include "frwk_dbrm/format/backup_trailer.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "internal/frwk_log.h"
#include "md5.h"
#include "zndb.h"

using backup_format::kTrailerSize;
using backup_format::Trailer;
using backup_format::TrailerBytes;

namespace backup {

namespace {

constexpr char kProductNameKey[] = "device_product_name";
constexpr size_t kProductNameSize = 64;

apps_err_e_type append(const char *path, Trailer *trailer) {
    UniqueFile file = backup_io::open_to_write(path, "ab+e");
    if (!file) {
        FRWK_WARN_ERRNO(log_name::kDbrmPack, "append open backup file error!");
        return E_APPS_ERR_IO;
    }

    const std::optional<uint64_t> size = backup_io::seek_to_end(file.get());
    if (!size) {
        FRWK_WARN_ERRNO(log_name::kDbrmPack, "append write backup file error!");
        return E_APPS_ERR_WRITE;
    }
    const std::optional<uint32_t> body_length = backup_format::as_length(*size);
    if (!body_length) {
        FRWK_WARN(log_name::kDbrmPack, "backup file is too large!");
        return E_APPS_ERR_FORMAT;
    }
    trailer->body_length = *body_length;

    const TrailerBytes bytes = backup_format::to_bytes(*trailer);
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        !backup_io::finish(std::move(file))) {
        FRWK_WARN_ERRNO(log_name::kDbrmPack, "append write backup file error!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

/* Reads the trailer of a file and the number of bytes before it. */
apps_err_e_type read_trailer(const char *path, Trailer *trailer, uint64_t *body_size) {
    const UniqueFile file(std::fopen(path, "rbe"));
    if (!file) {
        FRWK_WARN_ERRNO(log_name::kDbrmUnpack, "open restore file error!");
        return E_APPS_ERR_IO;
    }

    const std::optional<uint64_t> size = backup_io::seek_to_end(file.get());
    if (!size) {
        FRWK_WARN_ERRNO(log_name::kDbrmUnpack, "read restore file hdr error!");
        return E_APPS_ERR_READ;
    }
    if (*size < kTrailerSize) {
        FRWK_WARN(log_name::kDbrmUnpack, "invalid restore file hdr format!");
        return E_APPS_ERR_FORMAT;
    }
    *body_size = *size - kTrailerSize;

    TrailerBytes bytes;
    if (::fseeko(file.get(), -static_cast<off_t>(kTrailerSize), SEEK_END) != 0 ||
        !backup_io::read_all(file.get(), bytes.data(), bytes.size())) {
        FRWK_WARN_ERRNO(log_name::kDbrmUnpack, "read restore file hdr error!");
        return E_APPS_ERR_READ;
    }
    *trailer = backup_format::trailer_from(bytes);
    return E_APPS_ERR_SUCCESS;
}

/* Checks that a trailer has this product's magic and the right length. */
apps_err_e_type check_trailer(const Trailer &trailer, uint64_t body_size) {
    uint32_t magic = 0;
    if (!read_magic(&magic)) {
        FRWK_WARN(log_name::kDbrmUnpack, "get device magic failed!");
        return E_APPS_ERR_INTERNAL;
    }
    if (trailer.magic != magic) {
        FRWK_WARN(log_name::kDbrmUnpack, "invalid restore file magic=0x%08x!", trailer.magic);
        return E_APPS_ERR_FORMAT;
    }
    if (trailer.body_length != body_size) {
        FRWK_WARN(log_name::kDbrmUnpack, "invalid restore file data format!");
        return E_APPS_ERR_FORMAT;
    }
    return E_APPS_ERR_SUCCESS;
}

/* Checks the body against the trailer's digest. */
apps_err_e_type check_body(const char *path, const Trailer &trailer) {
    uint8_t md5[backup_format::kDigestSize];
    if (!md5_encrypt_file(path, md5)) {
        FRWK_WARN(log_name::kDbrmUnpack, "md5 encrypt file failed!");
        return E_APPS_ERR_INTERNAL;
    }
    if (std::memcmp(md5, trailer.md5, sizeof(md5)) != 0) {
        FRWK_WARN(log_name::kDbrmUnpack, "invalid md5 checksum!");
        return E_APPS_ERR_FORMAT;
    }
    return E_APPS_ERR_SUCCESS;
}

}  // namespace

static_assert(MD5_DIGEST_SIZE == backup_format::kDigestSize);

bool read_magic(uint32_t *magic) {
    char name[kProductNameSize] = "";
    if (zndb_get(kProductNameKey, name, sizeof(name)) != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(log_name::kDbrmGetMagic, "zndb get product name failed!");
        return false;
    }
    *magic = backup_format::magic_of({name, ::strnlen(name, sizeof(name))});
    return true;
}

apps_err_e_type append_trailer(const char *path) {
    Trailer trailer = {};
    if (!read_magic(&trailer.magic)) {
        FRWK_WARN(log_name::kDbrmPack, "get device magic failed!");
        return E_APPS_ERR_INTERNAL;
    }
    if (!md5_encrypt_file(path, trailer.md5)) {
        FRWK_WARN(log_name::kDbrmPack, "calc backup file md5sum failed!");
        return E_APPS_ERR_INTERNAL;
    }
    return append(path, &trailer);
}

apps_err_e_type strip_trailer(const char *path) {
    Trailer trailer = {};
    uint64_t body_size = 0;
    apps_err_e_type ret = read_trailer(path, &trailer, &body_size);
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }
    ret = check_trailer(trailer, body_size);
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }

    if (::truncate(path, static_cast<off_t>(body_size)) != 0) {
        FRWK_WARN_ERRNO(log_name::kDbrmUnpack, "truncate restore file hdr error!");
        return E_APPS_ERR_IO;
    }
    return check_body(path, trailer);
}

}  // namespace backup
