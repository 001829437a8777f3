/*
 * The content of the trace mask.
 */
#include "unit/frwk_utils/settings/trace_mask_fixture.h"

TEST_F(TraceMaskTest, HoldsTheTracedModulesTheModemSideAndTheLibraries) {
    switch_on();
    trace(E_APPS_MODULE_ROUTER);
    trace(E_APPS_MODULE_VOICE);
    EXPECT_EQ("router,voice,mpss,lib,base", mask());
}

TEST_F(TraceMaskTest, FiveModulesStandUnderTheirOwnNames) {
    switch_on();
    for (const int32_t id : {11, 10, 9, 5, 3}) {
        trace(id);
        frwk_module_unset(id, FRWK_FLAG_MPSS);
    }
    EXPECT_EQ("router,wlan,device,voice,sms,lib,base", mask());
}

TEST_F(TraceMaskTest, TheTimeClientStandsUnderAnotherName) {
    switch_on();
    trace(E_APPS_MODULE_FGNTP);
    frwk_module_unset(E_APPS_MODULE_FGNTP, FRWK_FLAG_MPSS);
    EXPECT_EQ("ntp,lib,base", mask());
}

TEST_F(TraceMaskTest, FiveModulesStandTogetherAsUpgrade) {
    switch_on();
    for (const int32_t id : {8, 15, 16, 17, 18}) {
        trace(id);
        frwk_module_unset(id, FRWK_FLAG_MPSS);
        EXPECT_EQ("upgrade,lib,base", mask()) << id;
        remove_node(std::string("/m_data/usr/trace/") + frwk_module_name(id));
    }
}

TEST_F(TraceMaskTest, UpgradeIsNamedOnce) {
    switch_on();
    trace(E_APPS_MODULE_FOTA);
    trace(E_APPS_MODULE_TR069);
    frwk_module_unset(E_APPS_MODULE_FOTA, FRWK_FLAG_MPSS);
    frwk_module_unset(E_APPS_MODULE_TR069, FRWK_FLAG_MPSS);
    EXPECT_EQ("upgrade,lib,base", mask());
}

TEST_F(TraceMaskTest, TheModemSideComesBeforeUpgrade) {
    switch_on();
    trace(E_APPS_MODULE_SMS);
    trace(E_APPS_MODULE_FOTA);
    frwk_module_set(E_APPS_MODULE_FOTA, FRWK_FLAG_MPSS);
    EXPECT_EQ("sms,mpss,upgrade,lib,base", mask());
}

TEST_F(TraceMaskTest, AnyOtherModuleAddsOnlyThatItNeedsTheModemSide) {
    switch_on();
    trace(E_APPS_MODULE_LOGTOOL);
    frwk_module_set(E_APPS_MODULE_LOGTOOL, FRWK_FLAG_MPSS);
    EXPECT_EQ("mpss,lib,base", mask());
    frwk_module_unset(E_APPS_MODULE_LOGTOOL, FRWK_FLAG_MPSS);
    EXPECT_EQ("(none)", mask());
}

TEST_F(TraceMaskTest, AModuleOutsideTheStartUpListDoesNotCount) {
    switch_on();
    trace(E_APPS_MODULE_ROUTER);
    trace(E_APPS_MODULE_WLAN);
    frwk_module_unset(E_APPS_MODULE_ROUTER, FRWK_FLAG_RUN | FRWK_FLAG_MPSS);
    frwk_module_unset(E_APPS_MODULE_WLAN, FRWK_FLAG_MPSS);
    EXPECT_EQ("wlan,lib,base", mask());
}

TEST_F(TraceMaskTest, ADisabledModuleDoesNotCount) {
    switch_on();
    trace(E_APPS_MODULE_ROUTER);
    trace(E_APPS_MODULE_WLAN);
    frwk_module_unset(E_APPS_MODULE_WLAN, FRWK_FLAG_MPSS);
    write_file("/m_data/factor/apps_disable/router", "");
    EXPECT_EQ("wlan,lib,base", mask());
}

TEST_F(TraceMaskTest, AModuleWithoutATraceFileDoesNotCount) {
    switch_on();
    frwk_module_set(E_APPS_MODULE_ROUTER, FRWK_FLAG_RUN);
    EXPECT_EQ("(none)", mask());
}

TEST_F(TraceMaskTest, AnEmptySlotDoesNotCount) {
    switch_on();
    frwk_module_set(E_APPS_MODULE_START_THIRD_APP, FRWK_FLAG_RUN | FRWK_FLAG_MPSS);
    ASSERT_EQ(nullptr, frwk_module_name(E_APPS_MODULE_START_THIRD_APP + 1));
    frwk_module_set(E_APPS_MODULE_START_THIRD_APP + 1, FRWK_FLAG_RUN | FRWK_FLAG_MPSS);
    EXPECT_EQ("(none)", mask());
}

TEST_F(TraceMaskTest, WithEveryModuleTracedItHoldsEveryWord) {
    switch_on();
    for (int32_t id = 1; id < E_APPS_MODULE_MAX; ++id) {
        if (frwk_module_name(id) != nullptr) {
            trace(id);
        }
    }
    EXPECT_EQ("router,wlan,device,voice,sms,ntp,mpss,upgrade,lib,base", mask());
}

TEST_F(TraceMaskTest, NamesThatDoNotFitAreLeftOut) {
    switch_on();
    const std::string name(109, 'n');
    for (const int32_t id : {3, 5, 9}) {
        g_modules_info[id].name = name.c_str();
        trace(id);
        frwk_module_unset(id, FRWK_FLAG_MPSS);
    }
    EXPECT_EQ(name + "," + name + ",lib,base", mask());
}
