#!/usr/bin/python3
"""What a model's networks say of clips, for `lanternfly evaluate-hands FOLDER --peer ANSWERS`.

`answer.py MODEL FOLDER ANSWERS` answers every labelled clip of FOLDER with a file of its labels' name
and format in ANSWERS. The networks are followed plainly: a hand is read where it was a picture ago,
and looked for while fewer than two are known. MODEL is one of our hand models or the folder of the
public networks.
"""

import argparse
import json
from pathlib import Path

import cv2
import numpy as np

from geometry import box_side, crop_of
from networks import networks_of

LONG_SIDE_PX = 480
MOST_HANDS = 2
DETECTOR_SCORE = 0.4
PRESENT = 0.5


def is_new(joints, hands):
    size = box_side(joints)
    return all(np.linalg.norm(joints.mean(0) - h.mean(0)) > 0.35 * size for h in hands)


def follow(picture, crops, landmarks, detector):
    """→ [(joints, confidences, probability of right)] of the hands in this picture"""
    readings = [landmarks(picture, crop) for crop in crops]
    if len(crops) < MOST_HANDS:
        for _, *crop in detector(picture, DETECTOR_SCORE)[0]:
            first = landmarks(picture, crop)
            if first[2] > PRESENT:
                readings.append(landmarks(picture, crop_of(first[0])))
    hands = []
    for joints, sure, presence, right in readings:
        if presence > PRESENT and is_new(joints, [h[0] for h in hands]):
            hands.append((joints, sure, right))
    return hands[:MOST_HANDS]


def answers(clip, landmarks, detector):
    video, crops = cv2.VideoCapture(str(clip)), []
    while True:
        read, picture = video.read()
        if not read:
            return
        scale = LONG_SIDE_PX / max(picture.shape[:2])
        small = cv2.resize(picture, None, fx=scale, fy=scale, interpolation=cv2.INTER_AREA)
        hands = follow(small, crops, landmarks, detector)
        crops = [crop_of(joints) for joints, _, _ in hands]
        yield [
            {
                "landmarks": np.column_stack([(joints + 0.5) / scale - 0.5, sure]).round(2).tolist(),
                "right": round(float(right), 3),
            }
            for joints, sure, right in hands
        ]


def labels_of(clip):
    for suffix in (".json", ".jsonl", "_truth.jsonl"):
        file = clip.with_name(clip.stem + suffix)
        if file.exists():
            return file
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("model", type=Path)
    parser.add_argument("folder", type=Path)
    parser.add_argument("answers", type=Path)
    args = parser.parse_args()
    cv2.setNumThreads(1)
    args.answers.mkdir(parents=True, exist_ok=True)
    networks = networks_of(args.model)
    for clip in sorted(args.folder.glob("*.mp4")):
        labels = labels_of(clip)
        if not labels:
            continue
        frames = list(answers(clip, *networks))
        if labels.suffix == ".jsonl":
            text = "".join(json.dumps({"hands": hands}) + "\n" for hands in frames)
        else:
            text = json.dumps({"frames": frames})
        file = args.answers / labels.name
        file.write_text(text, encoding="utf-8")
        print(f"{file}: {len(frames)} pictures, {sum(map(len, frames))} hands")


if __name__ == "__main__":
    main()
