/*
 * Fuzzes backups: forged ones, ones with a valid trailer and any records, and ones that the device wrote.
 *
 * The input is a byte that chooses (see Kind), and all bytes of the file, the records before the
 * trailer, or the files to back up with a NUL after each. Every one is encrypted with the device's key,
 * since the cipher refuses anything else. No record leaves its folder of the private device tree.
 */
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <map>
#include <vector>

#include "cipher.h"
#include "formats/device_paths.h"
#include "frwk_dbrm.h"
#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_trailer.h"
#include "md5.h"
#include "support/database_answer.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"
#include "support/shell_words.h"

namespace {

constexpr char kRoot[] = "/m_data/usr/";
constexpr char kBackup[] = "/m_data/usr/backup.bin";
constexpr char kBody[] = "/m_data/usr_permanent/body";

/* Both the product's name and the word that asks for the web accounts. */
constexpr char kDatabaseSays[] = "true";

constexpr const char *kSources[] = {paths::kPlainFile, paths::kWebAccounts, paths::kWebKeys,
                                    paths::kDataManager};

enum class Kind {
    kForged,  /* the input is the whole file */
    kSealed,  /* the input is the records; the trailer is right */
    kWritten, /* the input is what is backed up */
    kCount
};

bool is_confined(const char *path) {
    return std::strncmp(path, kRoot, std::strlen(kRoot)) == 0 && std::strstr(path, "..") == nullptr;
}

std::string normal(const std::string &path) {
    return std::filesystem::path(path).lexically_normal();
}

bool is_result(apps_err_e_type ret) {
    constexpr apps_err_e_type kResults[] = {E_APPS_ERR_SUCCESS, E_APPS_ERR_INTERNAL, E_APPS_ERR_FORMAT,
                                            E_APPS_ERR_IO,      E_APPS_ERR_READ,     E_APPS_ERR_WRITE,
                                            E_APPS_ERR_MALLOC,  E_APPS_ERR_PROCESS};
    return std::find(std::begin(kResults), std::end(kResults), ret) != std::end(kResults);
}

/* The files that the records restore; the last record of a path counts. */
std::map<std::string, std::string> files_of(std::string_view records) {
    std::map<std::string, std::string> files;
    while (records.size() >= backup_format::kRecordHeaderSize) {
        backup_format::RecordHeaderBytes bytes;
        std::memcpy(bytes.data(), records.data(), bytes.size());
        backup_format::RecordHeader header = backup_format::record_header_from(bytes);
        FUZZ_CHECK(backup_format::to_bytes(header) == bytes);
        FUZZ_CHECK(backup_format::terminate_name(&header));
        records.remove_prefix(bytes.size());
        FUZZ_CHECK(header.length <= records.size());
        if (header.type == FRWK_DBRM_DATA_FILE) {
            files[normal(header.name)] = records.substr(0, header.length);
        }
        records.remove_prefix(header.length);
    }
    FUZZ_CHECK(records.empty());
    return files;
}

void check_files(const std::map<std::string, std::string> &files) {
    for (const auto &[path, content] : files) {
        if (!content.empty() && path != kBackup) {
            FUZZ_CHECK(content_of(path.c_str()) == content);
        }
    }
}

apps_err_e_type restore() {
    FUZZ_CHECK(zn_encrypt_file_ex(kBackup) == 1);
    const size_t changes = database_changes();
    const apps_err_e_type ret = frwk_dbrm_restore(kBackup);
    FUZZ_CHECK(is_result(ret));
    FUZZ_CHECK(ret != E_APPS_ERR_SUCCESS || !std::filesystem::exists(kBackup));
    FUZZ_CHECK(ret != E_APPS_ERR_SUCCESS || database_changes() > changes);
    return ret;
}

/* Whether a digest belongs to the bytes. */
bool is_digest_of(const uint8_t (&digest)[backup_format::kDigestSize], std::string_view bytes) {
    uint8_t right[MD5_DIGEST_SIZE];
    put_file(kBody, bytes);
    FUZZ_CHECK(md5_encrypt_file(kBody, right) == 1);
    return std::equal(std::begin(digest), std::end(digest), std::begin(right), std::end(right));
}

/* Nothing changes unless the trailer has this product's magic, the length and the digest. */
void check_forged(std::string_view bytes) {
    put_file(kBackup, bytes);
    const size_t changes = database_changes();
    (void)restore();
    if (database_changes() == changes) {
        FUZZ_CHECK(std::filesystem::exists(kBackup));
        return;
    }
    FUZZ_CHECK(bytes.size() >= backup_format::kTrailerSize);
    backup_format::TrailerBytes trailer_bytes;
    bytes.copy(reinterpret_cast<char *>(trailer_bytes.data()), trailer_bytes.size(),
               bytes.size() - trailer_bytes.size());
    const backup_format::Trailer trailer = backup_format::trailer_from(trailer_bytes);
    FUZZ_CHECK(backup_format::to_bytes(trailer) == trailer_bytes);
    FUZZ_CHECK(trailer.magic == backup_format::magic_of(kDatabaseSays));
    FUZZ_CHECK(trailer.body_length == bytes.size() - trailer_bytes.size());
    FUZZ_CHECK(is_digest_of(trailer.md5, bytes.substr(0, trailer.body_length)));
}

/* A backup with a valid trailer is read record by record. After a successful restore the files have the
 * records' data. */
void check_sealed(std::string_view records) {
    put_file(kBackup, records);
    FUZZ_CHECK(backup::append_trailer(kBackup) == E_APPS_ERR_SUCCESS);
    if (restore() == E_APPS_ERR_SUCCESS) {
        check_files(files_of(records));
    }
}

/* A restore brings back what was backed up, unless the database refuses a line of its own file. */
void check_written(FuzzInput *input) {
    std::map<std::string, std::string> files;
    for (const char *source : kSources) {
        const std::string_view content = input->text();
        FUZZ_CHECK(make_folder(std::filesystem::path(source).parent_path().c_str()));
        put_file(source, content);
        if (source != paths::kPlainFile) {
            files[source] = content;
        }
    }
    FUZZ_CHECK(frwk_dbrm_backup(kBackup) == E_APPS_ERR_SUCCESS);
    for (const char *source : kSources) {
        put_file(source, "overwritten since");
    }

    const apps_err_e_type ret = frwk_dbrm_restore(kBackup);
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_PROCESS);
    if (ret == E_APPS_ERR_SUCCESS) {
        check_files(files);
    }
}

}  // namespace

extern "C" std::FILE *__real_fopen64(const char *path, const char *mode);

extern "C" std::FILE *__wrap_fopen64(const char *path, const char *mode) {
    if (!is_confined(path)) {
        errno = EACCES;
        return nullptr;
    }
    return __real_fopen64(path, mode);
}

extern "C" int __real_open64(const char *path, int flags, ...);

/* Refuses to create files outside the folder. Only the cipher's key and folders are read there. */
extern "C" int __wrap_open64(const char *path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
        if (!is_confined(path)) {
            errno = EACCES;
            return -1;
        }
    }
    return __real_open64(path, flags, mode);
}

extern "C" int __real_remove(const char *path);

extern "C" int __wrap_remove(const char *path) {
    return is_confined(path) ? __real_remove(path) : 0;
}

/* Makes the folder that a record asks for; nothing else is ever run. */
extern "C" int32_t __wrap_os_system(const char *command) {
    const std::vector<std::string> words = shell_words(command);
    FUZZ_CHECK(words.size() == 3 && words[0] == "mkdir" && words[1] == "-p");
    if (is_confined((words[2] + "/").c_str())) {
        (void)make_folder(words[2].c_str());
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::error_code ignored;
    std::filesystem::remove_all("/m_data/usr", ignored);
    FUZZ_CHECK(make_folder(kRoot) && make_folder("/m_data/usr_permanent"));
    answer_gets_with(kDatabaseSays);
    FuzzInput input(data, size);
    switch (static_cast<Kind>(input.byte() % static_cast<int>(Kind::kCount))) {
        case Kind::kForged:
            check_forged(input.rest());
            break;
        case Kind::kSealed:
            check_sealed(input.rest());
            break;
        default:
            check_written(&input);
            break;
    }
    return 0;
}
