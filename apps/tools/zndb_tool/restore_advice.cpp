#include "zndb_tool/restore_advice.h"

namespace {

/* Quotes a word for the shell. */
std::string shell_word(const std::string &text) {
    std::string word = "'";
    for (const char character : text) {
        word += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return word + "'";
}

std::string set_product(const std::string &product) {
    return "zndb_tool set --save device_product_name " + shell_word(product);
}

bool has_lost_product(const RestoreFacts &facts) {
    return !facts.product.empty() && !facts.knows_product;
}

std::string what_is_left(const RestoreFacts &facts) {
    const std::string before = std::to_string(facts.settings_before);
    const std::string now = std::to_string(facts.settings_now);
    if (!facts.is_known) {
        return "the settings were emptied; what is there now can't be read";
    }
    return facts.was_refused
               ? "the settings were emptied, all " + before + " of them, and nothing was brought back"
               : "the settings were emptied; there were " + before + ", and there are " + now +
                     " now; files of the backup may be missing";
}

const char *cause_of_refusal(const RestoreFacts &facts) {
    if (facts.lacks_space) {
        return "; the device has no space for its settings, on its disk or in its memory";
    }
    return facts.product.empty() ? "; the device doesn't know its product: device_product_name is not set"
                                 : "; it is damaged, or of another kind of device, or the database failed";
}

}  // namespace

std::string restore_hint(const RestoreFacts &facts) {
    if (!facts.was_refused || facts.has_changed) {
        return "; the configuration may be incomplete";
    }
    const std::string cause = cause_of_refusal(facts);
    return facts.is_known ? cause + "; nothing has changed" : cause;
}

std::vector<std::string> restore_advice(const RestoreFacts &facts) {
    if (facts.was_refused && !facts.has_changed) {
        return {};
    }
    std::vector<std::string> lines = {what_is_left(facts)};
    if (facts.was_refused && facts.settings_on_disk > 0) {
        lines.push_back(
            "the " + std::to_string(facts.settings_on_disk) +
            " that were last saved are still on the disk, and are loaded again when the device restarts");
    }
    if (has_lost_product(facts)) {
        lines.push_back("the device no longer knows its product; first: " + set_product(facts.product));
    }
    lines.push_back("to go back, restore a backup that was made before; " + facts.file +
                    " is unchanged, and the restore can be repeated");
    return lines;
}

std::string product_warning(const std::string &product) {
    return "warning: device_product_name is a setting and not among the defaults; if the restore fails "
           "half-way, the "
           "device accepts no backup until: " +
           set_product(product);
}
