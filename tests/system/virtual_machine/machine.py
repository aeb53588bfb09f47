"""A small emulated machine that runs Debian's own kernel, whatever kernel this one runs. Its files
are those of this machine: what it writes is lost, but for what it writes into its share.

    Machine().run(["/usr/bin/python3", "/path/guest.py"], share, patience)
"""

import os
import shutil
import subprocess
import time
from pathlib import Path

SHARE = "/mnt"  # the folder `share`, inside
CONSOLE = "console"  # in it: what the machine printed
UP = "the machine is up"
KVM_PATIENCE = 15  # seconds; it takes two
# What mounts the files; everything else comes from them.
EARLY_PROGRAMS = ["sh", "mkdir", "mount", "insmod", "switch_root"]
EARLY_MODULES = ["virtio_pci", "9pnet_virtio", "9p", "overlay"]
ADMIN = ":/usr/sbin:/sbin"  # not where every user looks
VIVID = "kernel/drivers/media/test-drivers/vivid/vivid.ko"
LOOPBACK = "updates/dkms/v4l2loopback.ko"

INIT = """#!/bin/sh
set -e
mkdir -p /proc /sys /dev /host /changes /all
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
while read -r module; do insmod "$module"; done </modules
mount -t 9p -o trans=virtio,version=9p2000.L,msize=524288,cache=loose,ro host /host
mount -t tmpfs changes /changes
mkdir /changes/new /changes/work
mount -t overlay -o lowerdir=/host,upperdir=/changes/new,workdir=/changes/work all /all
mount -t 9p -o trans=virtio,version=9p2000.L,msize=524288 share /all@SHARE@
mount -t tmpfs run /all/run
mkdir /dev/shm
mount -t tmpfs shm /dev/shm
exec switch_root /all /bin/sh @SHARE@/start
"""
# A first process that ended would be a kernel panic.
START = """#!/bin/sh
export PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/run
echo {up}
{command}
sync
echo o >/proc/sysrq-trigger
exec sleep infinity
"""


class Lacking(Exception):
    """This machine lacks something that a small one needs."""


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def newest_kernel():
    """The newest version that is here with both drivers."""
    versions = [folder.name for folder in Path("/lib/modules").glob("*")
                if os.access(f"/boot/vmlinuz-{folder.name}", os.R_OK)
                and (folder / VIVID).exists()]
    if not versions:
        raise Lacking("no kernel with vivid (package linux-image-amd64)")
    built = [version for version in versions if Path("/lib/modules", version, LOOPBACK).exists()]
    if not built:
        raise Lacking("no v4l2loopback for the kernel (packages v4l2loopback-dkms and "
                      "linux-headers-amd64)")
    return max(built, key=lambda version: Path("/boot", f"vmlinuz-{version}").stat().st_mtime)


def console_of(share):
    file = share / CONSOLE
    return file.read_text(errors="replace") if file.exists() else ""


class Machine:
    """Raises Lacking."""

    def __init__(self):
        os.environ["PATH"] += ADMIN
        for program, package in (("qemu-system-x86_64", "qemu-system-x86"), ("cpio", "cpio"),
                                 ("modprobe", "kmod"), ("udevadm", "udev")):
            if not shutil.which(program):
                raise Lacking(f"no {program} (package {package})")
        self.kernel = newest_kernel()

    def run(self, command, share, patience, accelerator=None):
        """Boots, runs the command, and returns when the machine is off. subprocess.TimeoutExpired
        when it takes longer than `patience` seconds."""
        (share / "start").write_text(START.format(up=UP, command=" ".join(command)))
        early = self.early_files(share)
        if accelerator in (None, "kvm") and os.access("/dev/kvm", os.R_OK | os.W_OK):
            # There are machines where it is there and stands still.
            with self.boot("kvm", early, share) as machine:
                end = time.monotonic() + KVM_PATIENCE
                while machine.poll() is None and time.monotonic() < end:
                    if UP in console_of(share):
                        return self.wait(machine, patience)
                    time.sleep(0.1)
                machine.kill()
        with self.boot("tcg", early, share) as machine:
            return self.wait(machine, patience)

    def boot(self, accelerator, early, share):
        return subprocess.Popen(
            ["qemu-system-x86_64", "-nodefaults", "-no-reboot", "-display", "none",
             "-machine", "q35", "-accel", accelerator, "-cpu", "max", "-smp", "2", "-m", "2048",
             "-serial", f"file:{share / CONSOLE}",
             "-kernel", f"/boot/vmlinuz-{self.kernel}", "-initrd", str(early),
             "-append", "console=ttyS0 panic=-1 loglevel=4 mitigations=off",
             "-virtfs", "local,path=/,mount_tag=host,security_model=none,readonly=on,"
                        "multidevs=remap",
             "-virtfs", f"local,path={share},mount_tag=share,security_model=none"],
            stdin=subprocess.DEVNULL)

    @staticmethod
    def wait(machine, patience):
        try:
            machine.wait(patience)
        except subprocess.TimeoutExpired:
            machine.kill()
            raise

    def early_files(self, share):
        """What is there before the files are mounted: a few programs with their libraries, and the
        modules that mounting needs."""
        root = share / "early"
        files = {shutil.which(name, path="/usr/bin:/bin" + ADMIN) for name in EARLY_PROGRAMS}
        for program in sorted(files):
            files |= {word for word in output_of("ldd", program).split() if word.startswith("/")}
        modules = []
        for name in EARLY_MODULES:
            for line in output_of("modprobe", "--set-version", self.kernel, "--show-depends",
                                  name).splitlines():
                kind, _, module = line.strip().partition(" ")
                if kind == "insmod" and module not in modules:
                    modules.append(module.strip())
        for name in ("bin", "sbin", "lib", "lib64"):
            (root / "usr" / name).mkdir(parents=True)
            (root / name).symlink_to(f"usr/{name}")
        for file in [*files, *modules]:
            place = root / file.lstrip("/")
            place.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(file, place)
            place.chmod(0o755)
        (root / "modules").write_text("".join(f"{module}\n" for module in modules))
        (root / "init").write_text(INIT.replace("@SHARE@", SHARE))
        (root / "init").chmod(0o755)
        archive = share / "early.cpio"
        names = output_of("find", str(root), "-mindepth", "1", "-printf", "%P\\n")
        with open(archive, "wb") as to:
            subprocess.run(["cpio", "--quiet", "-o", "-H", "newc", "-D", str(root)],
                           input=names.encode(), stdout=to, check=True)
        return archive
