// Lets the kernel run programs of 32-bit ARM through an emulator, in the calling process's user namespace and
// nowhere else: a test built for the device starts other processes by their plain paths.

#include "device_tree_emulator.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <string>

#include "device_tree_mounts.h"

namespace device_tree {
namespace {

const char kFormats[] = "/proc/sys/fs/binfmt_misc";

// The first bytes of a program's file: ELF, 32 bits, little-endian, executable or shared object, ARM. The
// mask has 0 for ignored bits.
const char kArmProgram[] =
    R"(\x7f\x45\x4c\x46\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00)";
const char kArmMask[] = R"(\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff)";

}  // namespace

void register_emulator(const std::string &emulator) {
    if (mount("binfmt_misc", kFormats, "binfmt_misc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        refuse("mount", kFormats);
    }

    // F: the kernel opens the emulator now, so that it need not be in the private root.
    const std::string entry =
        std::string(":device:M::") + kArmProgram + ":" + kArmMask + ":" + emulator + ":F";
    const std::string control = std::string(kFormats) + "/register";
    const int fd = open(control.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0 || write(fd, entry.data(), entry.size()) != static_cast<ssize_t>(entry.size())) {
        refuse("register the emulator", emulator.c_str());
    }
    close(fd);
}

}  // namespace device_tree
