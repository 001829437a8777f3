/*
 * A secret in the real database: it is not in any file or log, and can't be altered unnoticed.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "base64.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "os_mem.h"
#include "support/system_log.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kSecret[] = "correct horse battery staple";
constexpr char kUserData[] = "/m_data/usr/db/user_data.txt";
constexpr char kView[] = "/tmp/m_tmp/zndb/view";

class StoredSecret : public ZndbTest {
  protected:
    /* Starts the database with these variables in its environment. */
    void start_logged(const std::vector<std::string> &environment) {
        zndb_ = std::make_unique<ChildProcess>(std::vector<std::string>{ZNDB_PROGRAM}, environment);
        ASSERT_TRUE(wait_until([] { return frwk_get_module_status(E_APPS_MODULE_ZNDB) == 1; }));
    }

    /* Runs the module that uses a secret, in the same way. Returns what it wrote to standard error. */
    static std::string use_secret(const std::vector<std::string> &environment) {
        ChildProcess module({SECRET_MODULE, "wifi_key", kSecret}, environment);
        for (const char *line :
             {"set 0", "get 0", "get-short 9", "get-altered 4", "get-as-bool 3", "get-again 0", "save 0"}) {
            EXPECT_EQ(line, module.read_line().value_or("(nothing)"));
        }
        EXPECT_EQ(0, module.exit_status());
        return module.errors();
    }

    SystemLog system_log_;
};

apps_err_e_type put(const std::string &bytes) {
    return frwk_zndb_set_key_value_encrypt("wifi_key", FRWK_DATA_TYPE_CIPHER, bytes.data(),
                                           static_cast<uint32_t>(bytes.size()));
}

/* Reads the secret into a buffer full of 'U', which only success may change. */
std::string secret_or_code() {
    char out[64];
    std::memset(out, 'U', sizeof(out));
    const apps_err_e_type ret =
        frwk_zndb_get_key_value_decrypt("wifi_key", FRWK_DATA_TYPE_CIPHER, out, sizeof(out));
    if (ret == E_APPS_ERR_SUCCESS) {
        return out;
    }
    const bool untouched = std::string(out, sizeof(out)) == std::string(sizeof(out), 'U');
    return "code " + std::to_string(ret) + (untouched ? "" : ", and the buffer has changed");
}

std::string hexadecimal(const std::string &bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += kDigits[value / 16];
        text += kDigits[value % 16];
    }
    return text;
}

/* The part of a base64 text that this secret makes, with this many bytes before it. */
std::string base64_part(const std::string &secret, size_t before) {
    const std::string bytes = std::string(before, 'x') + secret;
    char *text = base64_encrypt(bytes.data(), static_cast<uint32_t>(bytes.size()));
    const std::string whole = text;
    os_mem_free(text);
    return whole.substr(4, bytes.size() / 3 * 4 - 4);
}

/* What gives a secret away: itself, most of it, and its usual encodings. */
std::vector<std::string> forms_of(const std::string &secret) {
    return {secret,
            secret.substr(0, secret.size() / 2),
            secret.substr(secret.size() / 2),
            std::string(secret.rbegin(), secret.rend()),
            hexadecimal(secret),
            base64_part(secret, 0),
            base64_part(secret, 1),
            base64_part(secret, 2)};
}

bool shows(const std::string &text, const std::string &secret) {
    for (const std::string &form : forms_of(secret)) {
        if (text.find(form) != std::string::npos) {
            return true;
        }
    }
    return false;
}

/* The device's files that show the secret in any form, sorted. */
std::vector<std::string> files_that_show(const std::string &secret) {
    std::vector<std::string> found;
    for (const char *root : {"/m_data", "/m_webui", "/tmp/m_tmp"}) {
        for (const auto &entry : std::filesystem::recursive_directory_iterator(root)) {
            if (entry.is_regular_file() && shows(file_text(entry.path()), secret)) {
                found.push_back(entry.path());
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

/* Every text that differs from this one in one character, by one of a few replacements. */
std::vector<std::string> altered_texts(const std::string &text) {
    std::vector<std::string> all;
    for (size_t i = 0; i < text.size(); ++i) {
        for (const char replacement : {'A', '/', '=', ' ', '!'}) {
            if (text[i] != replacement) {
                all.push_back(text);
                all.back()[i] = replacement;
            }
        }
    }
    return all;
}

TEST_F(StoredSecret, ComesBackToTheModuleAfterARestart) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    EXPECT_EQ(kSecret, secret_or_code());
    restart();
    EXPECT_EQ(kSecret, secret_or_code());
}

TEST_F(StoredSecret, ComesBackToTheModuleAfterAPowerCut) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    EXPECT_EQ(0, zndb_save());
    cut_power();
    EXPECT_EQ(kSecret, secret_or_code());
}

TEST_F(StoredSecret, IsInNoFileOfTheDeviceBeforeASaveNorAfter) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    EXPECT_NE("", file_text("/tmp/m_tmp/zndb/journal.plain"));
    EXPECT_EQ(std::vector<std::string>{}, files_that_show(kSecret));

    EXPECT_EQ(0, zndb_save());
    EXPECT_NE(std::string::npos, file_text(kUserData).find("wifi_key="));
    EXPECT_EQ(std::vector<std::string>{}, files_that_show(kSecret));

    EXPECT_EQ(0, zndb_del("wifi_key"));
    EXPECT_EQ(0, zndb_save_ram());
    EXPECT_EQ(std::vector<std::string>{}, files_that_show(kSecret));
}

TEST_F(StoredSecret, WouldBeFoundIfItWereStoredAsATextOrAsBase64) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("k", FRWK_DATA_TYPE_STRING, kSecret));
    EXPECT_EQ((std::vector<std::string>{"/tmp/m_tmp/zndb/journal.plain", kView}), files_that_show(kSecret));
    EXPECT_EQ(E_APPS_ERR_SUCCESS,
              frwk_zndb_set_key_value_encrypt("k", FRWK_DATA_TYPE_BASE64, kSecret, sizeof(kSecret) - 1));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ((std::vector<std::string>{kUserData, kView}), files_that_show(kSecret));
}

TEST_F(StoredSecret, IsInNoLogAtTheDefaultLevels) {
    start_logged({});
    const std::string errors = use_secret({});
    EXPECT_TRUE(system_log_.wait_for("xzn decrypt error!"));
    const std::string system = system_log_.text();
    EXPECT_FALSE(shows(errors + zndb_->errors() + system, kSecret)) << errors << system;
}

TEST_F(StoredSecret, IsInNoLogAtTheDebugLevels) {
    const std::vector<std::string> everything = {"QUOR_DEBUG=1", "QUOR_SYSLOG_LEVEL=8"};
    start_logged(everything);
    const std::string errors = use_secret(everything);
    EXPECT_NE(std::string::npos, errors.find("xzn decrypt error!")) << errors;
    EXPECT_TRUE(system_log_.wait_for("xzn decrypt error!"));
    const std::string system = system_log_.text();
    EXPECT_FALSE(shows(errors + zndb_->errors() + system, kSecret)) << errors << system;
}

TEST_F(StoredSecret, IsStoredDifferentlyEachTime) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    const std::string once = plain("wifi_key");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    EXPECT_NE(once, plain("wifi_key"));
    EXPECT_EQ(kSecret, secret_or_code());
    EXPECT_EQ(0, zndb_set("wifi_key", once.c_str()));
    EXPECT_EQ(kSecret, secret_or_code());
}

TEST_F(StoredSecret, IsRefusedWithAnyCharacterOfItsStoredTextAltered) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    const std::string whole = plain("wifi_key");
    for (const std::string &altered : altered_texts(whole)) {
        ASSERT_EQ(0, zndb_set("wifi_key", altered.c_str()));
        ASSERT_EQ("code 4", secret_or_code()) << whole << "\n" << altered;
    }
    EXPECT_EQ(0, zndb_set("wifi_key", whole.c_str()));
    EXPECT_EQ(kSecret, secret_or_code());
}

TEST_F(StoredSecret, IsRefusedWhenItsFileWasAltered) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    EXPECT_EQ(0, zndb_save());
    std::string content = file_text(kUserData);
    const size_t place = std::strlen("wifi_key=") + 30;
    content[place] = content[place] == 'A' ? 'B' : 'A';
    ASSERT_TRUE(write_text(kUserData, content));
    cut_power();
    EXPECT_EQ("code 4", secret_or_code());
}

TEST_F(StoredSecret, IsRefusedByADeviceWithAnotherKey) {
    start();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(kSecret));
    ASSERT_TRUE(write_text("/etc/quor_product.key", std::string(32, 'k')));
    EXPECT_EQ("code 4", secret_or_code());
    ASSERT_TRUE(std::filesystem::remove("/etc/quor_product.key"));
    EXPECT_EQ(kSecret, secret_or_code());
}

}  // namespace
