#!/usr/bin/python3
"""Measures how long a live show has no new picture when its camera is changed:
`switch_bench.py --program build/release/app/lanternfly [--switches 6]`.

Cameras at 1080p stand in a PipeWire session of its own, and the show goes from one to the next. Each
is taken once: GStreamer's do not start again.
"""

import argparse
import json
import statistics
import tempfile
from contextlib import ExitStack
from pathlib import Path

from live_bench import ROOT, Show, VideoSession, wait_until


def add_camera(session, name):
    session.programs.append(session.run(
        "gst-launch-1.0", "-q", "videotestsrc", "is-live=true", "pattern=black", "!",
        "video/x-raw,format=YUY2,width=1920,height=1080,framerate=30/1", "!", "pipewiresink",
        "mode=provide",
        f"stream-properties=props,media.class=Video/Source,media.role=Camera,node.name={name},"
        f"node.description={name}"))


def is_sending(show, name):
    status = show.status()
    return status and status["camera"]["name"] == name and status["camera"]["state"] == "sending"


def switch(show, name):
    show.send("camera", name)
    wait_until(lambda: is_sending(show, name), f"{name} is not taken")
    frames = show.status()["frames"]
    wait_until(lambda: show.status()["frames"] > frames + 30, f"{name} sends nothing")


def longest_gaps(trace, count):
    """Between the ends of frames, in milliseconds."""
    ends = sorted(event["ts"] for event in trace
                  if event["name"] == "frame" and event["ph"].upper() == "E")
    gaps = sorted((after - before) / 1000 for before, after in zip(ends, ends[1:]))
    return gaps[-count:]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", default=ROOT / "build/release/app/lanternfly")
    parser.add_argument("--switches", type=int, default=6)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="lanternfly-bench-") as folder:
        trace = Path(folder, "trace.json")
        with ExitStack() as ends:
            session = VideoSession(folder)
            ends.callback(session.end)
            cameras = [f"Camera{i}" for i in range(options.switches + 1)]
            for name in cameras:
                add_camera(session, name)
            show = Show(str(options.program), ["--camera", cameras[0], "--output", "none",
                                               "--trace", str(trace)], session.environment)
            ends.callback(show.end)
            wait_until(lambda: is_sending(show, cameras[0]), "no camera is there")
            for name in cameras[1:]:
                switch(show, name)
        gaps = longest_gaps(json.loads(trace.read_text()), options.switches)
    print(json.dumps({"switches": options.switches,
                      "medianMs": round(statistics.median(gaps)), "mostMs": round(gaps[-1])}))


if __name__ == "__main__":
    main()
