#!/usr/bin/python3
"""Makes the pose tracks of tests/tracks out of the truth of a rendered presenter.

`make_tracks.py [--check]` writes them, or says which of them differ from what it would write.
`make_tracks.py --from TRUTH --out TRACK` turns any truth of tools/presenter into a track.

The truth is presenter_truth.jsonl beside this file: 24 seconds of tools/presenter, of which only
the joints that a recognizer reads were kept. Each track is a piece of it, sometimes played slower or back again, with one thing gone
wrong in it. What must come of it stands in its header. Those times come from the truth alone, the
thumb's and the index finger's true distance in normalised image coordinates, and from the holds
that the recognizers promise; no code of ours is asked what it makes of the track.
"""

import argparse
import copy
import json
import math
import random
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TRUTH = Path(__file__).with_name("presenter_truth.jsonl")
TRACKS = ROOT / "tests" / "tracks"
# Recorded tracks of the set, by file name; this script neither makes nor judges them.
FROM_LIFE = set()

# What the recognizers promise (engine/gestures): ratios, and holds in seconds.
ENTER, EXIT = 0.30, 0.35
ARMING, RELEASE, LOST = 0.06, 0.04, 1.5
PAIR_ENTER, PAIR_EXIT, PAIR_GRACE = 0.40, 0.65, 0.2
SIGN_RATIO, SIGN_HOLD, SIGN_ABSENCE = 1.15, 0.2, 0.1
# The joints are smoothed with at least 1.5 Hz, so that a ratio lags at most 1 / (2 pi 1.5) s.
SMOOTHING = 1 / (2 * math.pi * 1.5)

WRIST, THUMB, INDEX_PIP, INDEX, MIDDLE_MCP = 0, 4, 6, 8, 9
MIDDLE_PIP, MIDDLE, RING_PIP, RING, PINKY_PIP, PINKY = 10, 12, 14, 16, 18, 20
# Nothing else is looked at; the other joints would only make the files longer.
OF_PINCHES = {WRIST, THUMB, INDEX, MIDDLE_MCP}
OF_SIGNS = OF_PINCHES | {INDEX_PIP, MIDDLE_PIP, MIDDLE, RING_PIP, RING, PINKY_PIP, PINKY}
CONFIDENCE = 0.9


# --- Hands -------------------------------------------------------------------------------------


def between(a, b):
    return math.hypot(a[0] - b[0], a[1] - b[1])


def ratio(hand):
    points = hand["points"]
    return between(points[THUMB], points[INDEX]) / between(points[WRIST], points[MIDDLE_MCP])


def set_ratio(hand, wanted):
    """Moves the two tips along the line between them, around where they pinch."""
    points = hand["points"]
    factor = wanted / ratio(hand)
    middle = [(points[THUMB][i] + points[INDEX][i]) / 2 for i in (0, 1)]
    for tip in (THUMB, INDEX):
        for i in (0, 1):
            points[tip][i] = middle[i] + (points[tip][i] - middle[i]) * factor


def shows_sign(hand):
    points = hand["points"]

    def is_extended(tip, pip):
        reach = between(points[tip], points[WRIST])
        return reach / between(points[pip], points[WRIST]) > SIGN_RATIO

    return (
        is_extended(INDEX, INDEX_PIP)
        and is_extended(MIDDLE, MIDDLE_PIP)
        and not is_extended(RING, RING_PIP)
        and not is_extended(PINKY, PINKY_PIP)
    )


def mirrored(hand):
    """The same gesture of the other hand, on the other side of the picture."""
    other = copy.deepcopy(hand)
    other["side"] = "left" if hand["side"] == "right" else "right"
    for point in filter(None, other["points"]):
        point[0] = 1 - point[0]
    return other


def moved(hand, x, y):
    other = copy.deepcopy(hand)
    for point in filter(None, other["points"]):
        point[0] += x
        point[1] += y
    return other


class Truth:
    def __init__(self, path):
        with open(path, encoding="utf-8") as lines:
            frames = [json.loads(line) for line in lines]
        self.width, self.height = frames[0]["width"], frames[0]["height"]
        self.times = [frame["time"] for frame in frames]
        self.frames = [
            {hand["side"]: self._points(hand["landmarks"]) for hand in frame["hands"]}
            for frame in frames
        ]

    def _points(self, landmarks):
        return [point and [point[0] / self.width, 1 - point[1] / self.height] for point in landmarks]

    def hand(self, side, frame):
        """The hand at a frame, between two of them where the number is not whole."""
        first = self.frames[math.floor(frame)][side]
        second = self.frames[math.ceil(frame)][side]
        part = frame - math.floor(frame)
        points = [
            a and [(1 - part) * a[0] + part * b[0], (1 - part) * a[1] + part * b[1], CONFIDENCE]
            for a, b in zip(first, second)
        ]
        return {"side": side, "points": points}


# --- Tracks ------------------------------------------------------------------------------------


class Track:
    """Frames of a time and hands each, and the events that must come of them."""

    def __init__(self, about, rate=30):
        self.about, self.rate = about, rate
        self.frames, self.expected = [], []

    def play(self, truth, keys, sides=("right",), rate=None):
        """Appends frames at a rate: `keys` are (seconds, frame of the truth) along the way."""
        rate = rate or self.rate
        start = self.frames[-1]["time"] + 1 / rate if self.frames else 0
        for i in range(round((keys[-1][0] - keys[0][0]) * rate) + 1):
            seconds = keys[0][0] + i / rate
            self.frames.append(
                {
                    "time": start + i / rate,
                    "hands": [truth.hand(side, along(keys, seconds)) for side in sides],
                }
            )
        return self

    def insert(self, at, count, hands=()):
        """Puts frames with these hands before the frame `at`; what follows comes later."""
        step = 1 / self.rate
        start = self.frames[at]["time"]
        for frame in self.frames[at:]:
            frame["time"] += count * step
        self.frames[at:at] = [
            {"time": start + i * step, "hands": copy.deepcopy(list(hands))} for i in range(count)
        ]
        return self

    def edit(self, change, first=0, end=None, side=None):
        """Calls `change(hand, index)` for the hands of some frames."""
        for index in range(len(self.frames))[first:end]:
            for hand in self.frames[index]["hands"]:
                if side is None or hand["side"] == side:
                    change(hand, index)
        return self

    def drop(self, first, count, side=None):
        """The detector finds no hand, or not this one, in some frames."""
        for frame in self.frames[first : first + count]:
            frame["hands"] = [hand for hand in frame["hands"] if side and hand["side"] != side]
        return self

    def stall(self, at, seconds):
        """The camera delivers nothing for so long before the frame `at`."""
        for frame in self.frames[at:]:
            frame["time"] += seconds
        return self

    # What must come -----------------------------------------------------------------------------

    def first(self, holds, after=0):
        """The index of the first frame from `after` on that fulfils a condition."""
        return next(i for i in range(after, len(self.frames)) if holds(self.frames[i]))

    def held(self, index, seconds):
        """The time of the first frame that comes so long after the frame `index`."""
        since = self.frames[index]["time"]
        return next(f["time"] for f in self.frames if f["time"] - since >= seconds - 1e-6)

    def closes(self, after=0, side="right", at=ENTER):
        return self.first(lambda f: any(h["side"] == side and ratio(h) <= at for h in f["hands"]), after)

    def opens(self, after, side="right", at=EXIT):
        return self.first(lambda f: any(h["side"] == side and ratio(h) > at for h in f["hands"]), after)

    def expect(self, event, time, frames):
        self.expected.append({"event": event, "time": round(time, 4), "frames": frames})
        return self

    def smoothing_frames(self):
        return math.ceil(SMOOTHING * self.rate) + 1

    def expect_pinch(self, close, open_, late=0):
        """From the frame that closes to the one that opens, both of the truth."""
        self.expect("pinch began", self.held(close, ARMING), 1 + late)
        if open_ is not None:
            self.expect("pinch ended", self.held(open_, RELEASE), self.smoothing_frames() + late)
        return self

    def expect_one_pinch(self, late=0):
        close = self.closes()
        return self.expect_pinch(close, self.opens(close), late)

    def expect_pair(self, late=0):
        both = lambda at: lambda f: sum(ratio(h) <= at for h in f["hands"]) == 2
        close = self.first(both(PAIR_ENTER))
        last = self.first(lambda f: not both(PAIR_EXIT)(f), close) - 1
        self.expect("two-hand began", self.frames[close]["time"], late)
        return self.expect("two-hand ended", self.held(last, PAIR_GRACE), 1 + late)

    def expect_sign(self, after=0, late=1):
        def is_shown(index):
            return any(shows_sign(hand) for hand in self.frames[index]["hands"])

        long_enough = math.ceil(SIGN_HOLD * self.rate)
        start = next(
            i for i in range(after, len(self.frames)) if all(map(is_shown, range(i, i + long_enough)))
        )
        return self.expect("peace sign", self.held(start, SIGN_HOLD), late)

    # --------------------------------------------------------------------------------------------

    def text(self, width, height, joints=range(21)):
        def hand_text(hand):
            landmarks = [
                None
                if point is None or i not in joints
                else [round(value, 4) for value in point]
                for i, point in enumerate(hand["points"])
            ]
            seen = [point[2] for point in landmarks if point]
            average = round(sum(seen) / len(seen), 2) if seen else 0
            return {"chirality": hand["side"], "confidence": average, "landmarks": landmarks}

        header = {"lanternfly": "poses", "version": 1, "width": width, "height": height}
        header |= {"frameRate": self.rate, "about": self.about}
        if self.expected is not None:
            header["expected"] = sorted(self.expected, key=lambda event: event["time"])
        lines = [header]
        for frame in self.frames:
            hands = [hand_text(hand) for hand in frame["hands"]]
            lines.append({"time": round(frame["time"], 6), "hands": hands})
        return "".join(json.dumps(line, separators=(",", ":")) + "\n" for line in lines)


def along(keys, seconds):
    for (t0, f0), (t1, f1) in zip(keys, keys[1:]):
        if seconds <= t1 + 1e-9:
            return f0 + (f1 - f0) * min(max((seconds - t0) / (t1 - t0), 0), 1)
    return keys[-1][1]


def hidden(joint, confidence):
    def change(hand, _):
        hand["points"][joint][2] = confidence

    return change


def missing(joint):
    def change(hand, _):
        hand["points"][joint] = None

    return change


def at_ratio(wanted):
    return lambda hand, _: set_ratio(hand, wanted)


def side_is(pattern):
    """The side that the detector tells, frame by frame."""

    def change(hand, index):
        hand["side"] = pattern[index % len(pattern)]

    return change


def jitter(part, seed):
    """Moves every joint by about this part of the hand's size, anew in every frame."""
    source = random.Random(seed)

    def bell():  # a sum of twelve is near enough to a normal distribution
        return sum(source.random() for _ in range(12)) - 6

    def change(hand, _):
        size = between(hand["points"][WRIST], hand["points"][MIDDLE_MCP])
        for point in filter(None, hand["points"]):
            point[0] += bell() * part * size
            point[1] += bell() * part * size

    return change


# --- The set -----------------------------------------------------------------------------------

# The truth's first pinch, frames 128 (open) to 129 (closed), played and played back: closed from
# frame 7 to frame 37.
PINCH = [(0, 122), (22 / 30, 144), (44 / 30, 122)]
CLOSED, REOPENED = 7, 38
# Its pinch of both hands, closed in frame 409: closed from frame 6 to frame 36.
PAIR = [(0, 403), (21 / 30, 424), (42 / 30, 403), (52 / 30, 393)]
# Its peace sign, from frame 629 on.
BOTH = ("right", "left")


def pinches(truth):
    def pinch(about, rate=30):
        return Track(about, rate).play(truth, PINCH)

    yield "pinch", pinch("a pinch of one second").expect_one_pinch()
    for rate in (15, 60):
        yield f"pinch_{rate}fps", pinch(f"a pinch at {rate} frames a second", rate).expect_one_pinch()
    changing = Track("a camera that changes between 30, 15 and 60 frames a second")
    for rate, keys in (
        (30, [(0, 119), (0.4, 131)]),
        (15, [(0, 132), (0.4, 144)]),
        (60, [(0, 144), (0.5, 129)]),
        (30, [(0, 128), (0.4, 118)]),
    ):
        changing.play(truth, keys, rate=rate)
    yield "pinch_rate_changes", changing.expect_one_pinch()

    slow = Track("closes and opens over a second each")
    slow.play(truth, [(0, 127.5), (1, 130), (1.5, 134), (2, 130), (3, 127.5), (3.3, 126)])
    yield "pinch_slow", slow.expect_one_pinch()
    fast = Track("closes within a frame, is held for a sixth of a second, opens within a frame")
    fast.play(truth, [(0, 121), (6 / 30, 127), (7 / 30, 130), (12 / 30, 130), (13 / 30, 127), (1, 120)])
    yield "pinch_fast", fast.expect_one_pinch()
    tap = Track("closed in three frames: just long enough")
    tap.play(truth, [(0, 127), (0.2, 127), (7 / 30, 130), (9 / 30, 130), (10 / 30, 127), (1, 120)])
    yield "pinch_three_frames", tap.expect_one_pinch()
    short = Track("closed in a single frame: too short")
    short.play(truth, [(0, 126), (0.2, 126), (7 / 30, 130), (8 / 30, 126), (1, 120)])
    yield "pinch_too_short", short
    twice = pinch("two pinches, a third of a second apart")
    twice.play(truth, [(0, 124), (0.5, 139), (1, 124)])
    close = twice.closes()
    reopened = twice.opens(close)
    again = twice.closes(reopened)
    yield "pinch_twice", twice.expect_pinch(close, reopened).expect_pinch(again, twice.opens(again))

    for name, nearest in (("031", 0.31), ("034", 0.34), ("040", 0.40)):
        near = pinch(f"thumb and index finger come to {nearest}: near, but no pinch")
        yield f"near_pinch_{name}", near.edit(at_ratio(nearest), CLOSED, REOPENED)
    tight = pinch("thumb and index finger come to 0.29: just a pinch")
    yield "pinch_just_so", tight.edit(at_ratio(0.29), CLOSED, REOPENED).expect_one_pinch()
    loose = pinch("loosens to 0.33 in the middle, which keeps a pinch")
    yield "pinch_loosened", loose.edit(at_ratio(0.33), 20, 30).expect_one_pinch()
    reopened = pinch("opens to 0.6, then hovers at 0.33, which does not bring a pinch back")
    reopened.edit(at_ratio(0.6), 20, 30).edit(at_ratio(0.33), 30, REOPENED)
    yield "pinch_not_regained", reopened.expect_pinch(reopened.closes(), 20)


def failures(truth):
    """One pinch of a second each, in which the detector fails."""

    def pinch(about):
        return Track(about).play(truth, PINCH)

    for count in (1, 2, 3, 5, 10, 44):
        track = pinch(f"not seen for {count} frames during the pinch")
        track.insert(25, max(count - 5, 0), track.frames[24]["hands"]).expect_one_pinch()
        yield f"dropout_{count}", track.drop(22, count)
    lost = pinch("not seen for 1.7 seconds during the pinch, which ends it; then it is a new one")
    lost.insert(25, 51)
    lost.expect_pinch(CLOSED, None).expect("pinch ended", lost.held(24, LOST), 1)
    yield "dropout_51", lost.expect_pinch(76, lost.opens(76))
    gone = pinch("leaves the picture during the pinch")
    gone.expect_pinch(CLOSED, None)
    gone.frames = gone.frames[:25]
    gone.frames += [{"time": (25 + i) / 30, "hands": []} for i in range(60)]
    yield "gone", gone.expect("pinch ended", gone.held(24, LOST), 1)
    arming = pinch("not seen in the frame after it closes, so the hold begins again")
    arming.expect_pinch(CLOSED + 2, REOPENED)
    yield "dropout_arming", arming.drop(CLOSED + 1, 1)
    for count in (1, 3):
        release = pinch(f"not seen for {count} frames after it opens").expect_one_pinch(late=count)
        yield f"dropout_release_{count}", release.drop(REOPENED + 1, count)
    every = pinch("seen in every other frame only, once the pinch holds").expect_one_pinch(late=1)
    for index in range(CLOSED + 4, len(every.frames), 2):
        every.drop(index, 1)
    yield "dropout_every_other", every

    for percent, seed in ((1, 11), (2, 12), (4, 13)):
        noisy = pinch(f"every joint shakes by {percent} % of the hand's size").expect_one_pinch(late=1)
        yield f"jitter_{percent}", noisy.edit(jitter(percent / 100, seed))
    open_ = Track("an open hand whose joints shake by 4 % of its size: no pinch")
    yield "jitter_open", open_.play(truth, [(0, 95), (1, 125)]).edit(jitter(0.04, 14))

    for name, joint in (("thumb", THUMB), ("index", INDEX)):
        unsure = pinch(f"the {name} tip is unsure (0.2) all the time: no pinch")
        yield f"hidden_{name}", unsure.edit(hidden(joint, 0.2))
    unseen = pinch("the index tip is not found while it is closed: no pinch")
    yield "missing_index", unseen.edit(missing(INDEX), CLOSED - 1, REOPENED + 1)
    late = pinch("the index tip is unsure in the first five closed frames")
    late.expect_pinch(CLOSED + 5, REOPENED)
    yield "hidden_at_first", late.edit(hidden(INDEX, 0.2), CLOSED, CLOSED + 5)
    held = pinch("the thumb tip is unsure (0.1) for half of the pinch, which holds it").expect_one_pinch()
    yield "hidden_during", held.edit(hidden(THUMB, 0.1), 18, 34)
    weak = pinch("the tips are weak (0.35) once the pinch holds, which is enough").expect_one_pinch()
    weak.edit(hidden(THUMB, 0.35), CLOSED + 4).edit(hidden(INDEX, 0.35), CLOSED + 4)
    yield "weak_during", weak

    for name, pattern in (
        ("every_frame", ["right", "left"]),
        ("every_third", ["right"] * 3 + ["left"] * 3),
        ("unknown", ["unknown"]),
    ):
        flicker = pinch("the detector is not sure which hand it is").expect_one_pinch()
        yield f"chirality_{name}", flicker.edit(side_is(pattern))

    for name, seconds in (("05", 0.5), ("20", 2.0)):
        gap = pinch(f"the camera stands still for {seconds} seconds during the pinch")
        yield f"gap_{name}", gap.stall(25, seconds).expect_one_pinch()
    gap = pinch("the camera stands still for 2 seconds; then the hand is gone")
    gap.stall(25, 2).drop(25, 99).expect_pinch(CLOSED, None)
    yield "gap_gone", gap.expect("pinch ended", gap.held(24, LOST), 1)


def crossings(truth):
    def crossing():
        """An open left hand goes through the right hand that pinches."""
        track = Track("an open hand crosses the one that pinches").play(truth, PINCH)
        for index, frame in enumerate(track.frames):
            other = truth.hand("left", 375 + index / 2)
            reach = frame["hands"][0]["points"][INDEX][0] - other["points"][INDEX][0]
            frame["hands"].append(moved(other, reach + 0.01 * (25 - index), 0))
        return track

    yield "crossing", crossing().expect_one_pinch()
    swapped = crossing().expect_one_pinch()
    for frame in swapped.frames[::2]:
        frame["hands"].reverse()
    yield "crossing_order", swapped
    vague = crossing().expect_one_pinch()
    vague.about += ", whose side is not known for four frames"
    yield "crossing_unknown", vague.edit(side_is(["unknown"]), 10, 14, side="right")


def pairs(truth):
    def pair(about):
        return Track(about).play(truth, PAIR, BOTH)

    def one_hand_and_pair(track, late=0):
        return track.expect_one_pinch(late).expect_pair()

    yield "pair", one_hand_and_pair(pair("both hands pinch for a second"))
    for count in (3, 5):
        for side in BOTH:
            track = one_hand_and_pair(pair(f"the {side} hand is not seen for {count} frames"))
            yield f"pair_dropout_{side}_{count}", track.drop(18, count, side)
    gone = one_hand_and_pair(pair("both hands are not seen for five frames"))
    yield "pair_dropout_both", gone.drop(15, 5)
    # Hands that are both out of sight for longer than the grace have let go.
    away = one_hand_and_pair(pair("both hands are not seen for ten frames: two sessions"))
    away.expect("two-hand ended", away.held(14, PAIR_GRACE), 1)
    away.expect("two-hand began", away.frames[25]["time"], 0)
    yield "pair_away", away.drop(15, 10)
    lost = pair("both hands are not seen for two seconds: two sessions, and two pinches")
    lost.insert(20, 60).expect_pair()
    lost.expect("two-hand began", lost.frames[80]["time"], 0)
    lost.expect("two-hand ended", lost.held(lost.opens(80, at=PAIR_EXIT) - 1, PAIR_GRACE), 1)
    lost.expect_pinch(lost.closes(), None).expect("pinch ended", lost.held(19, LOST), 1)
    yield "pair_vanished", lost.expect_pinch(80, lost.opens(80))
    unknown = one_hand_and_pair(pair("the sides are not known for five frames"))
    yield "pair_unknown", unknown.edit(side_is(["unknown"]), 18, 23)
    grace = one_hand_and_pair(pair("the left hand opens for a tenth of a second: still one session"))
    yield "pair_opened_briefly", grace.edit(at_ratio(0.8), 18, 21, side="left")
    broken = pair("the left hand opens for a third of a second: two sessions").expect_one_pinch()
    first, again = broken.closes(at=PAIR_ENTER), 28
    broken.expect("two-hand began", broken.frames[first]["time"], 0)
    broken.expect("two-hand ended", broken.held(17, PAIR_GRACE), 1)
    broken.expect("two-hand began", broken.frames[again]["time"], 0)
    last = broken.opens(again, at=PAIR_EXIT) - 1
    broken.expect("two-hand ended", broken.held(last, PAIR_GRACE), 1)
    yield "pair_opened", broken.edit(at_ratio(0.8), 18, again, side="left")
    half = pair("the left hand comes to 0.5 only: one hand pinches, not both").expect_one_pinch()
    yield "pair_half", half.edit(lambda h, _: set_ratio(h, max(ratio(h), 0.5)), side="left")
    same = pair("both hands are told as right hands: one pinches, no pair").expect_one_pinch()
    yield "pair_same_side", same.edit(side_is(["right"]))


def signs(truth):
    held = Track("a peace sign").play(truth, [(0, 626), (1, 656)])
    yield "peace", held.expect_sign()
    short = Track("a peace sign of a seventh of a second: too short")
    yield "peace_too_short", short.play(truth, [(0, 626), (5 / 30, 631), (10 / 30, 626)])
    gap = Track("one frame in the middle of the hold is lost, so it begins again")
    gap.play(truth, [(0, 627), (1, 657)]).drop(5, 1)
    yield "peace_interrupted", gap.expect_sign(after=6)
    twice = Track("two peace signs, a fifth of a second apart").play(truth, [(0, 630), (0.5, 645)])
    twice.insert(16 - 1, 6).play(truth, [(0, 646), (0.5, 661)])
    yield "peace_twice", twice.expect_sign().expect_sign(after=21)
    once = Track("a peace sign with a gap of a fifteenth of a second: still the same sign")
    once.play(truth, [(0, 630), (1, 660)]).drop(15, 2)
    yield "peace_gap", once.expect_sign()
    curled = Track("a peace sign whose ring finger is not seen well: it does not count")
    yield "peace_hidden", curled.play(truth, [(0, 626), (1, 656)]).edit(hidden(RING, 0.3))

    def with_sign(about, first, end):
        """The left hand shows the sign while the right hand pinches."""
        track = Track(about).play(truth, PINCH).play(truth, [(0, 122), (0.8, 98)])
        for index in range(first, end):
            sign = mirrored(truth.hand("right", 632 + index % 20))
            track.frames[index]["hands"].append(sign)
        return track.expect_one_pinch()

    yield "peace_during_pinch", with_sign("a peace sign of the other hand during a pinch", 15, 35)
    after = with_sign("a peace sign of the other hand that outlives the pinch", 15, 68)
    ended = after.first(lambda f: f["time"] >= after.expected[-1]["time"] - 1e-9)
    # It is held anew from the end of the pinch on, which may come late by the smoothing.
    late = after.smoothing_frames() + 1
    yield "peace_after_pinch", after.expect("peace sign", after.held(ended, SIGN_HOLD), late)


def whole(truth, about):
    """All of it, frame by frame."""
    track = Track(about)
    track.frames = [
        {
            "time": time,
            "hands": [truth.hand(side, index) for side in BOTH if side in truth.frames[index]],
        }
        for index, time in enumerate(truth.times)
    ]
    return track


def talk(truth):
    track = whole(truth, "24 seconds: a drag, both hands, a drawing, a peace sign")
    at = 0
    for _ in range(3):
        close = track.closes(at)
        at = track.opens(close)
        track.expect_pinch(close, at)
    # The sign comes right after the last pinch, which must have ended before it counts.
    yield "talk", track.expect_pair().expect_sign(late=1 + track.smoothing_frames())


def all_tracks(truth):
    for groups, joints in (
        ((talk, signs), OF_SIGNS),
        ((pinches, failures, crossings, pairs), OF_PINCHES),
    ):
        for group in groups:
            for name, track in group(truth):
                yield f"{name}.jsonl", track.text(truth.width, truth.height, joints)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true", help="write nothing, say what differs")
    parser.add_argument("--from", dest="source", type=Path, metavar="TRUTH")
    parser.add_argument("--out", type=Path, metavar="TRACK")
    options = parser.parse_args()

    if options.source or options.out:
        if not (options.source and options.out):
            parser.error("--from and --out go together")
        truth = Truth(options.source)
        track = whole(truth, f"the truth of {options.source.name}")
        track.expected = None
        options.out.write_text(track.text(truth.width, truth.height), encoding="utf-8")
        return 0

    wanted = dict(all_tracks(Truth(TRUTH)))
    present = {path.name: path.read_text(encoding="utf-8") for path in TRACKS.glob("*.jsonl")}
    if options.check:
        names = (wanted.keys() | present.keys()) - FROM_LIFE
        faults = sorted(name for name in names if present.get(name) != wanted.get(name))
        for name in faults:
            print(f"tests/tracks/{name} is not what make_tracks.py makes: run it, or change it there")
        return 1 if faults else 0
    TRACKS.mkdir(exist_ok=True)
    for name, text in wanted.items():
        (TRACKS / name).write_text(text, encoding="utf-8")
    print(f"{len(wanted)} tracks, {sum(map(len, wanted.values())) // 1024} kB")
    return 0


if __name__ == "__main__":
    sys.exit(main())
