"""The networks of a folder as functions, run by OpenCV as the program runs them.

A folder is one of our hand models (hand_model.json, or hand_landmarks.onnx of 160 px without it) or
holds the public networks that made the labels (hand_landmark.onnx, palm_full.onnx,
yunet_n_320_320.onnx), to compare with.
"""

import json
import math
from pathlib import Path

import cv2
import numpy as np

from geometry import crop_matrix, cut, decode_faces, decode_hands, decode_maps, letterbox, to_picture

FIRST_CROP_PX = 160


def _sigmoid(x):
    return 1 / (1 + math.exp(-max(-30.0, min(30.0, float(x)))))


class Landmarks:
    """Ours: (picture, crop) → joints in pixels, confidences, presence, probability of right."""

    def __init__(self, folder):
        description = folder / "hand_model.json"
        self.side = FIRST_CROP_PX
        if description.exists():
            model = json.loads(description.read_text(encoding="utf-8"))
            self.side = model["landmarks"]["input"]["width"]
        self.net = cv2.dnn.readNetFromONNX(str(folder / "hand_landmarks.onnx"))

    def __call__(self, picture, crop):
        matrix = crop_matrix(crop, self.side)
        view = cut(picture, matrix, self.side)
        self.net.setInput(cv2.dnn.blobFromImage(view, 1 / 127.5, mean=(127.5,) * 3, swapRB=True))
        maps, classes = self.net.forward(["heatmaps", "cls"])
        joints, sure = decode_maps(maps[0])
        joints = to_picture(matrix, joints * self.side - 0.5)
        return joints, sure, _sigmoid(classes[0, 0]), _sigmoid(classes[0, 1])


class Detector:
    """Ours: (picture, threshold) → hands, faces, as geometry.decode_hands and decode_faces."""

    def __init__(self, folder):
        self.net = cv2.dnn.readNetFromONNX(str(folder / "hand_detector.onnx"))

    def __call__(self, picture, threshold):
        canvas, box = letterbox(picture)
        self.net.setInput(cv2.dnn.blobFromImage(canvas, 1 / 127.5, mean=(127.5,) * 3, swapRB=True))
        grid = self.net.forward()[0]
        return decode_hands(grid, box, threshold), decode_faces(grid, box)


class PublicLandmarks:
    """The public landmark network; its crop is a little larger than ours."""

    SIDE, COVER = 224, 2.0 / 1.85

    def __init__(self, folder):
        self.net = cv2.dnn.readNetFromONNX(str(folder / "hand_landmark.onnx"))
        self.outputs = self.net.getUnconnectedOutLayersNames()

    def __call__(self, picture, crop):
        x, y, side, angle = crop
        matrix = crop_matrix((x, y, side * self.COVER, angle), self.SIDE)
        view = cut(picture, matrix, self.SIDE)
        self.net.setInput(cv2.dnn.blobFromImage(view, 1 / 255, swapRB=True))
        flat, presence, right = self.net.forward(self.outputs)[:3]
        joints = to_picture(matrix, flat.reshape(21, 3)[:, :2])
        sure = np.full(21, float(presence.reshape(-1)[0]))
        return joints, sure, sure[0], float(right.reshape(-1)[0])


class PublicDetector:
    """The public palm detector and the public face detector."""

    PALM, FACE = 192, 320
    STRIDES = (8, 16, 32)

    def __init__(self, folder):
        self.palms = cv2.dnn.readNetFromONNX(str(folder / "palm_full.onnx"))
        self.outputs = self.palms.getUnconnectedOutLayersNames()
        self.face_net = cv2.dnn.readNetFromONNX(str(folder / "yunet_n_320_320.onnx"))
        cells = [((x + 0.5) / n, (y + 0.5) / n)
                 for n, each in ((24, 2), (12, 6)) for y in range(n) for x in range(n)
                 for _ in range(each)]
        self.anchors = np.array(cells) * self.PALM

    @staticmethod
    def _fit(picture, side):
        height, width = picture.shape[:2]
        scale = side / max(height, width)
        canvas = np.zeros((side, side, 3), np.uint8)
        small = cv2.resize(picture, (round(width * scale), round(height * scale)),
                           interpolation=cv2.INTER_AREA)
        left, top = (side - small.shape[1]) // 2, (side - small.shape[0]) // 2
        canvas[top : top + small.shape[0], left : left + small.shape[1]] = small
        return canvas, (scale, left, top)

    def __call__(self, picture, threshold):
        return self._hands(picture, threshold), self.faces(picture)

    def _hands(self, picture, threshold):
        canvas, (scale, left, top) = self._fit(picture, self.PALM)
        self.palms.setInput(cv2.dnn.blobFromImage(canvas, 1 / 255, swapRB=True))
        numbers, logits = sorted((o[0] for o in self.palms.forward(self.outputs)),
                                 key=lambda o: -o.shape[-1])
        score = 1 / (1 + np.exp(-np.clip(logits[:, 0], -100, 100)))
        found = []
        for i in np.argsort(-score):
            if score[i] < threshold:
                break
            cx, cy, w, h = numbers[i, :4] + (*self.anchors[i], 0, 0)
            points = numbers[i, 4:].reshape(7, 2) + self.anchors[i]
            up = points[2] - points[0]
            size = max(w, h)
            at = np.array([cx, cy]) + 0.5 * h * up / (np.linalg.norm(up) + 1e-6)
            if all(math.hypot(*(at - f[1])) > 0.5 * size for f in found):
                found.append((float(score[i]), at, 2.6 * size / PublicLandmarks.COVER, math.atan2(up[0], -up[1])))
        return [(s, (at[0] - left) / scale, (at[1] - top) / scale, side / scale, angle)
                for s, at, side, angle in found[:4]]

    def faces(self, picture, threshold=0.6):
        canvas, (scale, left, top) = self._fit(picture, self.FACE)
        self.face_net.setInput(cv2.dnn.blobFromImage(canvas))
        names = [f"{kind}_{s}" for s in self.STRIDES for kind in ("cls", "obj", "bbox")]
        out = dict(zip(names, self.face_net.forward(names)))
        found = []
        for s in self.STRIDES:
            score = np.sqrt(out[f"cls_{s}"].ravel() * out[f"obj_{s}"].ravel())
            boxes = out[f"bbox_{s}"].reshape(-1, 4)
            columns = self.FACE // s
            for i in np.where(score > threshold)[0]:
                x, y = (i % columns + boxes[i, 0]) * s, (i // columns + boxes[i, 1]) * s
                w, h = np.exp(boxes[i, 2:]) * s
                found.append((float(score[i]), x, y, w, h))
        kept = []
        for f in sorted(found, reverse=True):
            if all(math.hypot(f[1] - k[1], f[2] - k[2]) > 0.4 * max(*f[3:], *k[3:]) for k in kept):
                kept.append(f)
        return [(p, (x - w / 2 - left) / scale, (y - h / 2 - top) / scale, w / scale, h / scale)
                for p, x, y, w, h in kept]


def networks_of(folder):
    """→ landmarks, detector"""
    folder = Path(folder)
    if (folder / "palm_full.onnx").exists():
        return PublicLandmarks(folder), PublicDetector(folder)
    return Landmarks(folder), Detector(folder)
