#include "model/operation.h"

#include <cstring>
#include <iterator>

namespace model {

namespace {

constexpr const char *kKindNames[] = {"set",
                                      "delete",
                                      "get",
                                      "get default",
                                      "view get",
                                      "list",
                                      "list pages",
                                      "batch",
                                      "compare and set",
                                      "reset",
                                      "save",
                                      "save factory",
                                      "save ram",
                                      "power-off notice",
                                      "language",
                                      "serial",
                                      "watch",
                                      "storm",
                                      "kill",
                                      "end",
                                      "power cut",
                                      "damage journal",
                                      "damage file",
                                      "refuse writes",
                                      "allow writes"};
static_assert(std::size(kKindNames) == static_cast<size_t>(Kind::kAllowWrites) + 1);
constexpr const char *kItemNames[] = {"set", "delete", "expect", "expect missing", "save"};
constexpr const char *kStoreNames[] = {"plain", "perm", "factory"};
constexpr size_t kShown = 24; /* characters of a text */

template <typename Enum>
size_t index(Enum value) {
    return static_cast<size_t>(value);
}

std::string quoted(const std::string &text) {
    const bool is_long = text.size() > kShown;
    return "\"" + text.substr(0, kShown) + (is_long ? "...\" (" + std::to_string(text.size()) + ")" : "\"");
}

std::string describe(const Item &item) {
    return std::string(kItemNames[index(item.kind)]) + " " + std::to_string(item.client) + ":" +
           kStoreNames[index(item.store)] + " " + quoted(item.key) + "=" + quoted(item.value);
}

std::string describe(const Trouble &trouble) {
    switch (trouble.way) {
        case Trouble::Way::kNone:
            break;
        case Trouble::Way::kFails:
            return ", step " + std::to_string(trouble.step) + " fails: " + std::strerror(trouble.error);
        case Trouble::Way::kDies:
            return ", dies at step " + std::to_string(trouble.step);
    }
    return "";
}

}  // namespace

std::string describe(const Operation &operation) {
    std::string text = "client " + std::to_string(operation.client) + ": " +
                       kKindNames[index(operation.kind)] + " " + kStoreNames[index(operation.store)] + " " +
                       quoted(operation.key);
    text += operation.value ? "=" + quoted(*operation.value) : "";
    text += operation.successor.empty() ? "" : " -> " + quoted(operation.successor);
    text += operation.number != 0 ? " number " + std::to_string(operation.number) : "";
    text += operation.error != 0 ? std::string(": ") + std::strerror(operation.error) : "";
    for (const Item &item : operation.items) {
        text += "\n      " + describe(item);
    }
    return text + describe(operation.trouble);
}

std::string describe(const Outcome &outcome) {
    std::string text = "result " + std::to_string(outcome.result) + (outcome.disturbed ? " (disturbed)" : "");
    for (const std::string &word : outcome.words) {
        text += " " + quoted(word);
    }
    return text;
}

}  // namespace model
