/*
 * A SIM is untrusted input: whatever its data, no file outside the operators' folder is opened.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "system/sim/sim_device.h"

namespace {

constexpr char kStolen[] = "apn=stolen\n";

class BadIdentity : public SimDevice {
  protected:
    /* Files that a path built from a hostile identity would reach. */
    BadIdentity() {
        put_file("custom_data.txt", "apn=default\n");
        put_file("46001/custom_data.txt", "apn=operator\n");
        put_file("46001/custom_x/custom_data.txt", kStolen);
        for (const char *path : kOutside) {
            EXPECT_TRUE(write_text(path, kStolen));
        }
    }
    ~BadIdentity() override {
        for (const char *path : kOutside) {
            std::filesystem::remove(path);
        }
    }

    static constexpr const char *kOutside[] = {"/m_webui/usr/db/custom_data.txt",
                                               "/m_webui/usr/custom_data.txt", "/m_webui/usr/db/x_data.txt",
                                               "/m_webui/custom_data.txt", "/custom_data.txt"};

    /* The value that a SIM gets, and the path of the file that it came from. */
    void expect(const std::string &value, const std::string &file) {
        adapt(kRunTime);
        EXPECT_EQ(value, perm("apn"));
        EXPECT_EQ(kSubnetFolder + "/" + file, perm("mnet_sim_subnet_path"));
        EXPECT_TRUE(logged("can't name an operator file")) << log();
    }
};

TEST_F(BadIdentity, APlmnWithASlashOrTwoDotsGetsTheDefaultFile) {
    power_on();
    for (const auto &[mcc, mnc] : {std::pair("..", ""), std::pair("../", ".."), std::pair("../", "../"),
                                   std::pair("/", ""), std::pair(".", "."), std::pair("46/", "..")}) {
        insert_sim(mcc, mnc, "x");
        expect("default", "custom_data.txt");
    }
}

TEST_F(BadIdentity, ANameWithASlashOrTwoDotsGetsTheOperatorsFile) {
    power_on();
    for (const char *spn : {"x/custom_data.tx", "/../../../x", "../../x", "..", "/", "a/../../../../x"}) {
        insert_sim("460", "01", spn);
        expect("operator", "46001/custom_data.txt");
    }
}

TEST_F(BadIdentity, ACustomMncWithASlashOrTwoDotsGetsTheDefaultFile) {
    insert_sim("460", "01");
    power_on();
    for (const char *mnc : {"/..", "..", "/"}) {
        EXPECT_EQ(0, zndb_set("mnet_sim_subnet_custom_mnc", mnc));
        expect("default", "custom_data.txt");
    }
}

TEST_F(BadIdentity, ALongNameIsCutToItsField) {
    put_file("46001/custom_" + std::string(16, 's') + "_data.txt", "apn=long name\n");
    insert_sim("460", "01", std::string(60, 's'));
    power_on();
    adapt(kRunTime);
    EXPECT_EQ("long name", perm("apn"));
}

}  // namespace
