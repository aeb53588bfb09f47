#!/usr/bin/python3
"""Measures a live show: `live_bench.py --program build/release/app/lanternfly [--seconds 60]`.

Presents the demo camera at 1080p without a window, and reports frames that were lost, the share of
the processors, memory, and latencies. `--watch` has another program read the virtual camera, in a
PipeWire session of its own. What follows `--` goes to `lanternfly present`, for example
`-- --faces --camera talk.mp4`.
"""

import argparse
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
from contextlib import ExitStack
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
TICKS = os.sysconf("SC_CLK_TCK")
# The session manager links streams, and leaves devices and the message bus alone.
SESSION_SETTINGS = {
    "main.lua.d/51-private.lua": """alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
default_access.properties["enable-flatpak-portal"] = false
""",
    "bluetooth.lua.d/51-private.lua": """bluez_monitor.enabled = false
bluez_monitor.properties["with-logind"] = false
"""}


def processor_seconds(pid):
    """Of the process and its children, living and dead."""
    total = 0.0
    for task in [pid, *children(pid)]:
        try:
            fields = Path(f"/proc/{task}/stat").read_text().rsplit(")", 1)[1].split()
        except OSError:
            continue
        total += sum(int(field) for field in fields[11:15]) / TICKS
    return total


def children(pid):
    try:
        return [int(child) for child in
                Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    except OSError:
        return []


def resident_megabytes(pid):
    total = 0
    for task in [pid, *children(pid)]:
        try:
            pages = int(Path(f"/proc/{task}/statm").read_text().split()[1])
        except OSError:
            continue
        total += pages * os.sysconf("SC_PAGE_SIZE")
    return total / 1e6


class VideoSession:
    """PipeWire and its session manager, with a program that reads the virtual camera."""

    def __init__(self, folder):
        self.environment = {**os.environ, "XDG_RUNTIME_DIR": folder,
                            "XDG_CONFIG_HOME": f"{folder}/config",
                            "XDG_STATE_HOME": f"{folder}/state",
                            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={folder}/none"}
        for variable in ("PIPEWIRE_RUNTIME_DIR", "PIPEWIRE_REMOTE"):
            self.environment.pop(variable, None)
        for name, text in SESSION_SETTINGS.items():
            file = Path(folder, "config", "wireplumber", name)
            file.parent.mkdir(parents=True)
            file.write_text(text)
        self.log = open(f"{folder}/session.log", "wb")
        self.programs = [self.run("pipewire")]
        wait_until(lambda: os.path.exists(f"{folder}/pipewire-0"), "PipeWire does not start")
        self.programs.append(self.run("wireplumber"))

    def run(self, *command):
        return subprocess.Popen(command, env=self.environment, stdout=self.log, stderr=self.log)

    def watch(self, show):
        self.programs.append(self.run("gst-launch-1.0", "-q", "pipewiresrc",
                                      "target-object=Lanternfly", "!",
                                      "video/x-raw,format=YUY2,width=1920,height=1080", "!",
                                      "fakesink"))
        wait_until(lambda: "watched" in (output["state"] for output in show.status()["outputs"]),
                   "nobody watches the virtual camera")

    def end(self):
        for program in reversed(self.programs):
            program.terminate()
            program.wait(30)


def wait_until(condition, problem):
    end = time.monotonic() + 60
    while not condition():
        if time.monotonic() > end:
            sys.exit(problem)
        time.sleep(0.05)


class Show:
    def __init__(self, program, arguments, environment):
        self.program = program
        self.environment = environment
        self.started = time.monotonic()
        camera = [] if "--camera" in arguments else ["--camera", "demo"]
        self.process = subprocess.Popen([program, "present", "--no-window", *camera,
                                         str(ROOT / "demo" / "deck.pdf"), *arguments],
                                        env=self.environment, stdout=subprocess.DEVNULL)

    def send(self, *words):
        return subprocess.run([self.program, "send", *words], env=self.environment,
                              capture_output=True, text=True)

    def status(self):
        asked = self.send("status")
        return json.loads(asked.stdout) if asked.returncode == 0 else None

    def wait_for_frames(self):
        def shows():
            status = self.status()
            return self.process.poll() is not None or (status and status["frames"] > 0)
        wait_until(shows, "the show shows no frames")

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(30)


def measure(show, warm_seconds, seconds):
    time.sleep(warm_seconds)
    pid = show.process.pid
    before, cpu_before, at = show.status(), processor_seconds(pid), time.monotonic()
    memory = []
    while time.monotonic() < at + seconds:
        memory.append(resident_megabytes(pid))
        time.sleep(min(1, max(at + seconds - time.monotonic(), 0.01)))
    after, cpu, wall = show.status(), processor_seconds(pid) - cpu_before, time.monotonic() - at
    dropped = {output["name"]: output["droppedFrames"] for output in after["outputs"]}
    return {"seconds": round(wall, 1),
            "frames": after["frames"] - before["frames"],
            "framesPerSecond": round((after["frames"] - before["frames"]) / wall, 2),
            "lostFrames": after["lostFrames"] - before["lostFrames"],
            "droppedByOutputs": dropped,
            "processors": round(cpu / wall, 2),
            "shareOfAllProcessors": round(cpu / wall / os.cpu_count(), 3),
            # Tenth by tenth of the time.
            "residentMegabytes": [round(memory[i * (len(memory) - 1) // 10]) for i in range(11)],
            "frameMs": after["frameMs"], "targetMs": after["targetMs"],
            "handsMs": after["hands"]["detectionMs"],
            "firstFrameMs": round(after["firstFrameMs"]),
            "loadAverage": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", default=ROOT / "build/release/app/lanternfly")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warm", type=float, default=5)
    parser.add_argument("--watch", action="store_true",
                        help="another program reads the virtual camera")
    parser.add_argument("--out", type=Path, help="file for the figures, besides standard output")
    parser.add_argument("arguments", nargs="*", help="for lanternfly present")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="lanternfly-bench-") as folder, ExitStack() as ends:
        session = VideoSession(folder)
        ends.callback(session.end)
        show = Show(str(options.program), options.arguments, session.environment)
        ends.callback(show.end)
        show.wait_for_frames()
        if options.watch:
            session.watch(show)
        figures = measure(show, options.warm, options.seconds)
    text = json.dumps(figures, indent=2)
    print(text)
    if options.out:
        options.out.write_text(text + "\n")


if __name__ == "__main__":
    main()
