#include "zndb_tool/entry_output.h"

#include <cstdio>

#include "output/field_list.h"
#include "output/terminal.h"
#include "output/text_wrap.h"

void print_entries(const std::string &heading, const Entries &entries) {
    std::string lines = wrapped_command(shown_text(Stream::kOutput, heading), output_width(), 0);
    lines.pop_back();
    (void)std::puts(styled(Stream::kOutput, Style::kFaint, lines).c_str());
    for (const auto &[key, value] : entries) {
        (void)std::printf("%s=%s\n",
                          styled(Stream::kOutput, Style::kStrong, shown_text(Stream::kOutput, key)).c_str(),
                          shown_text(Stream::kOutput, value).c_str());
    }
}

void print_entry_lines(const Entries &entries) {
    const std::string text = shown_lines(Stream::kOutput, format_entries(entries));
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

Json json_of_entries(const Entries &entries) {
    Json members = json_members();
    for (const auto &[key, value] : entries) {
        add_member(members, key, json_text(value));
    }
    return members;
}

void print_words(const std::string &prefix, const std::vector<std::string> &words) {
    for (const std::string &word : words) {
        (void)std::puts(shown_text(Stream::kOutput, prefix + word).c_str());
    }
}
