#!/usr/bin/python3
"""Inside the small machine: loads camera drivers, plugs, unplugs and shares what they make, and
writes down what the program does meanwhile, a line of JSON for each scenario:
`guest.py LANTERNFLY SHARE`."""

import contextlib
import fcntl
import json
import os
import signal
import socket
import struct
import subprocess
import sys
import time
import traceback
from pathlib import Path

LANTERNFLY, SHARE = sys.argv[1], Path(sys.argv[2])
RUNTIME = "/run/user"
PATIENCE = 100  # seconds, of a machine that is emulated
FRAMES = 5
CAMERA = "/dev/video0"
# The two loopback devices: one that bears the program's name, and another.
OWN, OTHER = "/dev/video10", "/dev/video11"
NOBODY = 65534
# Another user. That it may read the program wherever that was built opens no device to it.
AS_NOBODY = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups",
             "--inh-caps=+dac_read_search", "--ambient-caps=+dac_read_search"]
# Small pictures, and no networks, which would take all of an emulated processor.
PRESENT = ["present", "--no-window", "--size", "320x180", "--hand-model", "/nowhere"]
WIDTH, HEIGHT = 320, 180


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE
    while not (found := condition()):
        if time.monotonic() > end:
            raise TimeoutError(what)
        time.sleep(0.05)
    return found


def run(*command):
    """Exit status and what was said: {"code", "out", "err"}."""
    done = subprocess.run(command, capture_output=True, text=True, timeout=PATIENCE, check=False)
    return {"code": done.returncode, "out": done.stdout, "err": done.stderr}


def must(*command):
    done = run(*command)
    if done["code"] != 0:
        raise RuntimeError(f"{command}: {done['err']}")


def settle():
    must("udevadm", "settle")


def plug(camera="vivid.0"):
    Path("/sys/bus/platform/drivers/vivid/bind").write_text(camera)


def unplug(camera="vivid.0"):
    Path("/sys/bus/platform/drivers/vivid/unbind").write_text(camera)


@contextlib.contextmanager
def in_use(node):
    """Another program's hold on a camera: it has its buffers."""
    request_buffers = 0xC0145608  # VIDIOC_REQBUFS
    with open(node, "r+b", buffering=0) as camera:
        fcntl.ioctl(camera, request_buffers, struct.pack("5I", 2, 1, 1, 0, 0))
        yield


class Show:
    """A show that runs; it ends with the block."""

    def __init__(self, name, *arguments, before=(), runtime=RUNTIME):
        self.said_at = SHARE / f"{name}.said"
        self.socket = f"{runtime}/lanternfly/control.sock"
        with open(self.said_at, "wb") as said:
            self.process = subprocess.Popen(
                [*before, LANTERNFLY, *PRESENT, *arguments], stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL, stderr=said)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(PATIENCE)

    def status(self):
        """None when nobody answers."""
        with socket.socket(socket.AF_UNIX) as connection:
            try:
                connection.connect(self.socket)
            except OSError:
                return None
            connection.sendall(b"status\n")
            with connection.makefile(encoding="utf-8") as answers:
                kind, _, text = answers.readline().partition(" ")
        return json.loads(text) if kind == "ok" else None

    def comes_to(self, what, condition):
        """The first status that meets the condition."""
        def look():
            if self.process.poll() is not None:
                raise RuntimeError(f"the show ended before {what}: {self.said()}")
            status = self.status()
            return status if status and condition(status) else None
        try:
            return wait_until(look, what)
        except TimeoutError as error:
            raise TimeoutError(f"{what}: {self.status()} {self.said()}") from error

    def sends_frames(self):
        before = self.comes_to("an answer", lambda now: True)["frames"]
        return self.comes_to("frames of the camera", lambda now: now["frames"] >= before + FRAMES
                             and now["camera"]["state"] == "sending")

    def goes_on_without(self):
        """Stand-ins come, and no frame does."""
        before = self.comes_to("an answer", lambda now: True)
        after = self.comes_to("stand-ins",
                              lambda now: now["standIns"] >= before["standIns"] + FRAMES)
        return {"frames": after["frames"] - before["frames"], "status": after}

    def said(self):
        return self.said_at.read_text(errors="replace").splitlines()


def cameras():
    return json.loads(run(LANTERNFLY, "cameras", "--json")["out"])


def a_camera_is_found():
    must("modprobe", "vivid", "n_devs=1", "node_types=0x1", "num_inputs=1", "input_types=0x0")
    wait_until(lambda: os.path.exists(CAMERA), CAMERA)
    settle()
    return {"cameras": cameras()}


def a_camera_is_recorded():
    recording = SHARE / "camera.mp4"
    with Show("recorded", "--camera", "vivid", "--output", f"file:{recording}") as show:
        status = show.sends_frames()
        sent = run(LANTERNFLY, "send", "status")
        code = show.end()
    return {"status": status, "sent": sent, "code": code, "said": show.said()}


def another_program_has_the_camera():
    with contextlib.ExitStack() as stack:
        with in_use(CAMERA):
            show = stack.enter_context(Show("busy", "--camera", "vivid", "--output", "none"))
            busy = show.comes_to("a problem", lambda now: now["camera"]["problem"])
            without = show.goes_on_without()
        return {"busy": busy, "without": without, "after": show.sends_frames(),
                "said": show.said()}


def a_camera_is_pulled_out_and_comes_back():
    camera = cameras()[0]["id"]
    with Show("unplugged", "--camera", camera, "--output", "none") as show:
        show.sends_frames()
        unplug()
        gone = show.comes_to("a gone camera", lambda now: now["camera"]["state"] == "gone")
        without = show.goes_on_without()
        plug()
        back = show.sends_frames()
        # Back, but in the hands of another program: it takes it before the show can.
        unplug()
        show.comes_to("a gone camera", lambda now: now["camera"]["state"] == "gone")
        show.process.send_signal(signal.SIGSTOP)
        plug()
        wait_until(lambda: os.path.exists(CAMERA), CAMERA)
        with in_use(CAMERA):
            show.process.send_signal(signal.SIGCONT)
            taken = show.comes_to("a busy camera", lambda now: "in use" in now["camera"]["problem"])
        return {"gone": gone, "without": without, "back": back, "taken": taken,
                "after": show.sends_frames(), "said": show.said()}


def a_camera_is_denied():
    folder = "/run/nobody"
    os.makedirs(folder)
    os.chown(folder, NOBODY, NOBODY)
    as_nobody = [*AS_NOBODY, "env", f"XDG_RUNTIME_DIR={folder}", f"XDG_CONFIG_HOME={folder}",
                 f"HOME={folder}"]
    os.chmod(CAMERA, 0)
    listed = run(*as_nobody, LANTERNFLY, "cameras")
    with Show("denied", "--camera", "vivid", "--output", "none", before=as_nobody,
              runtime=folder) as show:
        denied = show.comes_to("a problem", lambda now: now["camera"]["problem"])
        without = show.goes_on_without()
        os.chmod(CAMERA, 0o666)
        return {"listed": listed, "denied": denied, "without": without,
                "after": show.sends_frames(), "said": show.said()}


def loopback():
    must("modprobe", "v4l2loopback", "video_nr=10,11", "card_label=Lanternfly,Other",
         "exclusive_caps=1,1")
    wait_until(lambda: os.path.exists(OTHER), OTHER)
    settle()


class Reader:
    """A program that reads a camera as any does, frame by frame."""

    def __init__(self, node):
        self.process = subprocess.Popen(
            ["ffmpeg", "-v", "error", "-f", "v4l2", "-i", node, "-c", "copy", "-f", "rawvideo",
             "pipe:1"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)

    def frame(self):
        """Of pairs of pixels: Y, U, Y, V."""
        return self.process.stdout.read(WIDTH * HEIGHT * 2)

    def end(self):
        self.process.kill()
        self.process.stdout.close()
        self.process.wait(PATIENCE)


def others_read_the_picture():
    loopback()
    facts = {"before": cameras()}
    with Show("loopback", "--camera", str(SHARE / "halves.mp4"), "--output", "v4l2") as show:
        show.sends_frames()
        readers = {name: Reader(OWN) for name in ("one", "two")}
        # In turn: both read all the while.
        for _ in range(FRAMES):
            for name, reader in readers.items():
                (SHARE / f"{name}.yuyv").write_bytes(reader.frame())
        facts["meanwhile"] = cameras()
        for reader in readers.values():
            reader.end()
        sent = show.comes_to("an answer", lambda now: True)["outputs"][0]["sentFrames"]
        facts["unread"] = show.comes_to("frames that nobody reads", lambda now:
                                        now["outputs"][0]["sentFrames"] >= sent + FRAMES)
        facts["sent"] = sent
        facts["said"] = show.said()
    return facts


def a_named_loopback_device_is_a_camera_for_others():
    with Show("named", "--camera", str(SHARE / "halves.mp4"), "--output", f"v4l2:{OTHER}") as show:
        show.sends_frames()
        reader = Reader(OTHER)
        (SHARE / "named.yuyv").write_bytes([reader.frame() for _ in range(FRAMES)][-1])
        reader.end()
        return {"cameras": cameras(), "said": show.said()}


SCENARIOS = [a_camera_is_found, a_camera_is_recorded, another_program_has_the_camera,
             a_camera_is_pulled_out_and_comes_back, a_camera_is_denied, others_read_the_picture,
             a_named_loopback_device_is_a_camera_for_others]


def main():
    for folder, variable in ((RUNTIME, "XDG_RUNTIME_DIR"), ("/run/config", "XDG_CONFIG_HOME")):
        os.makedirs(folder, mode=0o700)
        os.environ[variable] = folder
    os.environ["LANG"] = "C.UTF-8"
    os.makedirs("/run/udev/data", exist_ok=True)
    must("/lib/systemd/systemd-udevd", "--daemon")
    with open(SHARE / "results", "w", buffering=1, encoding="utf-8") as results:
        for scenario in SCENARIOS:
            began = time.monotonic()
            try:
                facts = scenario()
            except Exception:
                facts = {"error": traceback.format_exc()}
            seconds = round(time.monotonic() - began, 1)
            json.dump({"scenario": scenario.__name__, "seconds": seconds, **facts}, results)
            results.write("\n")


main()
