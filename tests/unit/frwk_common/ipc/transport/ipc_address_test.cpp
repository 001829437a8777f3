/*
 * The path of a module's socket.
 */
#include "frwk_common/ipc/transport/ipc_address.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>

#include "frwk_common.h"

TEST(IpcAddress, IsTheModulesFileInTheIpcFolder) {
    const ipc::Address address = ipc::address_of("router");
    EXPECT_EQ(address.un.sun_family, AF_UNIX);
    EXPECT_STREQ(address.un.sun_path, "/tmp/m_tmp/ipc/router");
}

TEST(IpcAddress, IsAlwaysHandedOverWhole) {
    const ipc::Address address = ipc::address_of("zndb");
    EXPECT_EQ(ipc::Address::size(), 110u);
    EXPECT_EQ(static_cast<const void *>(address.get()), static_cast<const void *>(&address.un));
}

TEST(IpcAddress, IsZeroBehindThePath) {
    const ipc::Address address = ipc::address_of("zndb");
    const char *end = address.un.sun_path + sizeof(address.un.sun_path);
    EXPECT_TRUE(std::all_of(address.un.sun_path + std::string("/tmp/m_tmp/ipc/zndb").size(), end,
                            [](char c) { return c == '\0'; }));
}

TEST(IpcAddress, KeepsANameOf92Characters) {
    const std::string name(92, 'n');
    const ipc::Address address = ipc::address_of(name.c_str());
    EXPECT_EQ(std::string(address.un.sun_path), "/tmp/m_tmp/ipc/" + name);
    EXPECT_EQ(std::string(address.un.sun_path).size(), 107u);
}

TEST(IpcAddress, CutsThePathOfALongerNameAt107Characters) {
    const ipc::Address address = ipc::address_of((std::string(92, 'n') + "X").c_str());
    EXPECT_EQ(std::string(address.un.sun_path), "/tmp/m_tmp/ipc/" + std::string(92, 'n'));
    EXPECT_EQ(address.un.sun_path[107], '\0');
}

TEST(IpcAddress, CutsAVeryLongNameToo) {
    const ipc::Address address = ipc::address_of(std::string(100000, 'n').c_str());
    EXPECT_EQ(std::string(address.un.sun_path), "/tmp/m_tmp/ipc/" + std::string(92, 'n'));
}

TEST(IpcAddress, OfAnEmptySlotIsTheFolder) {
    EXPECT_STREQ(ipc::address_of(nullptr).un.sun_path, "/tmp/m_tmp/ipc/");
    EXPECT_STREQ(ipc::address_of("").un.sun_path, "/tmp/m_tmp/ipc/");
}

TEST(IpcPort, SetsTheBitsOf7F00) {
    EXPECT_EQ(frwk_ipc_port(0), 32512);
    EXPECT_EQ(frwk_ipc_port(3), 32515);
    EXPECT_EQ(frwk_ipc_port(52), 0x7F34);
}

TEST(IpcPort, OrsInsteadOfAdding) {
    EXPECT_EQ(frwk_ipc_port(0x1FF), 32767);
    EXPECT_EQ(frwk_ipc_port(0x7F03), frwk_ipc_port(3));
    EXPECT_EQ(frwk_ipc_port(0x8000), 0xFF00);
}

TEST(IpcPort, TakesTheLow16Bits) {
    EXPECT_EQ(frwk_ipc_port(65539), 32515);
    EXPECT_EQ(frwk_ipc_port(0xFFFF0000), 32512);
}
