/*
 * Reads the module configuration file and overrides rows of the module table.
 *
 * The file describes the whole device, so every module's row is updated, not only the calling module's.
 */
#include "frwk_common/modules/module_config.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "formats/device_paths.h"
#include "formats/module_facility.h"
#include "formats/module_flags.h"
#include "frwk_common.h"
#include "internal/decimal.h"
#include "internal/frwk_log.h"
#include "os_file.h"
#include "xml.h"

namespace {

/*
 * Texts from the file are never freed, even if a second element replaces them: somebody may still use the
 * first. They are not tracked memory, since tracked memory has no settings yet.
 */
struct KeptText {
    KeptText *next;
    char text[1];
};

KeptText *g_s_kept_texts = nullptr;

/* Replaces a text of the table. Without memory it keeps the old one, logs and returns false. */
bool keep_text(const char *text, const char **place) {
    const size_t length = std::strlen(text);
    auto *kept = static_cast<KeptText *>(std::malloc(sizeof(KeptText) + length));
    if (kept == nullptr) {
        FRWK_WARN(log_name::kLoadModuleParam, "no memory for the text '%.64s' of the module configuration",
                  text);
        return false;
    }
    std::memcpy(kept->text, text, length + 1);
    kept->next = g_s_kept_texts;
    g_s_kept_texts = kept;
    *place = kept->text;
    return true;
}

/* Returns the text of a child element, or null if it is missing or empty. */
const char *child_text(xml_node *module, const char *name) {
    xml_node *child = xml_get_child_node(module, name);
    const char *text = child != nullptr ? xml_get_node_value(child) : nullptr;
    return text != nullptr && text[0] != '\0' ? text : nullptr;
}

void apply_elements(xml_node *module, frwk_module_info *row) {
    if (const char *alias = child_text(module, "alias")) {
        (void)keep_text(alias, &row->alias);
    }
    if (const char *flag = child_text(module, "flag")) {
        row->flag = flags_in(flag);
    }
    if (const char *delay = child_text(module, "delay")) {
        row->delay = decimal_number(delay);
    }
    if (const char *facility = child_text(module, "facility")) {
        row->facility = facility_in(facility);
    }
    if (const char *cmd = child_text(module, "cmd")) {
        (void)keep_text(cmd, &row->cmd);
    }
}

struct DocumentDeleter {
    void operator()(xml_doc *doc) const { xml_free_doc(doc); }
};

}  // namespace

void modules::load_config() {
    if (os_file_exist(paths::kModuleConfig) == 0) {
        return;
    }
    const std::unique_ptr<xml_doc, DocumentDeleter> doc(xml_file_parse(paths::kModuleConfig));
    FRWK_ASSERT(log_name::kLoadModuleParam, doc != nullptr, "((void *)0) != doc", "");
    xml_node *node = doc != nullptr ? xml_get_doc_root(doc.get()) : nullptr;
    FRWK_ASSERT(log_name::kLoadModuleParam, node != nullptr, "((void *)0) != node", "");

    int32_t unknown = 0;
    xml_node *module = node != nullptr ? xml_get_child_node(node, nullptr) : nullptr;
    for (; module != nullptr; module = xml_get_next_node(module)) {
        const char *name = xml_get_node_name(module);
        int32_t id = frwk_module_id(name);
        if (id == 0) {
            // There are eight slots, but a ninth module is written after them; only the table's end is a
            // limit.
            FRWK_ASSERT(log_name::kLoadModuleParam, FRWK_MODULE_SPARE_COUNT > unknown, "(8) > i", "");
            id = FRWK_MODULE_SPARE_FIRST + unknown;
            if (id >= FRWK_MODULE_ROWS) {
                continue;
            }
            ++unknown;
            if (!keep_text(name, &g_modules_info[id].name)) {
                continue;
            }
        }
        apply_elements(module, &g_modules_info[id]);
    }
}
