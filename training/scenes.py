"""Random pictures for the detector: photos moved, scaled, set side by side, hands pasted in."""

import math
from dataclasses import dataclass, field

import cv2
import numpy as np

from augment import blend, finish, light_table
from crops import hand_mask
from geometry import DETECTOR_HEIGHT as H
from geometry import DETECTOR_STRIDE as STRIDE
from geometry import DETECTOR_WIDTH as W
from geometry import box_of, box_side, crop_of, overlap

LARGEST_DISAGREEMENT = 0.15
SURE_FACE = 0.6
SMALLEST_HAND_PX, SMALLEST_FACE_PX = 10, 9
FRAME = (0, 0, W, H)


@dataclass
class Scene:
    picture: np.ndarray
    hands: list  # (joints 21 x 2, whether the label is good)
    faces: list = field(default_factory=list)  # (centre x, centre y, w, h, whether it is sure)
    faces_known: bool = True
    false_hands: list = field(default_factory=list)  # (x, y, side)


@dataclass
class Labels:
    """What is where in the detector's input."""

    hands: list = field(default_factory=list)  # (joints, good, visible part)
    faces: list = field(default_factory=list)  # (x, y, w, h, sure, visible part)
    unknown: list = field(default_factory=list)  # (x0, y0, x1, y1): there may be faces

    def __iadd__(self, other):
        self.hands += other.hands
        self.faces += other.faces
        self.unknown += other.unknown
        return self


def read_scenes(photos):
    """→ scenes, hands that can be cut out [(picture, joints, mask)]"""
    scenes, cuttable = [], []
    for photo in photos:
        picture = cv2.imread(str(photo.path))
        if photo.plain:
            if len(photo.hands) != 1 or photo.hands[0].agree > LARGEST_DISAGREEMENT:
                continue
            joints = photo.hands[0].joints
            mask = hand_mask(cv2.resize(picture, None, fx=2, fy=2), joints * 2)
            if mask is not None:
                mask = cv2.resize(mask, picture.shape[1::-1])
                cuttable.append((picture, joints, mask))
            continue
        if not photo.hands:
            continue  # a hand that the labels miss would be learned as none
        scale = min(1, 480 / max(picture.shape[:2]))
        picture = cv2.resize(picture, None, fx=scale, fy=scale, interpolation=cv2.INTER_AREA)
        hands = [(h.joints * scale, h.agree < LARGEST_DISAGREEMENT) for h in photo.hands]
        faces = [
            ((x + w / 2) * scale, (y + h / 2) * scale, w * scale, h * scale, score > SURE_FACE)
            for x, y, w, h, score in photo.faces
        ]
        false_hands = [(x * scale, y * scale, side * scale) for x, y, side, _ in photo.false_hands]
        scenes.append(Scene(picture, hands, faces, photo.source != "rendered", false_hands))
    return scenes, cuttable


def scene_weights(scenes, photos_of):
    """Sources with few pictures of many people come more often."""
    count = {s: photos_of.count(s) for s in set(photos_of)}
    boost = {"hagrid": 2, "rendered": 0.6}
    weights = np.array([count[s] ** -0.5 * boost.get(s, 1) for s in photos_of])
    assert len(weights) == len(scenes)
    return weights / weights.sum()


def _similarity(scale, angle, flip, source, target):
    """2 × 3 that turns, scales and maybe mirrors, and takes `source` to `target`."""
    c, s = math.cos(angle) * scale, math.sin(angle) * scale
    turn = np.array([[-c if flip else c, -s], [-s if flip else s, c]])
    shift = np.asarray(target) - turn @ np.asarray(source)
    return np.hstack([turn, shift[:, None]]).astype(np.float32)


def _scale_of(matrix):
    return math.sqrt(abs(np.linalg.det(matrix[:, :2])))


def _place(scene, matrix, clip=FRAME):
    """The labels of a scene that is drawn with `matrix` inside `clip`."""
    left, top, right, bottom = clip
    labels = Labels()
    for joints, good in scene.hands:
        p = joints @ matrix[:, :2].T + matrix[:, 2]
        visible = ((p > (left, top)) & (p < (right, bottom))).all(1).mean()
        if visible > 0.05:
            labels.hands.append((p, good, visible))
    scale = _scale_of(matrix)
    for x, y, w, h, sure in scene.faces:
        cx, cy = matrix[:, :2] @ (x, y) + matrix[:, 2]
        w, h = w * scale, h * scale
        across = max(0, min(right, cx + w / 2) - max(left, cx - w / 2)) / w
        down = max(0, min(bottom, cy + h / 2) - max(top, cy - h / 2)) / h
        if across * down > 0.05:
            labels.faces.append((cx, cy, w, h, sure, across * down))
    if not scene.faces_known:
        labels.unknown.append(clip)
    return labels


def _draw(picture, matrix, rng):
    border = cv2.BORDER_REPLICATE if rng.uniform() < 0.4 else cv2.BORDER_CONSTANT
    picture, matrix = _shrunk(picture, matrix)
    return cv2.warpAffine(picture, matrix, (W, H), flags=cv2.INTER_LINEAR, borderMode=border)


def _shrunk(picture, matrix):
    """Reduced by area first when it gets much smaller, against aliasing."""
    scale = _scale_of(matrix)
    if scale >= 0.6:
        return picture, matrix
    k = max(0.1, scale * 1.3)
    picture = cv2.resize(picture, None, fx=k, fy=k, interpolation=cv2.INTER_AREA)
    return picture, np.hstack([matrix[:, :2] / k, matrix[:, 2:]])


class SceneMaker:
    def __init__(self, scenes, weights, cuttable):
        self.scenes, self.weights, self.cuttable = scenes, weights, cuttable

    def _pick(self, rng):
        return self.scenes[rng.choice(len(self.scenes), p=self.weights)]

    def make(self, rng):
        """→ picture H × W × 3, Labels"""
        u = rng.uniform()
        picture, labels = self._mosaic(rng) if u < 0.2 else self._single(rng, u)
        if u > 0.65 and self.cuttable:
            for _ in range(1 if rng.uniform() < 0.6 else 2):
                picture = self._paste(picture, labels, rng)
        if rng.uniform() < 0.2:
            self._window(picture, labels, rng)
        if rng.uniform() < 0.25:
            self._clutter(picture, labels, rng)
        return finish(picture, rng), labels

    def _mosaic(self, rng):
        """Whole pictures side by side: small hands."""
        columns, rows = [(2, 1), (2, 2), (3, 2), (4, 3), (1, 1)][rng.integers(5)]
        picture, labels = np.zeros((H, W, 3), np.uint8), Labels()
        w, h = W // columns, H // rows
        for k in range(columns * rows):
            scene = self._pick(rng)
            height, width = scene.picture.shape[:2]
            fit = max if rng.uniform() < 0.5 else min
            scale = fit(w / width, h / height) * rng.uniform(0.85, 1.1)
            left, top = (k % columns) * w, (k // columns) * h
            centre = (left + w / 2, top + h / 2)
            flip = rng.uniform() < 0.5
            matrix = _similarity(scale, 0, flip, (width / 2, height / 2), centre)
            drawn = _draw(scene.picture, matrix, rng)
            picture[top : top + h, left : left + w] = drawn[top : top + h, left : left + w]
            labels += _place(scene, matrix, (left, top, left + w, top + h))
        return picture, labels

    def _single(self, rng, u):
        scene = self._pick(rng)
        height, width = scene.picture.shape[:2]
        cover = max(W / width, H / height)
        angle, flip = math.radians(rng.normal(0, 7)), rng.uniform() < 0.5
        # What was taken for a hand, and faces that fill much of the picture.
        traps = scene.false_hands or [(x, y, max(w, h)) for x, y, w, h, _ in scene.faces]
        if u < 0.38 and traps:
            x, y, size = traps[rng.integers(len(traps))]
            scale = min(4, math.exp(rng.uniform(math.log(0.1), math.log(0.55))) * W / size)
            # A face that the edge cuts has the shape of a hand.
            across = rng.uniform(0.2, 0.8) if rng.uniform() < 0.7 else rng.choice([0.02, 0.98])
            source, target = (x, y), (across * W, rng.uniform(0.25, 0.8) * H)
        elif u < 0.65:
            joints = scene.hands[rng.integers(len(scene.hands))][0]
            size = math.exp(rng.uniform(math.log(13), math.log(150)))
            scale = max(0.3 * cover, size / box_side(joints))
            source = joints.mean(0)
            target = (rng.uniform(0.06, 0.94) * W, rng.uniform(0.08, 0.92) * H)
        else:
            scale = rng.uniform(0.55, 1.7) * cover
            source = (rng.uniform(0.25, 0.75) * width, rng.uniform(0.25, 0.75) * height)
            target = (W / 2, H / 2)
        matrix = _similarity(scale, angle, flip, source, target)
        return _draw(scene.picture, matrix, rng), _place(scene, matrix)

    def _paste(self, picture, labels, rng):
        """Lays a cut-out hand over the picture where no other hand is."""
        hand, joints, mask = self.cuttable[rng.integers(len(self.cuttable))]
        scale = math.exp(rng.uniform(math.log(12), math.log(120))) / box_side(joints)
        upright = rng.uniform() < 0.85
        angle = math.radians(rng.normal(0, 25) if upright else rng.uniform(-120, 120))
        target = (rng.uniform(0.05, 0.95) * W, rng.uniform(0.06, 0.94) * H)
        centre = (joints.max(0) + joints.min(0)) / 2
        matrix = _similarity(scale, angle, rng.uniform() < 0.5, centre, target)
        p = joints @ matrix[:, :2].T + matrix[:, 2]
        box = box_of(p, 0.3)
        if any(overlap(box, box_of(h[0])) > 0.05 for h in labels.hands):
            return picture
        hand, small = _shrunk(hand, matrix)
        mask, _ = _shrunk(mask, matrix)
        hand = cv2.LUT(hand, light_table(rng, 0.8))
        size = (W, H)
        drawn = (cv2.warpAffine(i, small, size, flags=cv2.INTER_LINEAR) for i in (hand, mask))
        front, cover = drawn
        labels.hands.append((p, True, ((p > 0) & (p < (W, H))).all(1).mean()))
        return blend(front, picture, cover)

    @staticmethod
    def _window(picture, labels, rng):
        """A blown-out window beside hands and faces."""
        w, h = (int(rng.uniform(0.06, 0.4) * s) for s in (W, H))
        x, y = int(rng.integers(0, W - w)), int(rng.integers(0, H - h))
        if _is_free(np.array([x, y, x + w, y + h]), labels):
            picture[y : y + h, x : x + w] = int(rng.integers(225, 256))

    @staticmethod
    def _clutter(picture, labels, rng):
        """Small things beside hands and faces: switches, lamps, handles, prints on a shirt."""
        for _ in range(rng.integers(1, 6)):
            w, h = rng.uniform(4, 34, 2)
            x, y = rng.uniform(0, W), rng.uniform(0, H)
            if not _is_free(np.array([x - w, y - h, x + w, y + h]), labels):
                continue
            for part in (1, rng.uniform(0.3, 0.8)):
                box = (x, y), (w * part, h * part), rng.normal(0, 20)
                colour = rng.integers(0, 256, 3).tolist()
                if rng.uniform() < 0.5:
                    cv2.ellipse(picture, box, colour, -1)
                else:
                    cv2.fillConvexPoly(picture, cv2.boxPoints(box).astype(np.int32), colour)


def _is_free(box, labels):
    """Whether no hand and no face, nor what is close around it, lies in the box."""
    faces = (np.array([f[0] - f[2], f[1] - f[3], f[0] + f[2], f[1] + f[3]]) for f in labels.faces)
    hands = (box_of(hand[0]) for hand in labels.hands)
    return all(overlap(box, taken) <= 0.02 for taken in (*faces, *hands))


def encode(labels):
    """→ targets 11 × h × w, where the numbers count 2 × h × w, where the scores count 2 × h × w"""
    rows, columns = H // STRIDE, W // STRIDE
    target = np.zeros((11, rows, columns), np.float32)
    numbers = np.zeros((2, rows, columns), np.float32)
    scores = np.ones((2, rows, columns), np.float32)
    yy, xx = np.mgrid[:rows, :columns]

    def put(kind, cx, cy, size, values, good):
        channel = 6 * kind
        gx, gy = cx / STRIDE - 0.5, cy / STRIDE - 0.5
        ix, iy = round(gx), round(gy)
        sigma = max(0.65, size / STRIDE / 10)
        blob = np.exp(-((xx - gx) ** 2 + (yy - gy) ** 2) / (2 * sigma * sigma)).astype(np.float32)
        if not good or not (0 <= ix < columns and 0 <= iy < rows):
            scores[kind][blob > 0.2] = 0
            return
        target[channel] = np.maximum(target[channel], blob)
        target[channel, iy, ix] = 1
        for y in range(max(0, iy - 1), min(rows, iy + 2)):
            for x in range(max(0, ix - 1), min(columns, ix + 2)):
                numbers[kind, y, x] = 1
                target[channel + 1 : channel + 3 + len(values), y, x] = gx - x, gy - y, *values

    for joints, good, visible in labels.hands:
        x, y, side, angle = crop_of(joints)
        good = good and visible > 0.7 and box_side(joints) > SMALLEST_HAND_PX
        put(0, x, y, side, (math.log(side / 64), math.sin(angle), -math.cos(angle)), good)
    for left, top, right, bottom in labels.unknown:
        scores[1][top // STRIDE : -(-bottom // STRIDE), left // STRIDE : -(-right // STRIDE)] = 0
    for x, y, w, h, sure, visible in labels.faces:
        good = sure and visible > 0.6 and max(w, h) > SMALLEST_FACE_PX
        put(1, x, y, max(w, h), (math.log(w / 48), math.log(h / 48)), good)
    # Where a hand is known there is no face, whatever is not known around it.
    scores[1][target[0] > 0.5] = 1
    scores[0][target[0] == 1] = 1
    scores[1][target[6] == 1] = 1
    return target, numbers, scores
