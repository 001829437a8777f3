/*
 * The base library's own functions, where they can fail.
 */
#include <chrono>
#include <cstring>
#include <filesystem>

#include "base64.h"
#include "byte_buffer.h"
#include "cipher.h"
#include "faults/faulty_device.h"
#include "faults/time_passed.h"
#include "frwk_utils.h"
#include "json.h"
#include "md5.h"
#include "os_file.h"
#include "os_mem.h"
#include "os_process.h"
#include "os_thread.h"
#include "os_time.h"
#include "support/key_files.h"
#include "support/wait_until.h"
#include "xml.h"

namespace faults {

namespace {

using BaseFaults = FaultyDevice;

constexpr char kFile[] = "/m_data/usr/file";
constexpr char kCopy[] = "/m_data/usr/copy";
constexpr char kContentDigest[] = "9a0364b9e99bb480dd25e1f0284c8555"; /* of "content" */
constexpr char kTookPlace[] = "the whole new file is in its place; that its name is safe is what failed";
constexpr char kNoChannel[] = "the base library reports by its result; the caller logs";
constexpr char kSeesAnEnd[] = "a file that is shorter than its size has been cut meanwhile";

void *g_block = nullptr;
void *g_other = nullptr;
zn_bf_t g_buffer;
json_item *g_json = nullptr;
xml_doc *g_doc = nullptr;
FILE *g_pipe = nullptr;
os_thread_t g_thread = 0;
char g_text[MD5_TEXT_SIZE];
uint32_t g_size = 0;
std::string g_kept;
std::chrono::nanoseconds g_passed{0};

long is_there(const void *made) {
    return made != nullptr ? 1 : 0;
}

/* A function that makes something, or gives null. */
Scenario makes(const char *name, std::function<long()> call, std::function<void()> release) {
    return Scenario(name)
        .called(std::move(call))
        .released(std::move(release))
        .failing({0})
        .except({}, Waived::kWarning, kNoChannel);
}

void free_block() {
    os_mem_free(g_block);
    g_block = nullptr;
}

/* Keeps what the call handed out, for a look at it, and frees it. */
void keep_block(size_t size) {
    g_kept = g_block != nullptr ? std::string(static_cast<const char *>(g_block), size) : "";
    free_block();
}

void keep_text() {
    keep_block(g_block != nullptr ? std::strlen(static_cast<const char *>(g_block)) : 0);
}

void keep_data() {
    keep_block(g_size);
}

std::function<bool()> kept(const char *expected) {
    return [expected] { return g_kept == expected; };
}

std::vector<Scenario> memory() {
    return {
        makes(
            "os_mem_malloc", [] { return is_there(g_block = os_mem_malloc(100)); }, free_block),
        makes(
            "os_mem_strdup", [] { return is_there(g_block = os_mem_strdup("text")); }, keep_text)
            .verified(kept("text")),
        makes(
            "zn_bf_init", [] { return zn_bf_init(&g_buffer, 100); }, [] { zn_bf_free(&g_buffer); }),
        makes(
            "zn_bf_grow", [] { return zn_bf_grow(&g_buffer, 200); }, [] { zn_bf_free(&g_buffer); }),
        makes(
            "base64_encrypt", [] { return is_there(g_block = base64_encrypt("data", 4)); }, keep_text)
            .verified(kept("ZGF0YQ==")),
        makes(
            "base64_decrypt", [] { return is_there(g_block = base64_decrypt("ZGF0YQ==", 8, &g_size)); },
            keep_data)
            .verified(kept("data")),
    };
}

std::vector<Scenario> threads() {
    return {
        makes(
            "os_mutex_create", [] { return is_there(g_other = os_mutex_create()); },
            [] { os_mutex_close(static_cast<os_mutex *>(g_other)); }),
        makes(
            "os_sem_create", [] { return is_there(g_other = os_sem_create(0)); },
            [] { os_sem_close(static_cast<os_sem *>(g_other)); }),
        Scenario("os_thread_create")
            .prepared([] { g_thread = 0; })
            .called([] {
                return os_thread_create(
                    &g_thread, nullptr, [](void *argument) { return argument; }, nullptr);
            })
            .verified([] { return g_thread != 0; })
            .unchanged([] { return g_thread == 0; })
            .failing({ENOMEM, EAGAIN})
            .except({}, Waived::kWarning, kNoChannel),
        Scenario("os_sem_wait")
            .prepared([] { g_other = os_sem_create(1); })
            .called([] { return os_sem_wait(static_cast<os_sem *>(g_other)); })
            .released([] { os_sem_close(static_cast<os_sem *>(g_other)); }),
        Scenario("os_sleep")
            .called([] {
                g_passed = time_passed([] { os_sleep(1); });
                return 0;
            })
            .verified([] { return g_passed >= std::chrono::seconds(1); }),
        Scenario("os_msleep")
            .called([] {
                g_passed = time_passed([] { os_msleep(50); });
                return 0;
            })
            .verified([] { return g_passed >= std::chrono::milliseconds(50); }),
    };
}

std::vector<Scenario> processes() {
    return {
        Scenario("os_system")
            .prepared([] { std::filesystem::remove(kFile); })
            .called([] { return os_system("touch /m_data/usr/file"); })
            .verified([] { return std::filesystem::exists(kFile); })
            .failing({-1, 127 << 8})
            .except({}, Waived::kWarning, kNoChannel),
        makes(
            "os_popen", [] { return is_there(g_pipe = os_popen("echo said", "r")); },
            [] {
                char line[16] = "";
                g_kept = g_pipe != nullptr && std::fgets(line, sizeof(line), g_pipe) != nullptr ? line : "";
                os_pclose(g_pipe);
                g_pipe = nullptr;
            })
            .verified(kept("said\n")),
        Scenario("os_pclose").prepared([] { g_pipe = os_popen("true", "r"); }).called([] {
            return os_pclose(g_pipe);
        }),
        Scenario("os_command_scope_close")
            .prepared([] {
                os_command_scope_open();
                os_system("sleep 1000 & echo $! >/m_data/usr/file");
            })
            .called([] { return os_command_scope_close(); })
            .verified([] { return wait_until([] { return has_ended(std::stoi(file_text(kFile))); }); })
            .failing({-1})
            .varying()
            .except({}, Waived::kWarning, kNoChannel),
    };
}

std::vector<Scenario> files() {
    return {
        Scenario("md5_encrypt_file")
            .called([] {
                uint8_t digest[MD5_DIGEST_SIZE] = {};
                const long result = md5_encrypt_file(kCopy, digest);
                g_size = digest[0];
                return result;
            })
            .verified([] { return g_size == 0x9a; })
            .unchanged([] { return g_size == 0; })
            .failing({0})
            .except({}, Waived::kWarning, kNoChannel)
            .except({Call::read}, Waived::kEffect, kSeesAnEnd, Fault::Way::kEnds),
        Scenario("md5_encrypt_file_str")
            .called([] { return md5_encrypt_file_str(kCopy, g_text); })
            .prepared([] { g_text[0] = '\0'; })
            .verified([] { return std::strcmp(g_text, kContentDigest) == 0; })
            .unchanged([] { return g_text[0] == '\0'; })
            .failing({0})
            .except({}, Waived::kWarning, kNoChannel)
            .except({Call::read}, Waived::kEffect, kSeesAnEnd, Fault::Way::kEnds),
        makes(
            "os_file_exist", [] { return os_file_exist(kCopy); }, [] {}),
        makes(
            "os_file_size", [] { return static_cast<long>(os_file_size(kCopy)); }, [] {}),
        makes(
            "xml_file_parse", [] { return is_there(g_doc = xml_file_parse("/m_data/usr/doc.xml")); },
            [] {
                xml_node *child =
                    g_doc != nullptr ? xml_get_child_node(xml_get_doc_root(g_doc), "child") : nullptr;
                g_kept = child != nullptr ? xml_get_node_value(child) : "";
                xml_free_doc(g_doc);
                g_doc = nullptr;
            })
            .verified(kept("text"))
            .except({}, Waived::kEffect, kSeesAnEnd, Fault::Way::kEnds),
        makes(
            "json_parse",
            [] { return is_there(g_json = json_parse("{\"list\": [1, 2.5], \"key\": \"text\"}")); },
            [] {
                const json_item *item = json_get_object_item(g_json, "key");
                g_kept = item != nullptr ? json_get_string(item) : "";
                json_free(g_json);
                g_json = nullptr;
            })
            .verified(kept("text")),
    };
}

/* The data under the cipher. */
std::string opened(const std::string &text) {
    uint32_t size = 0;
    void *data = zn_decrypt_data(text.data(), static_cast<uint32_t>(text.size()), &size);
    const std::string bytes = data != nullptr ? std::string(static_cast<const char *>(data), size) : "";
    os_mem_free(data);
    return bytes;
}

std::vector<Scenario> ciphers() {
    return {
        makes(
            "zn_encrypt_data", [] { return is_there(g_block = zn_encrypt_data("data", 4)); }, keep_text)
            .verified([] { return opened(g_kept) == "data"; }),
        makes(
            "zn_decrypt_data",
            [] {
                const auto *text = static_cast<const char *>(g_other);
                return is_there(g_block =
                                    zn_decrypt_data(text, static_cast<uint32_t>(std::strlen(text)), &g_size));
            },
            keep_data)
            .verified(kept("data")),
        makes(
            "the device's own key", [] { return is_there(g_block = zn_encrypt_data("data", 4)); }, keep_text)
            .prepared(remove_key_files)
            .verified([] { return key_file_bytes(kDeviceKeyPath).size() == 32 && opened(g_kept) == "data"; })
            .except({Call::unlinkat}, Waived::kFile,
                    "what can't be removed stays until the next key is made"),
        makes(
            "the device's own key on a fresh device",
            [] { return is_there(g_block = zn_encrypt_data("data", 4)); }, keep_text)
            .prepared([] {
                remove_key_files();
                (void)rmdir(kPermanentFolder);
            })
            .verified([] { return key_file_bytes(kDeviceKeyPath).size() == 32 && opened(g_kept) == "data"; })
            .except({Call::unlinkat}, Waived::kFile,
                    "what can't be removed stays until the next key is made"),
    };
}

/* Longer than one chunk of the encryption. */
const std::string &long_text() {
    static const std::string text(70000, 'p');
    return text;
}

std::vector<Scenario> file_ciphers() {
    return {
        makes(
            "zn_encrypt_file_ex", [] { return zn_encrypt_file_ex(kFile); }, [] {})
            .prepared([] { put_text(kFile, long_text()); })
            .verified([] { return deciphered(kFile, kCopy) == long_text(); })
            .unchanged([] { return file_text(kFile) == long_text(); })
            .except({Call::fsync}, Waived::kChange, kTookPlace)
            .except({Call::read}, Waived::kEffect, kSeesAnEnd, Fault::Way::kEnds),
        makes(
            "zn_decrypt_file_ex", [] { return zn_decrypt_file_ex(kFile); }, [] {})
            .prepared([] {
                put_text(kFile, long_text());
                zn_encrypt_file_ex(kFile);
            })
            .verified([] { return file_text(kFile) == long_text(); })
            .unchanged([] { return deciphered(kFile, kCopy) == long_text(); })
            .except({Call::fsync}, Waived::kChange, kTookPlace),
    };
}

}  // namespace

TEST_F(BaseFaults, Memory) {
    run_scenarios(memory());
}

TEST_F(BaseFaults, Threads) {
    run_scenarios(threads());
}

TEST_F(BaseFaults, Processes) {
    run_scenarios(processes());
}

TEST_F(BaseFaults, Files) {
    put_text(kCopy, "content");
    put_text("/m_data/usr/doc.xml", "<root><child>text</child></root>");
    run_scenarios(files());
}

TEST_F(BaseFaults, Ciphers) {
    put_text(kProductKeyPath, some_key());
    char *text = zn_encrypt_data("data", 4);
    g_other = text;
    run_scenarios({ciphers()[0], ciphers()[1]});
    os_mem_free(text);
    run_scenarios({ciphers()[2], ciphers()[3]});
}

TEST_F(BaseFaults, FileCiphers) {
    put_text(kProductKeyPath, some_key());
    run_scenarios(file_ciphers());
}

}  // namespace faults
