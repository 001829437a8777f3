/*
 * Fuzzes the decryption of files: a file that was not encrypted, or was altered, truncated or extended since,
 * is left unchanged; any other is decrypted.
 *
 * The input is a byte that chooses how the file is made (see Origin), a place (2 bytes) and a mask to
 * alter it, and its bytes.
 */
#include "cipher.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr char kFile[] = "/m_data/usr/backup.bin";

enum class Origin {
    kForeign,  /* not encrypted */
    kWhole,    /* encrypted */
    kAltered,  /* encrypted, one byte changed */
    kCut,      /* encrypted, truncated */
    kExtended, /* encrypted, followed by the input */
    kCount
};

/* Creates the file and returns its content. */
std::string make_file(Origin origin, size_t place, char mask, std::string_view bytes) {
    put_file(kFile, bytes);
    if (origin == Origin::kForeign) {
        return std::string(bytes);
    }
    FUZZ_CHECK(zn_encrypt_file_ex(kFile) == 1);
    std::string content = content_of(kFile);
    FUZZ_CHECK(content.size() > bytes.size());
    if (origin == Origin::kAltered) {
        content[place % content.size()] ^= mask;
    } else if (origin == Origin::kCut) {
        content.resize(place % content.size());
    } else if (origin == Origin::kExtended) {
        content += bytes;
    }
    put_file(kFile, content);
    return content;
}

bool is_whole(Origin origin, char mask, std::string_view bytes) {
    return origin == Origin::kWhole || (origin == Origin::kAltered && mask == 0) ||
           (origin == Origin::kExtended && bytes.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder("/m_data/usr_permanent") && make_folder("/m_data/usr");
    FUZZ_CHECK(ready);
    FuzzInput input(data, size);
    const auto origin = static_cast<Origin>(input.byte() % static_cast<int>(Origin::kCount));
    const uint32_t place = input.number(UINT16_MAX);
    const auto mask = static_cast<char>(input.byte());
    const std::string_view bytes = input.rest();
    const std::string made = make_file(origin, place, mask, bytes);

    const bool deciphered = zn_decrypt_file_ex(kFile) == 1;
    FUZZ_CHECK(deciphered == is_whole(origin, mask, bytes));
    FUZZ_CHECK(content_of(kFile) == (deciphered ? bytes : made));
    return 0;
}
