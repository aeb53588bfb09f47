"""How well a detector finds the hands and faces of labelled photos."""

import math

import cv2
import numpy as np
import torch

from geometry import box_of, box_side, crop_of, decode_faces, decode_hands, letterbox, overlap
from trainer import to_tensor

FRAME_WIDTH, FRAME_HEIGHT = 640, 360
# Hands from this part of the picture's width on count.
LEAST_HAND = 0.08
MOST_FACE_PICTURES = 50


def as_camera_frame(picture):
    """16 : 9 as a camera would frame it; tall pictures are cut to the upper body. → frame, matrix"""
    height, width = picture.shape[:2]
    scale = min(FRAME_WIDTH / width, FRAME_HEIGHT / height)
    top = (FRAME_HEIGHT - height * scale) / 2
    if height > width:
        scale = FRAME_WIDTH / width * 0.75
        top = min(0, FRAME_HEIGHT - height * scale) * 0.45
    matrix = np.array([[scale, 0, (FRAME_WIDTH - width * scale) / 2], [0, scale, top]], np.float32)
    how = cv2.INTER_AREA if scale < 1 else cv2.INTER_LINEAR
    return cv2.warpAffine(picture, matrix, (FRAME_WIDTH, FRAME_HEIGHT), flags=how), matrix


def torch_detector(net):
    @torch.no_grad()
    def detect(picture, threshold):
        canvas, box = letterbox(picture)
        grid = net(to_tensor(canvas[None]))[0].numpy()
        return decode_hands(grid, box, threshold), decode_faces(grid, box)

    return detect


class _Count:
    """Found, false and missed."""

    def __init__(self):
        self.found = self.false = self.missed = 0

    def add(self, found, true, same):
        """→ pairs (found, true)"""
        pairs, used = [], set()
        for f in found:
            match = [k for k, t in enumerate(true) if k not in used and same(f, t)]
            if match:
                used.add(match[0])
                pairs.append((f, true[match[0]]))
        self.found += len(pairs)
        self.false += len(found) - len(pairs)
        self.missed += len(true) - len(pairs)
        return pairs

    @property
    def recall(self):
        return self.found / max(1, self.found + self.missed)

    @property
    def precision(self):
        return self.found / max(1, self.found + self.false)


def _same_hand(f, crop):
    near = math.hypot(f[1] - crop[0], f[2] - crop[1]) < 0.32 * crop[2]
    return near and 0.5 < f[3] / crop[2] < 2


def _same_face(f, t):
    x, y = f[1] + f[3] / 2 - t[0] - t[2] / 2, f[2] + f[4] / 2 - t[1] - t[3] / 2
    return math.hypot(x, y) < 0.35 * max(t[2:]) and 0.5 < f[3] / t[2] < 2


def _faces_without_hands(frame, faces, hands):
    """Squares around faces that no hand touches."""
    for x, y, w, h in faces:
        side = 2.2 * max(w, h)
        box = np.array([x + w / 2 - side / 2, y + h / 2 - side / 2, 0, 0])
        box[2:] = box[:2] + side
        if side < 60 or any(overlap(box, box_of(j)) > 0 for j in hands):
            continue
        left, top, right, bottom = box.astype(int)
        part = frame[max(0, top) : bottom, max(0, left) : right]
        if min(part.shape[:2]) > 0.6 * side:
            yield part


def measure_photos(detect, photos, threshold=0.4):
    """detect(picture, threshold) → [(score, x, y, side, angle)], [(score, x, y, w, h)].
    Photos of a hand on an even background are left out."""
    hands_all, faces_all, by_source, turns = _Count(), _Count(), {}, []
    face_on_hand = largest_right = largest_all = empty = false_on_faces = 0
    for photo in photos:
        if photo.plain or photo.source == "rendered":
            continue
        frame, matrix = as_camera_frame(cv2.imread(str(photo.path)))
        joints = [h.joints @ matrix[:, :2].T + matrix[:, 2] for h in photo.hands]
        size = (FRAME_WIDTH, FRAME_HEIGHT)
        joints = [p for p in joints if ((p > 0) & (p < size)).all(1).mean() > 0.7]
        large = [p for p in joints if box_side(p) >= LEAST_HAND * FRAME_WIDTH]
        true = [crop_of(p) for p in large]
        found, found_faces = detect(frame, threshold)
        rest = [crop_of(p) for p in joints if box_side(p) < LEAST_HAND * FRAME_WIDTH]
        found = [f for f in found if not any(_same_hand(f, t) for t in rest)][:2]
        count = by_source.setdefault(photo.source, _Count())
        for f, t in hands_all.add(found, true, _same_hand):
            turns.append(abs((f[4] - t[3] + math.pi) % (2 * math.pi) - math.pi))
        count.add(found, true, _same_hand)
        faces = [
            (x * matrix[0, 0] + matrix[0, 2], y * matrix[0, 0] + matrix[1, 2], *(s * matrix[0, 0] for s in (w, h)))
            for x, y, w, h, score in photo.faces
            if score > 0.6
        ]
        faces = [f for f in faces if 0 < f[0] + f[2] / 2 < size[0] and 0 < f[1] + f[3] / 2 < size[1]]
        faces_all.add(found_faces, faces, _same_face)
        if faces:
            largest = max(faces, key=lambda f: f[2] * f[3])
            best = max(found_faces, key=lambda f: f[3] * f[4], default=None)
            largest_all += 1
            largest_right += best is not None and _same_face(best, largest)
        for f in found_faces:
            box = np.array([f[1], f[2], f[1] + f[3], f[2] + f[4]])
            known = any(_same_face(f, t) for t in faces)
            face_on_hand += not known and any(overlap(box, box_of(p, 0)) > 0.5 for p in joints)
        for part in _faces_without_hands(frame, faces, joints):
            if empty == MOST_FACE_PICTURES:
                break
            empty += 1
            false_on_faces += bool(detect(part, threshold)[0])
    return {
        "recall": hands_all.recall,
        "precision": hands_all.precision,
        "angle_error_deg": math.degrees(np.median(turns)) if turns else 0.0,
        "face_recall": faces_all.recall,
        "face_precision": faces_all.precision,
        "largest_face_right": largest_right / max(1, largest_all),
        "faces_on_hands": face_on_hand,
        "face_pictures": empty,
        "face_pictures_with_a_false_hand": false_on_faces,
        "by_source": {k: [c.found, c.false, c.missed] for k, c in sorted(by_source.items())},
    }
