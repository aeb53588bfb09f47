#!/usr/bin/python3
"""Compares what `lanternfly render --events` saw with what a rendered presenter really did.

`check_demo_truth.py EVENTS TRUTH [--tolerance-frames N] [--least-recall R]`

TRUTH is a presenter_truth.jsonl: a line a frame with each hand's 21 landmarks in pixels, its
side and whether it pinches. Checked: every scripted pinch is seen within the tolerance at both
ends and none that is not there; hands are found where they are and with the right chirality.
Prints a table. Exits 0 when all holds, 1 when not, 2 when a file cannot be used.
"""

import argparse
import json
import math
import sys
from dataclasses import dataclass

# A detection belongs to a true hand when its landmarks lie this near on average, in parts of the
# longer side of the hand's box.
MATCH_DISTANCE = 0.5


@dataclass
class Pinch:
    began: int
    ended: int  # the first frame in which it is open again


def read_lines(path):
    try:
        with open(path, encoding="utf-8") as lines:
            return [json.loads(line) for line in lines if line.strip()]
    except (OSError, ValueError) as error:
        print(f"check_demo_truth: cannot use {path}: {error}", file=sys.stderr)
        sys.exit(2)


def truth_hands(frame):
    """The hands of one true frame, each with its points in 0…1 with the origin lower left."""
    width, height = frame["width"], frame["height"]
    for hand in frame["hands"]:
        points = [(x / width, 1 - y / height) for x, y in hand["landmarks"]]
        yield hand, points


def is_inside(points):
    return all(0 <= x <= 1 and 0 <= y <= 1 for x, y in points)


def box_side(points, aspect):
    xs = [x * aspect for x, _ in points]
    ys = [y for _, y in points]
    return max(max(xs) - min(xs), max(ys) - min(ys), 1e-6)


def distance(found, points, aspect):
    """Mean landmark distance in parts of the hand's box; infinite without common landmarks."""
    gaps = [
        math.hypot((f[0] - p[0]) * aspect, f[1] - p[1])
        for f, p in zip(found, points)
        if f is not None and None not in f
    ]
    return sum(gaps) / len(gaps) / box_side(points, aspect) if gaps else math.inf


def true_pinches(frames):
    """Scripted pinches of all hands, those that overlap in time taken as one."""
    spans = []
    for side in ("right", "left"):
        start = None
        for frame in frames:
            holds = any(
                hand["side"] == side and hand["pinching"] for hand in frame["hands"]
            )
            if holds and start is None:
                start = frame["frame"]
            elif not holds and start is not None:
                spans.append(Pinch(start, frame["frame"]))
                start = None
        if start is not None:
            spans.append(Pinch(start, frames[-1]["frame"] + 1))
    merged = []
    for span in sorted(spans, key=lambda span: span.began):
        if merged and span.began <= merged[-1].ended:
            merged[-1].ended = max(merged[-1].ended, span.ended)
        else:
            merged.append(span)
    return merged


def seen_pinches(events):
    pinches = []
    for event in events:
        if event["type"] != "pinch":
            continue
        if event["phase"] == "began":
            pinches.append(Pinch(event["frame"], -1))
        elif event["phase"] == "ended" and pinches:
            pinches[-1].ended = event["frame"]
    return pinches


def compare_pinches(wanted, seen, tolerance):
    """Prints a line for each pinch and returns how many are wrong."""
    faults = 0
    left = list(seen)
    print(f"{'pinch':<12}{'began':>16}{'ended':>16}")
    for pinch in wanted:
        match = min(left, key=lambda other: abs(other.began - pinch.began), default=None)
        if match is None or abs(match.began - pinch.began) > tolerance:
            print(f"{'scripted':<12}{pinch.began:>8} missed {pinch.ended:>8}          WRONG")
            faults += 1
            continue
        left.remove(match)
        is_right = abs(match.ended - pinch.ended) <= tolerance
        faults += not is_right
        print(
            f"{'scripted':<12}{pinch.began:>8} ({match.began - pinch.began:+d})  "
            f"{pinch.ended:>10} ({match.ended - pinch.ended:+d})"
            f"{'' if is_right else '   WRONG'}"
        )
    for pinch in left:
        print(f"{'not there':<12}{pinch.began:>8}        {pinch.ended:>10}          WRONG")
    return faults + len(left)


def compare_hands(frames, events):
    """Counts over all frames: hands that are wholly in the picture, those found, those found with
    the right chirality, detections that belong to no hand, and the landmark errors."""
    seen = {event["frame"]: event["hands"] for event in events if event["type"] == "hands"}
    whole = found = named = stray = 0
    errors = []
    for frame in frames:
        aspect = frame["width"] / frame["height"]
        left = list(seen.get(frame["frame"], []))
        for hand, points in truth_hands(frame):
            best = min(
                left, key=lambda other: distance(other["landmarks"], points, aspect), default=None
            )
            gap = distance(best["landmarks"], points, aspect) if best else math.inf
            matches = gap <= MATCH_DISTANCE
            if matches:
                left.remove(best)
            if not is_inside(points):
                continue
            whole += 1
            if matches:
                found += 1
                named += best["chirality"] == hand["side"]
                errors.append(gap)
        stray += len(left)
    return whole, found, named, stray, sorted(errors)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("events")
    parser.add_argument("truth")
    parser.add_argument("--tolerance-frames", type=int, default=6)
    parser.add_argument("--least-recall", type=float, default=0.95)
    parser.add_argument("--least-chirality", type=float, default=0.95)
    parser.add_argument("--most-stray", type=float, default=0.02, help="detections in a frame")
    options = parser.parse_args()

    events = read_lines(options.events)
    frames = read_lines(options.truth)
    if not frames or not events or events[-1].get("type") != "end":
        print("check_demo_truth: the events or the truth are not complete", file=sys.stderr)
        return 2
    faults = 0
    if events[-1]["frames"] != len(frames):
        print(f"frames      {events[-1]['frames']} rendered, {len(frames)} true   WRONG")
        faults += 1

    faults += compare_pinches(
        true_pinches(frames), seen_pinches(events), options.tolerance_frames
    )
    whole, found, named, stray, errors = compare_hands(frames, events)

    def judge(name, part, total, text, is_right):
        print(f"{name:<12}{part:>8} of {total:<6} {text}{'' if is_right else '   WRONG'}")
        return not is_right

    recall = found / whole if whole else 1.0
    chirality = named / found if found else 1.0
    faults += judge("hands found", found, whole, f"{recall:.1%}", recall >= options.least_recall)
    faults += judge(
        "chirality", named, found, f"{chirality:.1%}", chirality >= options.least_chirality
    )
    faults += judge(
        "stray", stray, len(frames), "frames", stray <= options.most_stray * len(frames)
    )
    if errors:
        print(
            f"{'landmarks':<12}mean {sum(errors) / len(errors):.1%}, "
            f"p95 {errors[int(0.95 * (len(errors) - 1))]:.1%} of the hand's box"
        )
    print("all holds" if faults == 0 else f"{faults} WRONG")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
