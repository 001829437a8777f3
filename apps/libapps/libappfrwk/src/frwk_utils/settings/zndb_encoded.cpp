/*
 * Bytes that the configuration database stores encoded: as text (base64) or encrypted (cipher).
 *
 * Neither the bytes nor the stored text is ever logged, and decoded bytes are wiped before they are freed.
 */
#include <algorithm>
#include <cstring>

#include "base64.h"
#include "cipher.h"
#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "support/owned_block.h"
#include "zndb.h"

namespace {

struct Encoding {
    int32_t type;
    char *(*encode)(const void *data, uint32_t length);
    void *(*decode)(const char *text, uint32_t length, uint32_t *count);
    const char *name; /* name in the log lines */
    const char *encode_error;
    const char *decode_error;
};

constexpr Encoding kEncodings[] = {
    {FRWK_DATA_TYPE_BASE64, base64_encrypt, base64_decrypt, "base64", "base64 encrypt error!",
     "base64 decrypt error!"},
    {FRWK_DATA_TYPE_CIPHER, zn_encrypt_data, zn_decrypt_data, "xzn", "xzn encrypt error!",
     "xzn decrypt error!"},
};

constexpr char kGotBlock[] = "((void *)0) != val";

/* The encoding of a type, or null. */
const Encoding *encoding_of(int32_t type) {
    for (const Encoding &encoding : kEncodings) {
        if (encoding.type == type) {
            return &encoding;
        }
    }
    return nullptr;
}

/* The caller's buffer for decoded bytes. */
struct Destination {
    char *data;
    int32_t size;
};

/* Copies decoded bytes to the caller: all or none. */
apps_err_e_type deliver(LogName caller, const Encoding &encoding, const void *bytes, uint32_t count,
                        const Destination &to) {
    if (to.size < 0 || count > static_cast<uint32_t>(to.size)) {
        FRWK_WARN(caller, "%s decrypt len(%d,%d) out of buf!", encoding.name, static_cast<int>(count),
                  to.size);
        return E_APPS_ERR_OUTOFBUF;
    }
    std::memcpy(to.data, bytes, count);
    if (count < static_cast<uint32_t>(to.size)) {
        to.data[count] = '\0';
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type decode(LogName caller, const Encoding &encoding, const char *text, const Destination &to) {
    uint32_t count = 0;
    const OwnedBlock val(encoding.decode(text, static_cast<uint32_t>(std::strlen(text)), &count));
    if (!val) {
        FRWK_WARN_FAILED(caller, kGotBlock, encoding.decode_error);
        return E_APPS_ERR_FORMAT;
    }

    const apps_err_e_type ret = deliver(caller, encoding, val.get(), count, to);
    explicit_bzero(val.get(), count);
    return ret;
}

}  // namespace

apps_err_e_type frwk_zndb_get_key_value_decrypt(const char *key, int32_t type, void *out, int32_t size) {
    if (out == nullptr) {
        FRWK_WARN(__func__, "Parameter error!"); /* the same text as the request's for a null key */
        return E_APPS_ERR_FAILURE;
    }

    char text[ZNDB_VALUE_LEN] = {};
    const int got = zndb_get(key, text, sizeof(text));
    if (got != E_ZNDB_RET_SUCCESS) {
        return frwk_zndb_error_convert(got);
    }

    const Encoding *encoding = encoding_of(type);
    if (encoding == nullptr) {
        return frwk_str_to_value(type, text, out, static_cast<uint32_t>(std::max(size, 0)));
    }
    const Destination to = {static_cast<char *>(out), size};
    if (text[0] != '\0') {
        const apps_err_e_type ret = decode(__func__, *encoding, text, to);
        explicit_bzero(text, sizeof(text));
        return ret;
    }
    if (size > 0) {
        to.data[0] = '\0';
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_zndb_set_key_value_encrypt(const char *key, int32_t type, const void *data,
                                                uint32_t length) {
    const Encoding *encoding = encoding_of(type);
    if (encoding == nullptr) {
        return frwk_zndb_set_key_value(key, type, data);
    }

    const OwnedBlock val(encoding->encode(data, length));
    if (!val) {
        FRWK_WARN_FAILED(__func__, kGotBlock, encoding->encode_error);
        return E_APPS_ERR_INTERNAL;
    }
    auto *text = static_cast<char *>(val.get());
    const int set = zndb_set(key, text);
    explicit_bzero(text, std::strlen(text)); /* base64 is as readable as the secret itself */
    return frwk_zndb_error_convert(set);
}
