#!/usr/bin/python3
"""Finds in the photos what their labels lack: `prepare.py PHOTOS PUBLIC MODEL FILE`.

FILE becomes {photo: {"faces": [[x, y, w, h, score]], "false_hands": [[x, y, side, angle]]}}: the
labels leave out most faces of some sources, so the public face detector (folder PUBLIC) looks again;
and where MODEL sees a hand that is none, the next one learns most.
"""

import json
import math
import sys
from pathlib import Path

import cv2

from geometry import crop_of
from networks import PublicDetector, networks_of

THRESHOLD = 0.2
# Above both, it may well be a hand that the labels miss.
LIKELY_PRESENCE, LIKELY_CONFIDENCE = 0.6, 0.6


def false_hands(detector, landmarks, picture, hands):
    for _, *crop in detector(picture, THRESHOLD)[0]:
        x, y, side, _ = crop
        crops = (crop_of([p[:2] for p in h["landmarks"]]) for h in hands)
        if any(math.hypot(x - c[0], y - c[1]) < 0.5 * max(side, c[2]) for c in crops):
            continue
        _, sure, presence, _ = landmarks(picture, crop)
        if presence < LIKELY_PRESENCE or sure.mean() < LIKELY_CONFIDENCE:
            yield crop


def main():
    photos, public, model, file = map(Path, sys.argv[1:])
    cv2.setNumThreads(1)
    find_faces = PublicDetector(public).faces
    landmarks, detector = networks_of(model)
    prepared = {}
    labels = json.loads((photos / "labels.json").read_text(encoding="utf-8"))["images"]
    for name in sorted(labels):
        hands = labels[name]["hands"]
        if name.startswith("arda") or not hands:
            continue
        picture = cv2.imread(str(photos / name))
        prepared[name] = {
            "faces": [[*box, score] for score, *box in find_faces(picture)],
            "false_hands": list(false_hands(detector, landmarks, picture, hands)),
        }
    text = json.dumps(prepared, default=lambda x: round(float(x), 3))
    file.write_text(text, encoding="utf-8")
    for kind in ("faces", "false_hands"):
        print(kind, sum(len(v[kind]) for v in prepared.values()))


if __name__ == "__main__":
    main()
