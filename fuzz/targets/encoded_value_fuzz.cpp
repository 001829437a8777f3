/*
 * Fuzzes stored base64 and encrypted values, and altered secrets.
 *
 * The input is a byte that chooses base64 or the cipher, the size of the caller's buffer (2 bytes), a place
 * (2 bytes) and a mask to alter what was encoded there, and a stored text, which also serves as the bytes to
 * encode.
 */
#include "base64.h"
#include "cipher.h"
#include "frwk_utils.h"
#include "os_mem.h"
#include "support/database_answer.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kBufferMax = 1100;
constexpr size_t kStoredMax = 1100;
constexpr char kFill = '#';

struct FreeBlock {
    void operator()(void *block) const { os_mem_free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

/* An encoded value decodes to the original, and with one altered character never does. */
void check_alteration(bool cipher, std::string_view bytes, size_t place, char mask) {
    const auto count = static_cast<uint32_t>(bytes.size());
    const Block encoded(cipher ? zn_encrypt_data(bytes.data(), count) : base64_encrypt(bytes.data(), count));
    FUZZ_CHECK(encoded != nullptr);
    std::string text = static_cast<const char *>(encoded.get());
    if (!text.empty()) {
        text[place % text.size()] ^= mask;
    }

    uint32_t decoded_count = 0;
    const auto length = static_cast<uint32_t>(text.size());
    const Block decoded(cipher ? zn_decrypt_data(text.data(), length, &decoded_count)
                               : base64_decrypt(text.data(), length, &decoded_count));
    const bool altered = mask != 0 && !text.empty();
    FUZZ_CHECK(altered || decoded != nullptr);
    FUZZ_CHECK(!cipher || !altered || decoded == nullptr);
    if (decoded != nullptr) {
        const std::string_view back(static_cast<const char *>(decoded.get()), decoded_count);
        FUZZ_CHECK((back == bytes) == !altered);
    }
}

/* A stored base64 text is read, or refused with the output unchanged. */
void check_stored(int32_t type, std::string_view stored, uint32_t size) {
    answer_gets_with(stored);
    const std::unique_ptr<char[]> out(new char[size]);
    std::fill_n(out.get(), size, kFill);
    const apps_err_e_type ret =
        frwk_zndb_get_key_value_decrypt("secret", type, out.get(), static_cast<int32_t>(size));
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_FORMAT || ret == E_APPS_ERR_OUTOFBUF);
    if (ret != E_APPS_ERR_SUCCESS) {
        FUZZ_CHECK(is_filled(std::string_view(out.get(), size), kFill));
    }
    const bool is_empty = stored.empty() || stored[0] == '\0';
    FUZZ_CHECK(type != FRWK_DATA_TYPE_CIPHER || ret != E_APPS_ERR_SUCCESS || is_empty);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder("/m_data/usr_permanent");
    FUZZ_CHECK(ready);
    FuzzInput input(data, size);
    const bool cipher = input.byte() % 2 == 1;
    const uint32_t buffer = input.number(kBufferMax);
    const uint32_t place = input.number(UINT16_MAX);
    const auto mask = static_cast<char>(input.byte());
    const std::string_view stored = input.take(kStoredMax);

    check_stored(cipher ? FRWK_DATA_TYPE_CIPHER : FRWK_DATA_TYPE_BASE64, stored, buffer);
    check_alteration(cipher, stored, place, mask);
    return 0;
}
