/*
 * A store's file as the database saves it: lines, and the check line in which they end.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "formats/check_line.h"

inline std::string saved_file(const std::string &lines, uint64_t generation) {
    Crc32 crc;
    crc.add(lines);
    return lines + check_line(generation, crc);
}

/*
 * The lines of a file's content, without the check line, which must be right. A content that the database has
 * not saved begins with "(unchecked)" then, so that it equals no lines. "" for no content.
 */
inline std::string checked_lines(const std::string &content) {
    const size_t last = content.rfind(kCheckLineBegin);
    CheckLine line;
    if (content.empty()) {
        return "";
    }
    if (last == std::string::npos || content.back() != '\n' ||
        !read_check_line(std::string_view(content).substr(last, content.size() - 1 - last), line) ||
        content != saved_file(content.substr(0, last), line.generation)) {
        return "(unchecked)" + content;
    }
    return content.substr(0, last);
}
