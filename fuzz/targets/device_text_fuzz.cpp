/*
 * Fuzzes two files with one word each: the hardware id in the kernel's command line, and the reason of the
 * last reboot.
 *
 * The input is the size of a buffer (2 bytes), and the file.
 */
#include "formats/device_paths.h"
#include "frwk_common.h"
#include "internal/guarded_file.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kBufferMax = 128;
constexpr size_t kCommandLineMax = 2048;
constexpr size_t kReasonMax = 31;
constexpr char kFill = '#';

std::string g_file;

/* The file as a text of at most so many characters. */
std::string text_of(size_t most) {
    const std::string text = g_file.substr(0, most);
    return text.substr(0, text.find('\0'));
}

/* The id, truncated before the caller's last byte, and a NUL if there is room. */
std::string expected_buffer(uint32_t size) {
    std::string buffer(size, kFill);
    const std::string key = "hardware.id=";
    const std::string text = text_of(kCommandLineMax);
    const size_t at = text.find(key);
    if (at == std::string::npos || size == 0) {
        return buffer;
    }
    const std::string value = text.substr(at + key.size());
    const std::string id = value.substr(0, value.find_first_of(" \r\n")) + '\0';
    const size_t copied = std::min<size_t>(id.size(), size - 1);
    return buffer.replace(0, copied, id, 0, copied);
}

void check_hardware_id(uint32_t size) {
    const std::unique_ptr<char[]> buffer(new char[size]);
    std::fill_n(buffer.get(), size, kFill);
    frwk_get_hardware_id(buffer.get(), size);
    FUZZ_CHECK(std::string(buffer.get(), size) == expected_buffer(size));
}

void check_reboot_reason() {
    const long long number = std::strtoll(text_of(kReasonMax).c_str(), nullptr, 10);
    FUZZ_CHECK(frwk_reboot_reason_get() == std::clamp<long long>(number, INT32_MIN, INT32_MAX));
}

bool is_one_of_the_two(const char *path) {
    return std::strcmp(path, paths::kKernelCommandLine) == 0 || std::strcmp(path, paths::kRebootReason) == 0;
}

}  // namespace

extern "C" int32_t __wrap_os_file_exist(const char *path) {
    FUZZ_CHECK(is_one_of_the_two(path));
    return 1;
}

namespace {

std::FILE *open_file(const char *path) {
    FUZZ_CHECK(is_one_of_the_two(path));
    std::FILE *stream = ::fmemopen(g_file.data(), g_file.size(), "r");
    FUZZ_CHECK(stream != nullptr);
    return stream;
}

}  // namespace

extern "C" std::FILE *__wrap_fopen64(const char *path, const char *) {
    return open_file(path);
}

UniqueFile open_in_memory(const char *path, int flags, mode_t mode, Planted planted,
                          const char *stream_mode) __asm__("__wrap__Z19open_guarded_streamPKcij7PlantedS0_");

UniqueFile open_in_memory(const char *path, int, mode_t, Planted, const char *) {
    return UniqueFile(open_file(path));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const uint32_t buffer = input.number(kBufferMax);
    g_file = input.rest();

    check_hardware_id(buffer);
    check_reboot_reason();
    return 0;
}
