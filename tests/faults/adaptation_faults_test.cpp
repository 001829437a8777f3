/*
 * The adaptation to the SIM and the product.
 */
#include <filesystem>

#include "faults/faulty_device.h"
#include "frwk_utils.h"
#include "libmal.h"
#include "zndb.h"

namespace faults {

namespace {

using AdaptationFaults = FaultyDevice;

constexpr char kOperatorFile[] = "/m_webui/usr/db/subnet/26201/custom_data.txt";
constexpr char kProductFile[] = "/m_data/usr/product.txt";

void forget_adaptation() {
    zndb_set("mnet_sim_subnet_switch", "on");
    zndb_set("mnet_sim_subnet_adapt_status", "");
    for (const char *key : {"operator", "mnet_sim_subnet_plmn", "mnet_sim_subnet_spn", "mnet_sim_subnet_md5",
                            "mnet_sim_subnet_path"}) {
        zndb_del_perm(key);
    }
}

std::vector<Scenario> adaptation() {
    return {
        Scenario("frwk_sim_subnet_handle")
            .prepared(forget_adaptation)
            .called([] {
                frwk_sim_subnet_handle(0);
                return 0;
            })
            .verified([] {
                return stored_perm("operator") == "one" && stored("mnet_sim_subnet_adapt_status") == "2";
            })
            .reporting(Reports::kLog)
            .except({Call::fgetc}, Waived::kEffect,
                    "the simulated modem reads its file so, and no device has it"),
        Scenario("frwk_specify_path_db_adapt")
            .prepared([] {
                zndb_del("first");
                zndb_del("second");
            })
            .called([] { return frwk_specify_path_db_adapt(kProductFile); })
            .verified([] { return stored("first") == "1" && stored("second") == "2"; })
            .failing({-1})
            .except({Call::fgets}, Waived::kEffectIfLogged, "the lines that could be read are set")
            .except({Call::malloc, Call::socket, Call::connect, Call::fcntl64, Call::poll, Call::sendmsg,
                     Call::recv},
                    Waived::kEffectIfLogged, "a key that can't be set is passed over"),
    };
}

}  // namespace

TEST_F(AdaptationFaults, OperatorAndProduct) {
    put_text(MAL_SIMULATION_FILE, "mpss=1\nsim_status=2\nmcc=262\nmnc=01\nspn=\n");
    put_text(kOperatorFile, "operator=one\n");
    put_text(kProductFile, "first=1\nsecond=2\n");
    start_database();
    run_scenarios(adaptation());
}

}  // namespace faults
