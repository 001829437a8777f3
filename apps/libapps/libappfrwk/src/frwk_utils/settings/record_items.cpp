/*
 * Fills a record from a codec list. No I/O, no state.
 */
#include "frwk_utils/settings/record_items.h"

#include "internal/frwk_log.h"

namespace {

/* Logs an item. text: the item; items with a label are texts. */
void show_item(LogName caller, const RecordItem &item, const void *text) {
    if (item.label == nullptr) {
        return;
    }
    FRWK_DEBUG(caller, "%s:%s", item.label,
               item.privacy == ItemPrivacy::kSecret ? kHiddenText : static_cast<const char *>(text));
}

/* list: the beginning of the item; moved past it. */
apps_err_e_type fill_item(LogName caller, const RecordItem &item, char **list, void *record) {
    char word[kRecordWordSize] = {};
    void *out = item.offset == kNoField ? word : static_cast<char *>(record) + item.offset;
    const apps_err_e_type ret = take_codec_item(*list, item.type, out, item.size, list, item.privacy);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(caller, "%s", item.failure);
        return ret;
    }

    show_item(caller, item, out);
    return item.settle != nullptr ? item.settle(word, record) : E_APPS_ERR_SUCCESS;
}

}  // namespace

apps_err_e_type fill_record(LogName caller, const RecordItem *items, size_t count, char *list, void *record) {
    for (size_t i = 0; i < count; ++i) {
        const apps_err_e_type ret = fill_item(caller, items[i], &list, record);
        if (ret != E_APPS_ERR_SUCCESS) {
            return ret;
        }
    }
    return E_APPS_ERR_SUCCESS;
}
