/*
 * A device with a SIM: the database, a monitor that only listens, and the module mnet, which adapts the
 * device and waits for the modem side.
 */
#pragma once

#include <memory>
#include <string>

#include "support/module_process.h"
#include "system/zndb/zndb_process.h"

/* The types of a run. */
inline constexpr int kRunTime = 0;
inline constexpr int kBoot = 1;

inline const std::string kSubnetFolder = "/m_webui/usr/db/subnet";

class SimDevice : public ZndbTest {
  protected:
    /* Removes what another test left. Nothing runs yet, no SIM is inserted, the feature is on once it runs.
     */
    SimDevice();

    /* Starts the database and the monitor. */
    void power_on();

    /* Reboots as the monitor does: notifies the database, ends the module, clears tmpfs. */
    void reboot();

    /* Runs the adaptation in a module whose waits take no time, and waits for its end. */
    void adapt(int type);

    /* Starts that module. */
    void start_module(const std::vector<std::string> &environment = {"LD_PRELOAD=" SHORT_SLEEP});

    /* The module's log since its start. */
    std::string log() const { return module_->process().errors(); }
    bool logged(const std::string &text) const { return log().find(text) != std::string::npos; }
    size_t count_logged(const std::string &text) const;

    /* How many reboots with reason 801 the module has asked the monitor for, which get there late. */
    bool wait_for_reboots(size_t count) const;
    size_t reboots() const;

    std::string status() const { return plain("mnet_sim_subnet_adapt_status"); }

    std::unique_ptr<ModuleProcess> monitor_;
    std::unique_ptr<ModuleProcess> module_;
};

/* Inserts a SIM. */
void insert_sim(const std::string &mcc, const std::string &mnc, const std::string &spn = "");

/* Writes the file of the simulated modem. */
void simulate(const std::string &lines);

/* Writes an operator file. name: its path in the operators' folder. */
void put_file(const std::string &name, const std::string &content);
