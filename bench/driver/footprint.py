"""Start-up time of a module, memory of idle modules, and size of the libraries."""

import os
import shutil
import subprocess
import time

from figures import Figure
from processes import FOLDER
from rounds import Comparison

IDLE_IDS = range(1, 53)
ROUTER_ID = 3
MODULE_CONFIG = "/etc/quor_apps_cfg.xml"
SOCKETS = "/tmp/m_tmp/ipc"

# The spare rows of the module table, for a device's own modules. A module needs a name to serve.
SPARE_NAMES = [f"spare{number}" for number in range(7)]


def start_up(run):
    programs = run.programs
    command = [programs.path("startup-bench"), programs.path("idle-module"), "20" if not run.quick else "5"]
    for placement in run.placements:
        comparison = Comparison(run, "start-up", "exec to answer", placement)
        comparison.add("quorapps", lambda _: [], lambda _, cores: programs.run(command, cores))
        comparison.repeat(run.rounds)


def memory(run):
    """One idle module, then 52 at once, including the spare rows of the module table."""
    weigh_modules(run, "1 module", [ROUTER_ID])
    rows = "".join(f"<{name}><flag>FRWK_FLAG_MONITORED</flag></{name}>" for name in SPARE_NAMES)
    with open(MODULE_CONFIG, "w", encoding="ascii") as file:
        file.write(f"<modules>{rows}</modules>\n")
    try:
        weigh_modules(run, "52 modules", IDLE_IDS)
    finally:
        os.unlink(MODULE_CONFIG)


def weigh_modules(run, case, ids):
    comparison = Comparison(run, "memory", case, "free")
    comparison.add("quorapps", lambda cores: idle_modules(run, cores, ids), weigh)
    comparison.repeat(run.rounds)


def idle_modules(run, cores, ids):
    """Starts idle modules. First removes the sockets of killed servers, which modules would not replace."""
    for name in os.listdir(SOCKETS) if os.path.isdir(SOCKETS) else []:
        os.unlink(os.path.join(SOCKETS, name))
    servers = []
    for number in ids:
        server = run.programs.start([run.programs.path("idle-module"), str(number)], cores, quiet=True)
        servers.append(server)
        await_sleep(f"/proc/{server.process.pid}/stat")
    return servers


def await_sleep(stat_file):
    """Waits until a module sleeps. One that is still starting sleeps only briefly."""
    calm = 0
    while calm < 5:
        with open(stat_file, encoding="ascii") as file:
            calm = calm + 1 if file.read().rsplit(")", 1)[1].split()[0] == "S" else 0
        time.sleep(0.005)


def weigh(servers, _):
    pss = private_dirty = worst = 0
    for server in servers:
        fields = rollup(server.process.pid)
        pss += fields["Pss"]
        private_dirty += fields["Private_Dirty"]
        worst = max(worst, fields["Private_Dirty"])
    return {"pss_kib": pss, "private_dirty_kib": private_dirty, "worst_private_dirty_kib": worst}


def rollup(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        return {line.split(":")[0]: int(line.split()[1]) for line in file if line.endswith("kB\n")}


def library_size(run):
    """The section sizes of the stripped libraries, of this build and of the one for 32-bit ARM if it exists."""
    for target, build, prefix in (("x86-64", run.build, ""), ("armhf", run.arm_build, "arm-linux-gnueabihf-")):
        if build is None or shutil.which(prefix + "size") is None:
            run.figures.leave_out(f"the size of the libraries for {target}, which are not built")
            continue
        for library, folder in (("libquorapps", "apps/libapps"), ("libquorbase", "base")):
            path = os.path.join(build, folder, f"{library}.so.1.0.0")
            if os.path.exists(path):
                figure = Figure("library size", target, "-", library)
                figure.add(stripped_size(path, prefix))
                run.figures.all.append(figure)


def stripped_size(path, prefix):
    stripped = f"{FOLDER}/stripped.so"
    subprocess.run([prefix + "strip", "--strip-unneeded", "-o", stripped, path], check=True)
    sections = subprocess.run([prefix + "size", stripped], check=True, capture_output=True, text=True).stdout
    text, data, bss = (int(word) for word in sections.splitlines()[1].split()[:3])
    return {"text_bytes": text, "data_bytes": data, "bss_bytes": bss, "file_bytes": os.path.getsize(stripped)}
