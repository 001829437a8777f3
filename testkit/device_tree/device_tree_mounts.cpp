// Builds the private root folder. Every entry of "/" shows the host's, except:
//
//   /m_data, /m_webui   fresh, with the empty folders of the device's image
//   /tmp                fresh; the host's entries are bound in, so that a build folder there stays in reach
//   /tmp/m_tmp          fresh and empty
//   /etc, /usr/bin,     fresh folders of symbolic links to a read-only view of the host's; entries may be
//   /usr/sbin           added, replaced and removed, the host's configuration of modules is not among them
//   /dev                fresh, with the plain devices bound in and terminals of its own; not the host's log
//                       socket, so that nothing reaches the host's system log
//   /var/log            fresh and empty
//
// Folders are bound recursively: in a user namespace the kernel refuses to show a folder without the mounts
// that the host has below it. Trees may be nested.

#include "device_tree_mounts.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "device_tree_emulator.h"
#include "device_tree_users.h"
#include "output/spelt_text.h"
#include "support/folder_stream.h"

namespace device_tree {
namespace {

// While the root is being built: the host's root, and the folder that keeps the originals.
const char kHost[] = "/.host";
const char kOriginals[] = "/.originals";

using Names = std::initializer_list<const char *>;

bool contains(Names names, const std::string &name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Calls visit with the name of each entry of a folder, except those in the skip list.
template <typename Visit>
void for_each_entry(const std::string &path, Names skip, Visit visit) {
    // The folder itself may be a link, as /usr/sbin is on some systems.
    const UniqueFolderStream folder = open_folder_stream(AT_FDCWD, (path + "/.").c_str());
    if (!folder) {
        refuse("read", path.c_str());
    }
    while (const char *entry = next_name(folder)) {
        const std::string name = entry;
        if (name != "." && name != ".." && !contains(skip, name)) {
            visit(name);
        }
    }
}

void make_folder(const std::string &path, mode_t mode = 0755) {
    if ((mkdir(path.c_str(), mode) != 0 && errno != EEXIST) || chmod(path.c_str(), mode) != 0) {
        refuse("make folder", path.c_str());
    }
}

void make_file(const std::string &path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        refuse("make file", path.c_str());
    }
    close(fd);
}

void make_link(const std::string &target, const std::string &path) {
    if (symlink(target.c_str(), path.c_str()) != 0) {
        refuse("make link", path.c_str());
    }
}

void mount_fresh(const std::string &path, const char *mode = "mode=0755") {
    if (mount("tmpfs", path.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, mode) != 0) {
        refuse("mount a tmpfs on", path.c_str());
    }
}

bool bind(const std::string &from, const std::string &to) {
    return mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// A bound folder keeps the flags of the file system it lies on; in a user namespace none may be dropped.
unsigned long kept_flags(const std::string &path) {
    struct statvfs info {};
    if (statvfs(path.c_str(), &info) != 0) {
        refuse("look at", path.c_str());
    }

    const struct {
        unsigned long found, kept;
    } pairs[] = {{ST_NOSUID, MS_NOSUID},   {ST_NODEV, MS_NODEV},           {ST_NOEXEC, MS_NOEXEC},
                 {ST_NOATIME, MS_NOATIME}, {ST_NODIRATIME, MS_NODIRATIME}, {ST_RELATIME, MS_RELATIME}};
    unsigned long flags = 0;
    for (const auto &pair : pairs) {
        flags |= (info.f_flag & pair.found) != 0 ? pair.kept : 0;
    }
    return flags;
}

void bind_read_only(const std::string &from, const std::string &to) {
    make_folder(to);
    const unsigned long flags = MS_REMOUNT | MS_BIND | MS_RDONLY | kept_flags(from);
    if (!bind(from, to) || mount(nullptr, to.c_str(), nullptr, flags, nullptr) != 0) {
        refuse("bind", to.c_str());
    }
}

void copy_link(const std::string &from, const std::string &to) {
    char target[4096];
    const ssize_t length = readlink(from.c_str(), target, sizeof(target));
    if (length > 0) {
        make_link(std::string(target, static_cast<size_t>(length)), to);
    }
}

// Binds one host entry to a path that doesn't exist yet. Leaves out an entry that has vanished, or that can't
// be bound.
void show(const std::string &from, const std::string &to) {
    struct stat info {};
    if (lstat(from.c_str(), &info) != 0) {
        return;
    }

    if (S_ISLNK(info.st_mode)) {
        copy_link(from, to);
        return;
    }
    if (S_ISDIR(info.st_mode)) {
        make_folder(to);
    } else {
        make_file(to);
    }
    if (!bind(from, to)) {
        (void)remove(to.c_str());
    }
}

// The folder of the originals of /etc and /usr: a name that no outer tree uses.
std::string originals_folder() {
    std::string path = kOriginals;
    while (access((kHost + path).c_str(), F_OK) == 0) {
        path += "_";
    }
    make_folder(path);
    return path;
}

// Mounts a new folder of links over a path. original: the read-only folder that the links point into.
void mount_stand_in(const std::string &path, const std::string &original, Names skip) {
    mount_fresh(path);
    for_each_entry(original, skip,
                   [&](const std::string &name) { make_link(original + "/" + name, path + "/" + name); });
}

// Of the device's own user, as on a device, where a user namespace shows the host's as nobody's: so that the
// folders of PATH are ones in which modules look for tools.
void build_usr(const std::string &original) {
    make_folder("/usr");
    const std::string host = std::string(kHost) + "/usr/";
    for_each_entry(host, {"bin", "sbin"},
                   [&](const std::string &name) { show(host + name, "/usr/" + name); });
    make_folder("/usr/bin");
    mount_stand_in("/usr/bin", original + "/bin", {"apps_init"});
    make_folder("/usr/sbin");
    mount_stand_in("/usr/sbin", original + "/sbin", {});
}

// Keeps all of /usr, not only /usr/bin, since some programs search for their files relative to themselves.
void build_writable_folders() {
    const std::string originals = originals_folder();
    bind_read_only(std::string(kHost) + "/etc", originals + "/etc");
    bind_read_only(std::string(kHost) + "/usr", originals + "/usr");

    make_folder("/etc");
    mount_stand_in("/etc", originals + "/etc",
                   {"quor_apps_cfg.xml", "quor_apps_startup", "quor_product.key"});
    build_usr(originals + "/usr");
}

void build_tmp() {
    make_folder("/tmp", 01777);
    mount_fresh("/tmp", "mode=1777");
    const std::string host = std::string(kHost) + "/tmp/";
    for_each_entry(host, {"m_tmp"}, [&](const std::string &name) { show(host + name, "/tmp/" + name); });
    make_folder("/tmp/m_tmp");
}

// The tree has its own terminals, since bind-mounted ones of the host can't be opened.
void build_terminals() {
    make_folder("/dev/pts");
    if (mount("devpts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620") !=
        0) {
        refuse("mount a devpts on", "/dev/pts");
    }
    make_link("pts/ptmx", "/dev/ptmx");
}

void build_dev() {
    make_folder("/dev");
    mount_fresh("/dev");
    const std::string host = std::string(kHost) + "/dev/";
    for (const char *name : {"null", "zero", "full", "random", "urandom", "tty"}) {
        show(host + name, std::string("/dev/") + name);
    }
    make_folder("/dev/shm", 01777);
    make_link("/proc/self/fd", "/dev/fd");
    make_link("/proc/self/fd/0", "/dev/stdin");
    make_link("/proc/self/fd/1", "/dev/stdout");
    make_link("/proc/self/fd/2", "/dev/stderr");
    build_terminals();
}

void build_device_folders() {
    make_folder("/m_data");
    mount_fresh("/m_data");
    for (const char *name : {"/m_data/usr", "/m_data/usr_permanent", "/m_data/factor"}) {
        make_folder(name);
    }

    make_folder("/m_webui");
    mount_fresh("/m_webui");
    make_folder("/m_webui/usr");
    make_folder("/m_webui/usr/db");
}

void build_var() {
    make_folder("/var");
    const std::string host = std::string(kHost) + "/var/";
    if (access(host.c_str(), X_OK) == 0) {
        for_each_entry(host, {"log"}, [&](const std::string &name) { show(host + name, "/var/" + name); });
    }
    make_folder("/var/log");
}

void show_host_folders() {
    for_each_entry(kHost, {"m_data", "m_webui", "tmp", "dev", "etc", "usr", "var"},
                   [](const std::string &name) { show(std::string(kHost) + "/" + name, "/" + name); });
}

// Root is enough where it may mount. Anyone else, root in a container, and an emulator, which must not reach
// the host's other processes, needs a user namespace; device_tree_users.h has who is in it.
void unshare_namespaces(bool own_user_namespace) {
    if (!own_user_namespace && unshare(CLONE_NEWNS) == 0) {
        return;
    }

    UserMapper users;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        refuse("namespaces are not allowed here:", "unshare");
    }
    users.map();
}

// Makes an empty tmpfs the root, with the host's root at kHost. It is mounted over /tmp for a moment only,
// which is not visible outside.
void switch_root() {
    mount_fresh("/tmp");
    const std::string host = std::string("/tmp") + kHost;
    make_folder(host);
    if (syscall(SYS_pivot_root, "/tmp", host.c_str()) != 0 || chdir("/") != 0) {
        refuse("change the", "root folder");
    }
}

void drop_host() {
    if (umount2(kHost, MNT_DETACH) != 0 || rmdir(kHost) != 0) {
        refuse("unmount", kHost);
    }
}

}  // namespace

void refuse(const char *what, const char *detail) {
    const std::string cause = strerror(errno);  // NOLINT(concurrency-mt-unsafe)
    (void)fprintf(stderr, "device-tree: %s %s: %s\n", what, spelt_out(detail).c_str(), cause.c_str());
    exit(2);  // NOLINT(concurrency-mt-unsafe): there is one thread
}

void enter_private_root() {
    const char *emulator = getenv("QUOR_EMULATOR");
    unshare_namespaces(emulator != nullptr);
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        refuse("namespaces are not allowed here:", "mount");
    }
    if (emulator != nullptr) {
        register_emulator(emulator);
    }
    switch_root();

    const mode_t before = umask(0);
    show_host_folders();
    build_writable_folders();
    build_tmp();
    build_dev();
    build_var();
    build_device_folders();
    umask(before);

    drop_host();
}

}  // namespace device_tree
