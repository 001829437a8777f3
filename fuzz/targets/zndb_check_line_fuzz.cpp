/*
 * Fuzzes the check line of the database's files: a line that is read covers no more than itself; a file that
 * ends in its check line is sound, whatever its lines are, and never after a bit of it has flipped.
 *
 * The input is the byte and the bit that flip, four bytes, and the lines.
 */
#include <filesystem>

#include "file_check.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr char kFile[] = "/m_data/usr/db/checked.txt";

void check_line_alone(std::string_view line) {
    CheckLine read;
    if (!read_check_line(line, read)) {
        FUZZ_CHECK(read.covered == 0 && read.generation == 0);
        return;
    }
    FUZZ_CHECK(line.substr(read.covered).size() == sizeof("check=01234567") - 1);
    FUZZ_CHECK(line.substr(read.covered, 6) == "check=");
}

void check_carrying(std::string_view line) {
    const std::string carried = carried_line(line);
    FUZZ_CHECK(carried[0] == '#');
    FUZZ_CHECK(carried_line(carried) == carried);
    FUZZ_CHECK(line.substr(0, 1) == "#" || carried_text(carried) == line);
}

Integrity integrity_of(const std::string &content) {
    put_file(kFile, content);
    const FileCheck check = check_file(kFile);
    FUZZ_CHECK(check.error == 0);
    return check.integrity;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder(std::filesystem::path(kFile).parent_path().c_str());
    FUZZ_CHECK(ready);
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    const std::string_view lines = input.substr(std::min<size_t>(size, 4));
    check_line_alone(lines);
    check_carrying(lines);
    (void)integrity_of(std::string(lines));

    std::string content(lines);
    content += content.empty() || content.back() == '\n' ? "" : "\n";
    Crc32 crc;
    crc.add(content);
    content += check_line(size, crc);
    FUZZ_CHECK(integrity_of(content) == Integrity::kSound);

    const size_t covered = content.rfind("check=");
    const size_t place = size < 4 ? 0 : (data[0] | data[1] << 8 | data[2] << 16) % covered;
    content[place] = static_cast<char>(content[place] ^ (1 << (size < 4 ? 0 : data[3] % 8)));
    FUZZ_CHECK(integrity_of(content) != Integrity::kSound);
    return 0;
}
