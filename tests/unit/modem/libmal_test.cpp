/*
 * The simulated modem: the results of its calls for the content of its file.
 */
#include "libmal.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "unit/modem/simulated_modem.h"

namespace {

constexpr int32_t kUntouched = -777;

class Libmal : public SimulatedModem {
  protected:
    /* The state, or kUntouched when the call failed. */
    static int32_t status() {
        int32_t value = kUntouched;
        const int32_t ret = libmal_get_sim_status(MAL_SIM_SLOT_FIRST, &value);
        EXPECT_EQ(value == kUntouched ? MAL_FAILURE_ERR : MAL_NO_ERR, ret);
        return value;
    }

    /* The two codes with a blank between them, or "failed". */
    static std::string plmn() {
        mal_sim_plmn_t record;
        std::memset(&record, 'U', sizeof(record));
        if (libmal_get_sim_plmn(MAL_SIM_SLOT_FIRST, &record, sizeof(record)) != MAL_NO_ERR) {
            EXPECT_EQ(0, std::memcmp("UUUUUUUU", &record, sizeof(record)));
            return "failed";
        }
        return std::string(record.mcc) + " " + record.mnc;
    }

    /* The name, or "failed". */
    static std::string spn(uint32_t size = MAL_SIM_SPN_SIZE) {
        char name[64] = "untouched";
        if (libmal_get_sim_spn(MAL_SIM_SLOT_FIRST, name, size) != MAL_NO_ERR) {
            EXPECT_STREQ("untouched", name);
            return "failed";
        }
        return name;
    }
};

}  // namespace

TEST_F(Libmal, AnswersWhatItsFileSays) {
    simulate("mpss=1\nsim_status=2\nmcc=460\nmnc=01\nspn=XYZ Mobile\n");
    EXPECT_EQ(1, libmal_get_mpss_status());
    EXPECT_EQ(2, status());
    EXPECT_EQ("460 01", plmn());
    EXPECT_EQ("XYZ Mobile", spn());
}

TEST_F(Libmal, ReadsItsFileAnewAtEveryCall) {
    simulate("sim_status=0\nspn=first\nmpss=0\n");
    EXPECT_EQ(0, status());
    EXPECT_EQ("first", spn());
    EXPECT_EQ(0, libmal_get_mpss_status());
    simulate("sim_status=5\nspn=second\nmpss=2\n");
    EXPECT_EQ(5, status());
    EXPECT_EQ("second", spn());
    EXPECT_EQ(2, libmal_get_mpss_status());
}

TEST_F(Libmal, WithoutAFileTheModemSideIsUpAndNoSimIsThere) {
    EXPECT_EQ(1, libmal_get_mpss_status());
    EXPECT_EQ(kUntouched, status());
    EXPECT_EQ("failed", plmn());
    EXPECT_EQ("failed", spn());
}

TEST_F(Libmal, WhatTheFileDoesNotTellFails) {
    simulate("sim_status=2\nmcc=460\n");
    EXPECT_EQ(2, status());
    EXPECT_EQ("failed", plmn());
    EXPECT_EQ("failed", spn());
    simulate("mnc=01\nspn=\n");
    EXPECT_EQ("failed", plmn());
    EXPECT_EQ("", spn());
}

TEST_F(Libmal, AnyNumberIsAState) {
    for (const int32_t number : {0, 1, 3, 8, 42, -1}) {
        simulate("sim_status=" + std::to_string(number));
        EXPECT_EQ(number, status());
    }
    simulate("sim_status=99999999999999999999");
    EXPECT_EQ(INT32_MAX, status());
    simulate("sim_status=none");
    EXPECT_EQ(0, status());
}

TEST_F(Libmal, CutsCodesAndNamesToTheirFields) {
    simulate("mcc=46012\nmnc=0199\nspn=" + std::string(40, 's') + "\n");
    EXPECT_EQ("460 019", plmn());
    EXPECT_EQ(std::string(16, 's'), spn());
    EXPECT_EQ("ss", spn(3));
    EXPECT_EQ("", spn(1));
}

TEST_F(Libmal, HandsOutHostileTextsAsTheyAre) {
    simulate("mcc=../\nmnc=/..\nspn=../../etc/x\n");
    EXPECT_EQ("../ /..", plmn());
    EXPECT_EQ("../../etc/x", spn());
}

TEST_F(Libmal, InitialisesOnceAndSaysSoAfterwards) {
    EXPECT_EQ(MAL_FAILURE_ERR, mal_client_init(nullptr, 0));
    const int32_t first = mal_client_init("mnet", 0);
    EXPECT_TRUE(first == MAL_NO_ERR || first == MAL_INITIAL_ALREADY_ERR);
    EXPECT_EQ(MAL_INITIAL_ALREADY_ERR, mal_client_init("mnet", 0));
    EXPECT_EQ(MAL_INITIAL_ALREADY_ERR, mal_client_init("other", 0));
}

TEST_F(Libmal, RefusesOtherSlotsAndBadBuffers) {
    simulate("sim_status=2\nmcc=460\nmnc=01\nspn=name\n");
    int32_t value = kUntouched;
    char buffer[32] = "untouched";
    for (const int32_t slot : {0, 2, -1}) {
        EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_status(slot, &value));
        EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_plmn(slot, buffer, sizeof(buffer)));
        EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_spn(slot, buffer, sizeof(buffer)));
    }
    EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_status(MAL_SIM_SLOT_FIRST, nullptr));
    EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_plmn(MAL_SIM_SLOT_FIRST, nullptr, 8));
    EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_plmn(MAL_SIM_SLOT_FIRST, buffer, 7));
    EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_spn(MAL_SIM_SLOT_FIRST, nullptr, 17));
    EXPECT_EQ(MAL_FAILURE_ERR, libmal_get_sim_spn(MAL_SIM_SLOT_FIRST, buffer, 0));
    EXPECT_EQ(kUntouched, value);
    EXPECT_STREQ("untouched", buffer);
}
