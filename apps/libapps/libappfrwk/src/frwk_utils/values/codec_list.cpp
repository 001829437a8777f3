/*
 * Codec lists: appends escaped values to a list, and reads them back. No I/O, no state.
 *
 * A list may contain secrets, so items are logged only at the debug level.
 */
#include "frwk_utils/values/codec_list.h"

#include <cstring>
#include <string_view>

#include "frwk_utils/values/typed_text.h"
#include "internal/frwk_log.h"

namespace {

constexpr char kSeparator = ',';
constexpr std::string_view kSeparatorText(&kSeparator, 1);

/* A character that must be escaped in an item, and its entity. */
struct Entity {
    char character;
    std::string_view text;
};

/* In these lists the second entity means a comma, not an apostrophe. */
constexpr Entity kEntities[] = {{'&', "&amp;"}, {kSeparator, "&#39;"}};

/* The escaped form of the character at next. */
std::string_view stored_form(const char *next) {
    for (const Entity &entity : kEntities) {
        if (entity.character == *next) {
            return entity.text;
        }
    }
    return {next, 1};
}

/* The entity at the beginning of a stored text, or null. Does not read past the text's NUL. */
const Entity *entity_at(const char *text) {
    for (const Entity &entity : kEntities) {
        if (std::strncmp(text, entity.text.data(), entity.text.size()) == 0) {
            return &entity;
        }
    }
    return nullptr;
}

/* The free bytes of a buffer; 0 if it is null, or its len exceeds its size. */
uint32_t free_bytes(const frwk_codec_buf_t *buf) {
    if (buf == nullptr || buf->data == nullptr || buf->len > buf->size) {
        return 0;
    }
    return buf->size - buf->len;
}

/* Appends a piece if that leaves one byte for the NUL, which is already in the zeroed storage. */
bool append(LogName caller, frwk_codec_buf_t *buf, std::string_view piece) {
    if (free_bytes(buf) <= piece.size()) {
        FRWK_WARN(caller, "buf not big enough!");
        return false;
    }
    std::memcpy(buf->data + buf->len, piece.data(), piece.size());
    buf->len += static_cast<uint32_t>(piece.size());
    return true;
}

/* Zeroes the storage after an entity, whatever the caller left there. */
void zero_the_rest(frwk_codec_buf_t *buf) {
    std::memset(buf->data + buf->len, 0, free_bytes(buf));
}

bool append_escaped(frwk_codec_buf_t *buf, const char *item) {
    for (const char *next = item; *next != '\0'; ++next) {
        const std::string_view stored = stored_form(next);
        if (!append(log_name::kZndbAddCodecValue, buf, stored)) {
            return false;
        }
        if (stored.data() != next) {
            zero_the_rest(buf);
        }
    }
    return true;
}

/*
 * Decodes the first item in place, which never makes it longer. Returns the rest of the list, or null for a
 * null text.
 */
char *cut_first_item(char *text) {
    if (text == nullptr) {
        FRWK_WARN(log_name::kZndbGetCodecValue, "parameter is null!");
        return nullptr;
    }

    char *decoded = text;
    char *next = text;
    while (*next != '\0' && *next != kSeparator) {
        const Entity *entity = entity_at(next);
        *decoded++ = entity != nullptr ? entity->character : *next;
        next += entity != nullptr ? entity->text.size() : 1;
    }
    char *behind = *next == kSeparator ? next + 1 : next;
    *decoded = '\0';
    return behind;
}

}  // namespace

apps_err_e_type take_codec_item(char *text, int32_t type, void *out, uint32_t size, char **next,
                                ItemPrivacy privacy) {
    char *behind = cut_first_item(text);
    if (behind == nullptr) {
        FRWK_WARN(log_name::kZndbGetValue, "get zndb codec value failed!");
        return E_APPS_ERR_PARAM;
    }
    if (next != nullptr) {
        *next = behind;
    }

    const apps_err_e_type ret = frwk_str_to_value(type, text, out, size);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_DEBUG(log_name::kZndbGetValue, "convert zndb value(%s) failed!",
                   privacy == ItemPrivacy::kSecret ? kHiddenText : text);
    }
    return ret;
}

apps_err_e_type frwk_zndb_add_value(frwk_codec_buf_t *buf, int32_t type, const void *value, int32_t first) {
    TypedText item;
    const apps_err_e_type ret = item.assign(__func__, type, value);
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }

    if (first == 0 && !append(__func__, buf, kSeparatorText)) {
        return E_APPS_ERR_OUTOFBUF;
    }
    if (!append_escaped(buf, item.text())) {
        FRWK_WARN(__func__, "add codec value failed!");
        return E_APPS_ERR_OUTOFBUF;
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_zndb_get_value(char *text, int32_t type, void *out, uint32_t size, char **next) {
    const apps_err_e_type ret = take_codec_item(text, type, out, size, next, ItemPrivacy::kOpen);
    if (ret != E_APPS_ERR_SUCCESS && text != nullptr) {
        FRWK_WARN(__func__, "an item of a list can't be read as type %d!", type);
    }
    return ret;
}
