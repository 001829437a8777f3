#include "apptest/module_config_check.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <pugixml.hpp>
#include <set>

#include "cli/command.h"
#include "cli/name_lookup.h"
#include "cli/spelling_hint.h"
#include "formats/module_facility.h"
#include "formats/module_flags.h"
#include "frwk_common.h"

namespace {

using Words = std::vector<std::string>;

constexpr uint32_t kFacilityCount = 20;

Words flag_words() {
    Words words;
    for (uint32_t bit = 1; flag_name(bit) != nullptr; bit <<= 1) {
        words.push_back(std::string("FRWK_FLAG_") + flag_name(bit));
    }
    return words;
}

Words facility_words() {
    Words words;
    for (uint32_t facility = 1; facility <= kFacilityCount; ++facility) {
        words.emplace_back(facility_word(facility));
    }
    return words;
}

std::string quoted(const std::string &text) {
    return "'" + text + "'";
}

/* The text of an element, without that of its children, as a module reads it. */
std::string text_of(const pugi::xml_node &element) {
    std::string text;
    for (const pugi::xml_node &piece : element) {
        if (piece.type() == pugi::node_pcdata || piece.type() == pugi::node_cdata) {
            text += piece.value();
        }
    }
    return text;
}

bool is_element(const pugi::xml_node &node) {
    return node.type() == pugi::node_element;
}

/* ---- The texts of a module's elements: each gives the problem, or "" ------------------------------- */

std::string flag_problem(const std::string &text) {
    const char *const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
    for (size_t at = text.find_first_of(letters); at != std::string::npos;
         at = text.find_first_of(letters, at)) {
        const size_t end = std::min(text.find_first_not_of(letters, at), text.size());
        const std::string word = text.substr(at, end - at);
        if (flag_bit(word) == 0) {
            const bool counts = flags_in(word.c_str()) != 0;
            return counts ? "the flag in " + quoted(word) + " counts, although it is part of a longer word"
                          : unknown_name("flag", word, flag_words()) + ": ignored";
        }
        at = end;
    }
    return text.find_first_of(letters) == std::string::npos
               ? "no flag in " + quoted(text) + ": all flags are cleared"
               : "";
}

std::string delay_problem(const std::string &text) {
    char *end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        return "the delay " + quoted(text) + " is not a number: read as 0";
    }
    if (errno == ERANGE || number > INT32_MAX) {
        return "the delay " + quoted(text) + " is above 2147483647 ms: read as that";
    }
    if (number < 0) {
        return "the delay " + quoted(text) + " is negative: the module would wait for weeks";
    }
    if (std::string(end).find_first_not_of(" \t\r\n") != std::string::npos) {
        return "the delay " + quoted(text) + " is read as " + std::to_string(number) +
               " ms: the rest is ignored";
    }
    return "";
}

std::string facility_problem(const std::string &text) {
    return facility_in(text.c_str()) != 0
               ? ""
               : unknown_name("facility", text, facility_words()) + ": the module logs as USER";
}

std::string alias_problem(const std::string &text) {
    return text.find_first_of(" \t\r\n") == std::string::npos
               ? ""
               : "the alias " + quoted(text) +
                     " has white space in it: no command line can name the module so";
}

std::string no_problem(const std::string &) {
    return "";
}

struct Element {
    const char *name;
    std::string (*problem)(const std::string &text);
};

constexpr Element kElements[] = {{"alias", alias_problem},
                                 {"cmd", no_problem},
                                 {"delay", delay_problem},
                                 {"facility", facility_problem},
                                 {"flag", flag_problem}};

const Element *find_element(const std::string &name) {
    const auto *found = std::find_if(std::begin(kElements), std::end(kElements),
                                     [&name](const Element &element) { return name == element.name; });
    return found != std::end(kElements) ? found : nullptr;
}

/* ---- The file -------------------------------------------------------------------------------------- */

class Checker {
  public:
    explicit Checker(const std::string &text) : text_(text) {}

    ModuleConfigCheck check() {
        pugi::xml_document document;
        const pugi::xml_parse_result parsed = document.load_buffer(text_.data(), text_.size());
        if (!parsed) {
            add_at(static_cast<size_t>(parsed.offset),
                   std::string("not well-formed: ") + parsed.description() + ": the whole file is ignored");
            return std::move(result_);
        }
        check_root(document.document_element());
        return std::move(result_);
    }

  private:
    void add_at(size_t offset, const std::string &problem) {
        result_.findings.push_back({line_at(text_, offset), problem});
    }
    void add(const pugi::xml_node &node, const std::string &problem) {
        if (!problem.empty()) {
            add_at(static_cast<size_t>(std::max<ptrdiff_t>(node.offset_debug(), 0)), problem);
        }
    }

    void check_root(const pugi::xml_node &root) {
        check_stray(root, "the root element");
        for (const pugi::xml_node &module : root) {
            if (is_element(module)) {
                check_module(module);
            }
        }
    }

    /* Attributes, and text that stands beside elements. */
    void check_stray(const pugi::xml_node &element, const std::string &whose) {
        if (element.first_attribute()) {
            add(element,
                "the attribute " + quoted(element.first_attribute().name()) + " of " + whose + " is ignored");
        }
        const std::string stray = text_of(element);
        if (!stray.empty()) {
            add(element, "text in " + whose + " is ignored");
        }
    }

    void check_module(const pugi::xml_node &module) {
        const std::string name = module.name();
        check_stray(module, quoted(name));
        if (frwk_module_id(name.c_str()) == 0) {
            note_own_module(module);
        }
        if (!seen_.insert(name).second) {
            add(module, "the module " + quoted(name) + " stands in the file twice: the later values count");
        }
        std::set<std::string> elements;
        for (const pugi::xml_node &element : module) {
            if (is_element(element)) {
                check_element(element, elements.insert(element.name()).second);
            }
        }
    }

    /* A module that is not built in takes one of the spare rows of the table. */
    void note_own_module(const pugi::xml_node &module) {
        const std::string name = module.name();
        Words &own = result_.own_modules;
        if (std::find(own.begin(), own.end(), name) != own.end()) {
            return;
        }
        own.push_back(name);
        if (name == frwk_module_name(E_APPS_MODULE_TOOL)) {
            add(module, "'tool' can't be configured: this makes another module of the same name");
        }
        add(module, hint(name));
        if (own.size() > FRWK_MODULE_SPARE_COUNT) {
            add(module, quoted(name) + " is the module number " + std::to_string(own.size()) +
                            " that is not built in, and there is room for 8: it replaces a built-in module");
        }
    }

    static std::string hint(const std::string &name) {
        const std::string meant = did_you_mean(name, module_names());
        return meant.empty() ? "" : quoted(name) + " is not a built-in module" + meant;
    }

    void check_element(const pugi::xml_node &element, bool first) {
        const Element *const known = find_element(element.name());
        if (known == nullptr) {
            add(element, unknown_name("element", element.name(), names_of(kElements)) + ": ignored");
        } else if (!first) {
            add(element, "a second " + quoted(element.name()) + " of the same module is ignored");
        } else if (const std::string text = text_of(element); text.empty()) {
            add(element, quoted(element.name()) + " is empty: ignored");
        } else {
            add(element, known->problem(text));
        }
    }

    const std::string &text_;
    ModuleConfigCheck result_;
    std::set<std::string> seen_;
};

}  // namespace

ModuleConfigCheck check_module_config(const std::string &text) {
    return Checker(text).check();
}
