#!/usr/bin/python3
"""Measures a live show: `live_bench.py --program build/release/app/lanternfly [--seconds 60]`.

Presents the demo camera at 1080p without a window, and reports frames that were lost, the share of
the processors, memory, and latencies. What follows `--` goes to `lanternfly present`, for example
`-- --output pipewire`.
"""

import argparse
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
TICKS = os.sysconf("SC_CLK_TCK")


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


class Show:
    def __init__(self, program, arguments, folder):
        self.program = program
        self.environment = {**os.environ, "XDG_RUNTIME_DIR": folder,
                            "XDG_CONFIG_HOME": f"{folder}/config"}
        # Where the sound and video server listens does not change with our folder.
        if "XDG_RUNTIME_DIR" in os.environ:
            self.environment.setdefault("PIPEWIRE_RUNTIME_DIR", os.environ["XDG_RUNTIME_DIR"])
        self.started = time.monotonic()
        self.process = subprocess.Popen([program, "present", "--no-window", "--camera", "demo",
                                         str(ROOT / "demo" / "deck.pdf"), *arguments],
                                        env=self.environment, stdout=subprocess.DEVNULL)

    def status(self):
        asked = subprocess.run([self.program, "send", "status"], env=self.environment,
                               capture_output=True, text=True)
        return json.loads(asked.stdout) if asked.returncode == 0 else None

    def wait_for_frames(self):
        while self.process.poll() is None and time.monotonic() < self.started + 60:
            status = self.status()
            if status and status["frames"] > 0:
                return
            time.sleep(0.05)
        sys.exit("the show shows no frames")

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
            "residentMegabytes": {"first": round(memory[0]), "last": round(memory[-1]),
                                  "most": round(max(memory))},
            "frameMs": after["frameMs"], "targetMs": after["targetMs"],
            "handsMs": after["hands"]["detectionMs"],
            "firstFrameMs": round(after["firstFrameMs"]),
            "loadAverage": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", default=ROOT / "build/release/app/lanternfly")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warm", type=float, default=5)
    parser.add_argument("--out", type=Path, help="file for the figures, besides standard output")
    parser.add_argument("arguments", nargs="*", help="for lanternfly present")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="lanternfly-bench-") as folder:
        show = Show(str(options.program), options.arguments, folder)
        try:
            show.wait_for_frames()
            figures = measure(show, options.warm, options.seconds)
        finally:
            show.end()
    text = json.dumps(figures, indent=2)
    print(text)
    if options.out:
        options.out.write_text(text + "\n")


if __name__ == "__main__":
    main()
