#!/usr/bin/python3
"""Compares what `lanternfly render --events` saw with what a rendered presenter really did.

`check_demo_truth.py EVENTS TRUTH [--tolerance-frames N] [--least-recall R]`

TRUTH is a presenter_truth.jsonl: a line a frame with each hand's 21 landmarks in pixels, its
side, whether it pinches and what sign it shows. Checked: every scripted pinch, with one hand and
with both, is seen within the tolerance at both ends, every sign fires once, every pinch in drawing
mode becomes one stroke, and nothing is seen that is not there; hands are found where they are and
with the right chirality. Prints a table; lags are in frames. Exits 0 when all holds, 1 when not,
2 when a file cannot be used.
"""

import argparse
import json
import math
import statistics
import sys
from dataclasses import dataclass

# A detection belongs to a true hand when its landmarks lie this near on average, in parts of the
# longer side of the hand's box.
MATCH_DISTANCE = 0.5


# What the recognizers wait for by design, in seconds: a sign is held this long before it fires, and
# a pinch of both hands outlives the loss of one of them.
SIGN_HOLD = 0.2
TWO_HAND_GRACE = 0.2


@dataclass
class Span:
    began: int
    ended: int  # the first frame in which it is over


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


def spans_where(frames, holds):
    """The runs of frames in which `holds(frame)`."""
    spans = []
    start = None
    for frame in frames:
        if holds(frame) and start is None:
            start = frame["frame"]
        elif not holds(frame) and start is not None:
            spans.append(Span(start, frame["frame"]))
            start = None
    if start is not None:
        spans.append(Span(start, frames[-1]["frame"] + 1))
    return spans


def pinching_sides(frame):
    return {hand["side"] for hand in frame["hands"] if hand["pinching"]}


def true_signs(frames):
    """Name and time of every sign that is shown long enough, by either hand."""
    names = {hand.get("sign") for frame in frames for hand in frame["hands"]} - {None}
    return [
        (name, span)
        for name in sorted(names)
        for span in spans_where(
            frames, lambda frame: any(hand.get("sign") == name for hand in frame["hands"])
        )
    ]


def seen_spans(events, kind):
    spans = []
    for event in events:
        if event["type"] != kind:
            continue
        if event["phase"] == "began":
            spans.append(Span(event["frame"], -1))
        elif event["phase"] == "ended" and spans:
            spans[-1].ended = event["frame"]
    return spans


def drawing_spans(events):
    """When pinches drew: from `draw enter` to `draw leave`."""
    spans = []
    for event in events:
        if event["type"] == "command" and event["command"] == "draw enter":
            spans.append(Span(event["frame"], sys.maxsize))
        elif event["type"] == "command" and event["command"] == "draw leave" and spans:
            spans[-1].ended = event["frame"]
    return spans


def pinch_point_errors(frames, events):
    """How far each pinch point is from the middle of the nearest true pair of fingertips, in
    pixels."""
    errors = []
    truth = {frame["frame"]: frame for frame in frames}
    for event in events:
        if event["type"] != "pinch" or "at" not in event:
            continue
        frame = truth.get(event["frame"])
        if not frame or not frame["hands"]:
            continue
        x, y = event["at"][0] * frame["width"], (1 - event["at"][1]) * frame["height"]
        tips = [(hand["landmarks"][4], hand["landmarks"][8]) for hand in frame["hands"]]
        errors.append(
            min(math.hypot(x - (a[0] + b[0]) / 2, y - (a[1] + b[1]) / 2) for a, b in tips)
        )
    return sorted(errors)


def lags(values):
    if not values:
        return "none"
    return f"median {statistics.median(values):+g}, worst {max(values, key=abs):+d}"


class Table:
    def __init__(self):
        self.faults = 0

    def row(self, name, text, is_right):
        self.faults += not is_right
        print(f"{name:<14}{text}{'' if is_right else '   WRONG'}")

    def share(self, name, part, total, text, is_right):
        self.row(name, f"{part:>6} of {total:<6} {text}", is_right)

    def compare_spans(self, name, wanted, seen, tolerance, release=0):
        """A row for each span and one for the lags; the end may come `release` frames later."""
        left = list(seen)
        beginnings, ends = [], []
        for span in wanted:
            match = min(left, key=lambda other: abs(other.began - span.began), default=None)
            if match is None or abs(match.began - span.began) > tolerance:
                self.row(name, f"{span.began:>6} missed   {span.ended:>6}", False)
                continue
            left.remove(match)
            began, ended = match.began - span.began, match.ended - span.ended
            beginnings.append(began)
            ends.append(ended)
            self.row(
                name,
                f"{span.began:>6} ({began:+d})     {span.ended:>6} ({ended:+d})",
                -tolerance <= ended <= tolerance + release,
            )
        for span in left:
            self.row(name, f"{span.began:>6} false    {span.ended:>6}", False)
        print(
            f"  {len(beginnings)} found, {len(wanted) - len(beginnings)} missed, "
            f"{len(left)} false; "
            f"began {lags(beginnings)}; ended {lags(ends)}"
        )

    def compare_signs(self, wanted, events, frame_rate, tolerance):
        """A sign counts as late from the frame in which it has been held long enough."""
        hold = math.ceil(SIGN_HOLD * frame_rate - 1e-6)
        left = [event for event in events if event["type"] == "sign"]
        late = []
        for name, span in wanted:
            due = span.began + hold
            if due > span.ended:
                continue
            match = next(
                (
                    event
                    for event in left
                    if event["sign"] == name and abs(event["frame"] - due) <= tolerance
                ),
                None,
            )
            shown = f"{span.began:>6} to {span.ended:<6}"
            if match is None:
                self.row(name, f"{shown} missed", False)
                continue
            left.remove(match)
            late.append(match["frame"] - due)
            self.row(name, f"{shown} fired {match['frame']} ({late[-1]:+d})", True)
        for event in left:
            self.row(event["sign"], f"{event['frame']:>6} false", False)
        print(f"  {len(late)} found, {len(left)} false; lag {lags(late)}")


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
    table = Table()
    frame_rate = (len(frames) - 1) / (frames[-1]["time"] - frames[0]["time"])
    tolerance = options.tolerance_frames
    rendered = events[-1]["frames"]
    table.share("frames", rendered, len(frames), "", rendered == len(frames))

    pinches = spans_where(frames, lambda frame: bool(pinching_sides(frame)))
    table.compare_spans("pinch", pinches, seen_spans(events, "pinch"), tolerance)
    table.compare_spans(
        "both hands",
        spans_where(frames, lambda frame: len(pinching_sides(frame)) == 2),
        seen_spans(events, "twoHandPinch"),
        tolerance,
        release=math.ceil(TWO_HAND_GRACE * frame_rate),
    )
    table.compare_signs(true_signs(frames), events, frame_rate, tolerance)
    table.compare_spans(
        "stroke",
        [
            pinch
            for pinch in pinches
            if any(span.began <= pinch.began < span.ended for span in drawing_spans(events))
        ],
        seen_spans(events, "stroke"),
        tolerance,
    )

    whole, found, named, stray, errors = compare_hands(frames, events)
    recall = found / whole if whole else 1.0
    chirality = named / found if found else 1.0
    table.share("hands found", found, whole, f"{recall:.1%}", recall >= options.least_recall)
    table.share(
        "chirality", named, found, f"{chirality:.1%}", chirality >= options.least_chirality
    )
    table.share("stray", stray, len(frames), "frames", stray <= options.most_stray * len(frames))
    points = pinch_point_errors(frames, events)
    if points:
        print(
            f"{'pinch point':<14}mean {statistics.mean(points):.1f}, "
            f"p95 {points[int(0.95 * (len(points) - 1))]:.1f} pixels of the clip"
        )
    if errors:
        print(
            f"{'landmarks':<14}mean {sum(errors) / len(errors):.1%}, "
            f"p95 {errors[int(0.95 * (len(errors) - 1))]:.1%} of the hand's box"
        )
    print("all holds" if table.faults == 0 else f"{table.faults} WRONG")
    return 1 if table.faults else 0


if __name__ == "__main__":
    sys.exit(main())
