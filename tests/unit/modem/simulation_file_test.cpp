/*
 * Values of the simulated modem's file.
 */
#include "simulation_file.h"

#include "unit/modem/simulated_modem.h"

using namespace std::string_literals;

namespace {

class SimulationFile : public SimulatedModem {
  protected:
    /* The value, or "unknown". */
    static std::string value_of(const char *key) {
        const SimulatedValue value(key);
        return value.known() ? value.text() : "unknown";
    }
};

}  // namespace

TEST_F(SimulationFile, TakesTheFirstLineOfAKeyAndSkipsOtherLines) {
    simulate("# spn=comment\nspn\nspn2=other\n spn=blank\n\nspn=first\nspn=second\n");
    EXPECT_EQ("first", value_of("spn"));
}

TEST_F(SimulationFile, ReadsLinesWithCrLfAndWithoutALastLineEnd) {
    simulate("spn=name\r\nsim_status=5\r\nmcc=460\r\nmnc=01");
    EXPECT_EQ("name", value_of("spn"));
    EXPECT_EQ(5, SimulatedValue("sim_status").number());
    EXPECT_EQ("460", value_of("mcc"));
    EXPECT_EQ("01", value_of("mnc"));
}

TEST_F(SimulationFile, NeverTakesTheRestOfALongLineForALine) {
    simulate(std::string(127, 'x') + "spn=inside\n");
    EXPECT_EQ("unknown", value_of("spn"));
    simulate("spn=" + std::string(5000, 'y') + "\nmcc=460\n");
    EXPECT_EQ(std::string(63, 'y'), value_of("spn"));
    EXPECT_EQ("460", value_of("mcc"));
}

TEST_F(SimulationFile, SurvivesRubbishInPlaceOfItsFile) {
    simulate("\0spn=x\nsp\0n=y\n\xff\xfe=\n"s);
    EXPECT_EQ("unknown", value_of("spn"));
    std::filesystem::remove(MAL_SIMULATION_FILE);
    std::filesystem::create_directory(MAL_SIMULATION_FILE);
    EXPECT_EQ("unknown", value_of("spn"));
    EXPECT_EQ("unknown", value_of("mpss"));
}
