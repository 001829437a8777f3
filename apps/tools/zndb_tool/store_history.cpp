#include "zndb_tool/store_history.h"

#include <algorithm>

#include "device/text_file.h"
#include "formats/check_line.h"
#include "formats/device_paths.h"
#include "formats/store_values.h"
#include "support/folder_list.h"

namespace {

/* In the order of StoreId. */
constexpr const char *kStoreNames[] = {"plain", "perm", "factory"};

/* Reads the check line in which a text ends, if it does. */
void read_generation(const std::string &text, StoreGeneration *found) {
    const size_t end = text.empty() || text.back() != '\n' ? text.size() : text.size() - 1;
    const size_t before = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    const size_t begin = before == std::string::npos ? 0 : before + 1;
    const std::string_view line = std::string_view(text).substr(begin, end - begin);
    if (!begins_check_line(line)) {
        return;
    }
    CheckLine check;
    found->is_sound = read_check_line(line, check);
    if (found->is_sound) {
        Crc32 covered;
        covered.add(std::string_view(text).substr(0, begin + check.covered));
        found->is_sound = covered.value() == check.check;
        found->generation = check.generation;
    }
}

/* The files that have a name that begins so, in the order of their names. */
std::vector<std::string> files_beginning(const std::string &start) {
    const size_t slash = start.rfind('/') + 1;
    const std::string prefix = start.substr(slash);
    std::vector<std::string> files;
    FolderList folder(start.substr(0, slash).c_str());
    while (const char *name = folder ? folder.next() : nullptr) {
        if (std::string_view(name).substr(0, prefix.size()) == prefix) {
            files.push_back(start.substr(0, slash) + name);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/* Adds a file, if it is there. A damaged one needs not be readable. */
std::string add_file(StoreGeneration found, std::vector<StoreGeneration> *generations) {
    if (!file_exists(found.file)) {
        return "";
    }
    std::string text;
    const std::string problem = read_text_file(found.file, &text);
    found.is_sound = problem.empty();
    if (problem.empty()) {
        read_generation(text, &found);
    }
    const bool may_be_unreadable = found.state == std::string_view("damaged");
    generations->push_back(std::move(found));
    return may_be_unreadable ? "" : problem;
}

std::string add_store(StoreId id, std::vector<StoreGeneration> *generations) {
    const char *store = kStoreNames[static_cast<size_t>(id)];
    const std::string file = paths_of(id).file;
    std::string problem = add_file({store, "present", file, std::nullopt, true}, generations);
    if (problem.empty()) {
        problem =
            add_file({store, "previous", file + paths::kPreviousSuffix, std::nullopt, true}, generations);
    }
    for (const std::string &damaged : files_beginning(file + paths::kDamagedMark)) {
        (void)add_file({store, "damaged", damaged, std::nullopt, true}, generations);
    }
    return problem;
}

}  // namespace

std::string find_generations(std::vector<StoreGeneration> *generations) {
    for (const StoreId id : kStoreIds) {
        std::string problem = add_store(id, generations);
        if (!problem.empty()) {
            return problem;
        }
    }
    return "";
}
