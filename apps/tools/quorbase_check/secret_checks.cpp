#include <array>
#include <cstring>

#include "base64.h"
#include "checks.h"
#include "cipher.h"
#include "md5.h"

namespace {

/* Bytes that no text routine may stop at. */
constexpr std::array<unsigned char, 8> kBytes = {0, 1, 0xFF, 'a', 0, 0x80, '\n', 0};

using Decode = void *(const char *text, uint32_t length, uint32_t *count);

void expect_bytes(const Examination &that, Decode *decode, const char *text) {
    uint32_t count = 0;
    const void *const bytes = decode(text, static_cast<uint32_t>(std::strlen(text)), &count);
    that.expect(bytes != nullptr && count == kBytes.size() && std::memcmp(bytes, kBytes.data(), count) == 0,
                "does not give the bytes back");
}

/* ---- base64 ---------------------------------------------------------------------------------------- */

/* ---- Values ---------------------------------------------------------------------------------------- */

std::string encrypted(const Examination &that) {
    const char *const text = CALL(that, zn_encrypt_data)(kBytes.data(), kBytes.size());
    that.expect(text != nullptr, "can't be tried: zn_encrypt_data gives no text");
    return text;
}

/* ---- Files ----------------------------------------------------------------------------------------- */

constexpr char kContent[] = "the content of a file";

std::string encrypted_file(const Examination &that) {
    std::string path = that.file("file", kContent);
    that.expect(CALL(that, zn_encrypt_file_ex)(path.c_str()) == 1,
                "can't be tried: zn_encrypt_file_ex fails");
    return path;
}

/* An altered file is refused, and stays as it was. */
void expect_refused(const Examination &that, const std::string &content, const std::string &what) {
    const std::string path = that.file("altered", content);
    that.expect(CALL(that, zn_decrypt_file_ex)(path.c_str()) == 0, "accepts a file that " + what);
    that.expect(Examination::content(path) == content, "changes a file that it refuses");
}

/* ---- MD5 ------------------------------------------------------------------------------------------- */

constexpr char kDigestText[] = "900150983cd24fb0d6963f7d28e17f72"; /* of "abc" */

}  // namespace

void checks::check_base64_encrypt(const Examination &that) {
    const char *const text = CALL(that, base64_encrypt)("hello", 5);
    that.expect(text != nullptr && std::strcmp(text, "aGVsbG8=") == 0, "does not write standard base64");
}

void checks::check_base64_decrypt(const Examination &that) {
    const auto decode = CALL(that, base64_decrypt);
    const char *const text = CALL(that, base64_encrypt)(kBytes.data(), kBytes.size());
    that.expect(text != nullptr, "can't be tried: base64_encrypt gives no text");
    expect_bytes(that, decode, text);
    uint32_t count = 0;
    that.expect(decode("a*b=", 4, &count) == nullptr, "decodes a text that is not base64");
}

void checks::check_zn_encrypt_data(const Examination &that) {
    const char *const text = CALL(that, zn_encrypt_data)("secret", 6);
    that.expect(text != nullptr, "gives no text");
    that.expect(std::strstr(text, "secret") == nullptr, "leaves the bytes readable");
}

void checks::check_zn_decrypt_data(const Examination &that) {
    const auto decrypt = CALL(that, zn_decrypt_data);
    std::string text = encrypted(that);
    expect_bytes(that, decrypt, text.c_str());
    char &middle = text[text.size() / 2];
    middle = middle == 'A' ? 'B' : 'A';
    uint32_t count = 0;
    that.expect(decrypt(text.c_str(), static_cast<uint32_t>(text.size()), &count) == nullptr,
                "accepts a text that was altered");
}

void checks::check_zn_encrypt_file_ex(const Examination &that) {
    const auto encrypt = CALL(that, zn_encrypt_file_ex);
    const std::string path = that.file("file", kContent);
    that.expect(encrypt(path.c_str()) == 1, "does not return 1");
    const std::string left = Examination::content(path);
    that.expect(!left.empty() && left.find(kContent) == std::string::npos, "leaves the content readable");
    that.expect(encrypt(that.path("missing").c_str()) == 0, "does not return 0 for a missing file");
}

void checks::check_zn_decrypt_file_ex(const Examination &that) {
    const std::string path = encrypted_file(that);
    const std::string cipher = Examination::content(path);
    that.expect(CALL(that, zn_decrypt_file_ex)(path.c_str()) == 1, "does not return 1");
    that.expect(Examination::content(path) == kContent, "does not give the content back");

    std::string altered = cipher;
    altered.back() = static_cast<char>(altered.back() ^ 1);
    expect_refused(that, altered, "was altered");
    expect_refused(that, cipher.substr(0, cipher.size() - 1), "was cut");
    expect_refused(that, cipher + "x", "is longer than it was");
    expect_refused(that, kContent, "was never encrypted");
}

void checks::check_md5_encrypt_file(const Examination &that) {
    const std::array<unsigned char, MD5_DIGEST_SIZE> expected = {
        0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0, 0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    std::array<unsigned char, MD5_DIGEST_SIZE> digest = {};
    that.expect(CALL(that, md5_encrypt_file)(that.file("abc", "abc").c_str(), digest.data()) == 1,
                "does not return 1");
    that.expect(digest == expected, "gives another digest");
}

void checks::check_md5_encrypt_file_str(const Examination &that) {
    const auto digest = CALL(that, md5_encrypt_file_str);
    std::array<char, MD5_TEXT_SIZE> text = {};
    (void)digest(that.file("abc", "abc").c_str(), text.data());
    that.expect(std::strcmp(text.data(), kDigestText) == 0, "does not give the 32 lower-case digits");
    (void)digest(that.path("missing").c_str(), text.data());
    that.expect(text[0] == '\0', "gives a text for a file that can't be read");
}
