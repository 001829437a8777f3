/*
 * Fuzzes the check line of the database's files: a line that is read covers no more than itself; a file that
 * ends in its check line is sound, whatever its lines are, and neither after a bit of it has flipped nor with
 * another checksum. The checksum is compared with one that is computed bit by bit.
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

uint32_t crc_bit_by_bit(std::string_view bytes) {
    uint32_t rest = 0xFFFFFFFF;
    for (const char each : bytes) {
        rest ^= static_cast<unsigned char>(each);
        for (int bit = 0; bit < 8; ++bit) {
            rest = (rest & 1) != 0 ? (rest >> 1) ^ 0xEDB88320 : rest >> 1;
        }
    }
    return ~rest;
}

/* The line of a file reads as it was written, and has the checksum of what stands before it. */
void check_written_line(const std::string &content, uint64_t generation) {
    const size_t begin = content.rfind(kCheckLineBegin);
    CheckLine read;
    FUZZ_CHECK(read_check_line(std::string_view(content).substr(begin, content.size() - 1 - begin), read));
    FUZZ_CHECK(read.format == kStoreFormat && read.generation == generation);
    FUZZ_CHECK(read.check == crc_bit_by_bit(std::string_view(content).substr(0, begin + read.covered)));
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
    check_written_line(content, size);
    const size_t last_digit = content.size() - 2;
    std::string lie = content;
    lie[last_digit] = lie[last_digit] == '0' ? '1' : '0';
    FUZZ_CHECK(integrity_of(lie) == Integrity::kWrong);

    const size_t covered = content.rfind("check=");
    const uint32_t wanted =
        size < 4 ? 0 : uint32_t{data[0]} | uint32_t{data[1]} << 8 | uint32_t{data[2]} << 16;
    const size_t place = wanted % covered;
    content[place] = static_cast<char>(content[place] ^ (1 << (size < 4 ? 0 : data[3] % 8)));
    FUZZ_CHECK(integrity_of(content) != Integrity::kSound);
    return 0;
}
