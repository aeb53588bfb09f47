"""Reads the labelled photos and the rendered hands, and says which of them are never trained on.

PHOTOS/labels.json: {"images": {file: {"source", "origin", "width", "height",
  "hands": [{"landmarks": 21 x [x px, y px, confidence], "right": probability, "agree": spread}],
  "faces": [[x, y, w, h, score]]}}}. `right` is anatomical, for the picture as stored; `agree` is
the spread between the labelling passes in hand sizes (small is good).
RENDERED/SEED/labels.json: what `presenter --samples` writes; of a second hand it is not known how
much the first covers.
"""

import json
import re
from dataclasses import dataclass, field
from pathlib import Path

import numpy as np

from geometry import box_of, overlap

# Rendered hands whose seed is a multiple of this are held out.
RENDERED_TEST_EVERY = 10
# The rooms of the one man of SubhiH/HandsDataset that are held out.
SUBHI_TEST_ROOMS = ("3_1528505750", "46_pic", "16_pic")
# The public face detector takes fists for faces; those that were looked at had less than this score.
SURE_FACE_ON_A_HAND = 0.85
UNSURE = 0.5  # below what counts as a face anywhere
NOT_FOR_CROPS = 1.0  # a disagreement that no crop is made of


@dataclass
class Hand:
    joints: np.ndarray  # 21 x 2, pixels
    sure: np.ndarray  # 21, how much the label of a joint is worth, 0…1
    right: float
    agree: float = 0.0


@dataclass
class Photo:
    path: Path
    source: str
    hands: list
    faces: list = field(default_factory=list)  # (x, y, w, h, score)
    false_hands: list = field(default_factory=list)  # crops without a hand that look like one

    @property
    def plain(self):
        """A hand alone on an even background, which can be cut out."""
        return self.source == "arda"


def _shot(origin):
    return int(re.search(r"(\d+)\.\w+$", origin).group(1))


def _test_names(images):
    """Names of the photos that are never trained on.

    arda: the last fifth in shooting order, other students. hagrid: every fifth picture of a
    gesture, other people. subhi: three rooms, the same man. robo and emre: none, the one woman of
    that source is the only one with two-hand signs, the three people of this one cannot be told
    apart by name.
    """
    arda = sorted((_shot(v["origin"]), k) for k, v in images.items() if k.startswith("arda"))
    names = {k for _, k in arda[len(arda) * 4 // 5 :]}
    for name, v in images.items():
        file = v["origin"].rsplit("/", 1)[1]
        if name.startswith("hagrid") and _shot(v["origin"]) % 5 == 0:
            names.add(name)
        elif name.startswith("subhi") and file.startswith(SUBHI_TEST_ROOMS):
            names.add(name)
    return names


def _checked_face(face, hands):
    x, y, w, h, score = face
    box = np.array([x, y, x + w, y + h])
    is_on_hand = any(overlap(box, box_of(hand.joints, 0)) > 0.5 for hand in hands)
    return (x, y, w, h, UNSURE if is_on_hand and score < SURE_FACE_ON_A_HAND else score)


def read_photos(folder, part, prepared=None):
    """The photos of `part`, "train" or "test"; `prepared`: the file of prepare.py."""
    folder = Path(folder)
    known = json.loads(Path(prepared).read_text()) if prepared else {}
    images = json.loads((folder / "labels.json").read_text())["images"]
    test = _test_names(images)
    photos = []
    for name in sorted(images):
        if (name in test) != (part == "test"):
            continue
        v = images[name]
        hands = []
        for h in v["hands"]:
            points = np.array(h["landmarks"], np.float32)
            hands.append(Hand(points[:, :2], points[:, 2], float(h["right"]), h["agree"]))
        more = known.get(name, {})
        faces = [_checked_face(f, hands) for f in more.get("faces", v.get("faces", []))]
        source = name.rsplit("_", 1)[0]
        photos.append(Photo(folder / name, source, hands, faces, more.get("false_hands", [])))
    return photos


def read_rendered(folder, part):
    photos = []
    for labels in sorted(Path(folder).glob("*/labels.json")):
        if (int(labels.parent.name) % RENDERED_TEST_EVERY == 0) != (part == "test"):
            continue
        for row in json.loads(labels.read_text()):
            hands = [_rendered_hand(row["hand"])]
            if "other" in row:
                hands.append(_rendered_hand(row["other"], NOT_FOR_CROPS))
            photos.append(Photo(labels.parent / row["file"], "rendered", hands))
    return photos


def _rendered_hand(truth, agree=0.0):
    joints = np.array(truth["landmarks"], np.float32)
    return Hand(joints, np.ones(21, np.float32), float(truth["side"] == "right"), agree)
