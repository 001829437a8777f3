#include "factory_access.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "doubles/log_capture.h"
#include "support/lock_holder.h"
#include "support/record_lock_holder.h"

namespace {

constexpr ModuleSet kRouter = module_bit(E_APPS_MODULE_ROUTER);
constexpr ModuleSet kWlan = module_bit(E_APPS_MODULE_WLAN);
constexpr uint32_t kStranger = 60001;
constexpr int32_t kSet = 2004;

class FactoryAccessTest : public testing::Test {
  protected:
    FactoryAccessTest() {
        std::filesystem::remove_all("/tmp/m_tmp/lock");
        ::unsetenv("QUOR_ZNDB_FACTORY_WRITERS");
    }
    ~FactoryAccessTest() override { ::unsetenv("QUOR_ZNDB_FACTORY_WRITERS"); }

    static FactoryAccess with(const char *writers) {
        ::setenv("QUOR_ZNDB_FACTORY_WRITERS", writers, 1);
        return factory_access();
    }
    static bool may(const FactoryAccess &access, int32_t process, uint32_t user, uint32_t src) {
        const frwk_ipc_peer_t peer = {process, user};
        return may_write_factory(access, &peer, src, kSet);
    }
    static bool may_holder_of(const std::string &module, const FactoryAccess &access,
                              uint32_t src = E_APPS_MODULE_TOOL) {
        const LockHolder holder([&module] { (void)hold_instance_lock(module); });
        return may(access, holder.pid(), ::geteuid(), src);
    }

    const int32_t self_ = ::getpid();
    const uint32_t own_user_ = ::geteuid();
    LogCapture log_;
};

TEST_F(FactoryAccessTest, IsByDefaultOfTheModulesWithTheFlagAdminAndOfTools) {
    const FactoryAccess access = factory_access();
    EXPECT_TRUE(access.tools);
    for (uint32_t id = 1; id < E_APPS_MODULE_MAX; ++id) {
        const bool is_admin = (g_modules_info[id].flag & FRWK_FLAG_ADMIN) != 0;
        EXPECT_EQ(is_admin, (access.modules & module_bit(id)) != 0) << id;
    }
    EXPECT_EQ(0u, access.modules & kRouter);
    EXPECT_NE(0u, access.modules & kWlan);
}

TEST_F(FactoryAccessTest, IsOfThoseWhomTheVariableNames) {
    EXPECT_EQ(kRouter, with("router").modules);
    EXPECT_FALSE(with("router").tools);
    EXPECT_EQ(kRouter | kWlan, with("wlan,tool,router").modules);
    EXPECT_TRUE(with("wlan,tool,router").tools);
    EXPECT_EQ(0u, with("tool").modules);
    EXPECT_NE(0u, with("").modules) << "as without it";
    EXPECT_EQ("", log_.text());
}

TEST_F(FactoryAccessTest, NamesThatAreNoModulesAreLoggedAndIgnored) {
    EXPECT_EQ(kRouter, with("ruter,router").modules);
    EXPECT_TRUE(log_.contains("QUOR_ZNDB_FACTORY_WRITERS=ruter is ignored")) << log_.text();
    const FactoryAccess nobody = with(",");
    EXPECT_EQ(0u, nobody.modules);
    EXPECT_FALSE(nobody.tools);
}

TEST_F(FactoryAccessTest, TheHolderOfAnAdministratorsLockMayWriteWhateverItSaysItIs) {
    EXPECT_TRUE(may_holder_of("device", factory_access()));
    EXPECT_TRUE(may_holder_of("wlan", factory_access(), E_APPS_MODULE_ROUTER));
    EXPECT_EQ("", log_.text());
}

TEST_F(FactoryAccessTest, TheHolderOfAnotherLockMayNotWhateverItSaysItIs) {
    EXPECT_FALSE(may_holder_of("router", factory_access(), E_APPS_MODULE_TOOL));
    EXPECT_FALSE(may_holder_of("router", factory_access(), E_APPS_MODULE_DEVICE));
    EXPECT_TRUE(may_holder_of("router", with("router")));
    EXPECT_FALSE(may_holder_of("device", with("router,tool")));
}

TEST_F(FactoryAccessTest, AToolOfRootMayWrite) {
    for (const uint32_t tool : {E_APPS_MODULE_TOOL, E_APPS_MODULE_ZNDB_TOOL, E_APPS_MODULE_MONITOR_TOOL}) {
        EXPECT_TRUE(may(factory_access(), self_, 0, tool)) << tool;
        EXPECT_FALSE(may(with("wlan"), self_, 0, tool)) << tool;
        ::unsetenv("QUOR_ZNDB_FACTORY_WRITERS");
    }
}

TEST_F(FactoryAccessTest, AToolOfTheServicesOwnUserIsLikeRoots) {
    EXPECT_TRUE(may(factory_access(), self_, own_user_, E_APPS_MODULE_ZNDB_TOOL));
}

TEST_F(FactoryAccessTest, AToolOfAnotherUserMayNot) {
    EXPECT_FALSE(may(factory_access(), self_, kStranger, E_APPS_MODULE_ZNDB_TOOL));
    EXPECT_TRUE(log_.contains("message 2004 refused: process " + std::to_string(self_) +
                              " of user 60001, as module 48, may not write the factory overlay"))
        << log_.text();
}

TEST_F(FactoryAccessTest, AProcessThatSaysItIsAModuleWithoutItsLockMayNot) {
    for (const uint32_t src : {1u, 3u, 5u, 9u, 38u, 40u, 53u, 1000u, UINT32_MAX}) {
        EXPECT_FALSE(may(factory_access(), self_, 0, src)) << src;
    }
}

TEST_F(FactoryAccessTest, WhomTheKernelDoesNotKnowMayNot) {
    EXPECT_FALSE(may_write_factory(factory_access(), nullptr, E_APPS_MODULE_TOOL, kSet));
    EXPECT_FALSE(may(factory_access(), 0, 0, E_APPS_MODULE_TOOL)) << "in another process namespace";
    EXPECT_TRUE(log_.contains("message 2004 refused: process 0 of user 0, as module 0"));
}

}  // namespace
