/*
 * The modem as the adaptation sees it: a program that links fake_modem.cpp asks this one instead of libmal.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "libmal.h"

/* The bytes of a PLMN record. */
std::string plmn_bytes(const std::string &mcc, const std::string &mnc);

/* The bytes of a name, as a modem that fills the whole buffer writes them. */
std::string spn_bytes(const std::string &name);

/* What a call for a text answers, with all the bytes that it writes, failed or not. */
struct ModemText {
    int32_t ret;
    std::string bytes;
};

/* What a poll of the SIM's state answers, and the state that it writes, failed or not. */
struct ModemPoll {
    int32_t ret;
    int32_t status;
};

/* The calls of one kind take the answers one after another, and then the last one again and again. */
struct FakeModem {
    int32_t init_ret = MAL_NO_ERR;
    std::vector<int32_t> mpss = {1};
    std::vector<ModemPoll> polls = {{MAL_NO_ERR, MAL_SIM_STATUS_USABLE}};
    std::vector<ModemText> plmns = {{MAL_NO_ERR, plmn_bytes("460", "01")}};
    std::vector<ModemText> spns = {{MAL_NO_ERR, spn_bytes("")}};
    std::function<void(const std::string &)> seen; /* called for each call, such as "modem plmn 1 8" */
};

/* The program's one modem. */
FakeModem &fake_modem();
