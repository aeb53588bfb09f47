"""Random changes that a camera, a room and a hand bring: light, blur, noise, view, fingers."""

import math

import cv2
import numpy as np

from geometry import box_side, crop_matrix, mirrored, pinch_ratio

_NOISE = np.random.default_rng(1).normal(0, 1, (420, 420, 3)).astype(np.float32)


def light_table(rng, strength=1.0):
    """256 × 1 × 3: exposure, contrast, gamma, colour cast; sometimes low light."""
    x = np.arange(256, dtype=np.float32)[:, None] / 255
    low_light = rng.uniform() < 0.12 * strength
    gain = rng.uniform(0.15, 0.5) if low_light else math.exp(rng.normal(0, 0.28 * strength))
    contrast = rng.uniform(0.7, 1.25)
    cast = np.exp(rng.normal(0, 0.09 * strength, 3)).astype(np.float32)
    y = np.power(x, math.exp(rng.normal(0, 0.25 * strength)))
    y = ((y - 0.5) * contrast + 0.5 + rng.normal(0, 0.04)) * gain * cast
    return np.clip(y * 255, 0, 255).astype(np.uint8).reshape(256, 1, 3)


def _saturation(picture, rng):
    s = rng.uniform(0, 1.6)
    mix = np.full((3, 3), (1 - s) / 3, np.float32) + np.eye(3, dtype=np.float32) * s
    return cv2.transform(picture, mix)


def _motion_blur(picture, rng):
    length = int(rng.integers(3, max(5, picture.shape[0] // 9)))
    kernel = np.zeros((length, length), np.float32)
    angle = rng.uniform(0, math.pi)
    middle = (length - 1) / 2
    reach = np.array([math.cos(angle), math.sin(angle)]) * middle
    ends = [tuple(np.round(middle + s * reach).astype(int).tolist()) for s in (-1, 1)]
    cv2.line(kernel, *ends, 1, 1)
    return cv2.filter2D(picture, -1, kernel / kernel.sum())


def _camera(picture, rng):
    height, width = picture.shape[:2]
    if rng.uniform() < 0.2:
        picture = _motion_blur(picture, rng)
    if rng.uniform() < 0.28:
        f = rng.uniform(1.3, 3.5)
        small = (int(width / f), int(height / f))
        how = cv2.INTER_LINEAR if rng.uniform() < 0.7 else cv2.INTER_CUBIC
        picture = cv2.resize(picture, small, interpolation=cv2.INTER_AREA)
        picture = cv2.resize(picture, (width, height), interpolation=how)
    if rng.uniform() < 0.3:
        y, x = rng.integers(0, max(1, 420 - height)), rng.integers(0, max(1, 420 - width))
        noise = _NOISE[y : y + height, x : x + width]
        noise = noise[..., :1] if rng.uniform() < 0.3 else noise
        picture = np.clip(picture + noise * rng.uniform(2, 14), 0, 255).astype(np.uint8)
    if rng.uniform() < 0.2:
        quality = [cv2.IMWRITE_JPEG_QUALITY, int(rng.integers(25, 85))]
        picture = cv2.imdecode(cv2.imencode(".jpg", picture, quality)[1], cv2.IMREAD_COLOR)
    return picture


def _window(picture, rng):
    """A blown-out window or lamp: a white patch with a soft edge."""
    height, width = picture.shape[:2]
    mask = np.zeros((height, width), np.uint8)
    centre = (rng.uniform(0, width), rng.uniform(0, height))
    size = (rng.uniform(0.15, 0.9) * width, rng.uniform(0.15, 0.9) * height)
    corners = cv2.boxPoints((centre, size, rng.normal(0, 10)))
    cv2.fillConvexPoly(mask, corners.astype(np.int32), int(rng.uniform(150, 255)))
    mask = cv2.blur(mask, (2 * int(rng.integers(0, 5)) + 1,) * 2)
    return blend(np.full_like(picture, rng.integers(235, 256)), picture, mask)


def _flare(picture, rng):
    """Light from a window beside or behind: a wide white glow."""
    height, width = picture.shape[:2]
    cells = (np.arange(16) + 0.5) / 16
    x, y, reach = rng.uniform(-0.2, 1.2), rng.uniform(-0.2, 1.2), rng.uniform(0.15, 0.6)
    glow = np.exp(-(((cells - y) / reach) ** 2)[:, None] - ((cells - x) / reach) ** 2)
    glow = (glow * rng.uniform(80, 300)).clip(0, 255).astype(np.uint8)
    glow = cv2.resize(glow, (width, height), interpolation=cv2.INTER_LINEAR)
    return cv2.add(picture, cv2.merge([glow] * 3))


def finish(picture, rng, window=0.0):
    """What light and camera do to a picture; `window`: the chance of a blown-out patch."""
    if rng.uniform() < 0.85:
        picture = cv2.LUT(picture, light_table(rng))
    if rng.uniform() < 0.25:
        picture = _saturation(picture, rng)
    if rng.uniform() < window:
        picture = _window(picture, rng)
    if rng.uniform() < 0.05 + window:
        picture = _flare(picture, rng)
    return _camera(picture, rng)


def blend(front, back, mask):
    m = mask[..., None].astype(np.uint16)
    return ((front * m + back * (255 - m)) // 255).astype(np.uint8)


def random_view(centre, side, out_px, rng, flip, calm=False):
    """2 × 3: pixel of a random view of a crop of `side` around `centre` → pixel of the picture."""
    if calm:
        angle, scale = rng.uniform(-15, 15), rng.uniform(0.87, 1.15)
        shift = rng.uniform(-0.08, 0.08, 2)
    else:
        u = rng.uniform()
        wide = rng.uniform(-70, 70) if u < 0.95 else rng.uniform(-180, 180)
        angle = rng.normal(0, 16) if u < 0.84 else wide
        scale = math.exp(rng.uniform(math.log(0.75), math.log(1.4)))
        shift = rng.uniform(-0.13, 0.13, 2)
    x, y = centre + shift * side
    m = crop_matrix((x, y, side * scale, math.radians(angle)), out_px)
    return mirrored(m, out_px) if flip else m


def _finger_moves(joints, rng):
    """How far each joint moves: thumb and index open or close, or all fingers wiggle."""
    size = box_side(joints)
    moves = np.zeros((21, 2), np.float32)
    ratio = pinch_ratio(joints)
    if rng.uniform() < 0.65 and ratio < 1.1:
        close = ratio < 0.3 or rng.uniform() < 0.6
        gap = (joints[8] - joints[4]) * ((rng.uniform(0.3, 1) if close else rng.uniform(1, 1.5)) - 1)
        gap *= min(1, 0.17 * size / (np.linalg.norm(gap) + 1e-6))
        index_part = rng.uniform(0.3, 0.8)
        for joint, part in ((8, 1), (7, 0.75), (6, 0.3)):
            moves[joint] += gap * index_part * part
        for joint, part in ((4, 1), (3, 0.6), (2, 0.15)):
            moves[joint] -= gap * (1 - index_part) * part
    else:
        for base in (1, 5, 9, 13, 17):
            step = rng.normal(0, 0.028 * size, 2)
            for k, part in enumerate((0.1, 0.35, 0.7, 1)):
                moves[base + k] += step * part
    return moves, size


def bend_fingers(joints, side_px, rng):
    """A smooth warp that moves fingers. → where each pixel comes from (n, n, 2), the new joints."""
    moves, size = _finger_moves(joints, rng)
    target = joints + moves
    spread = (0.13 * size) ** 2
    kernel = np.exp(-((target[:, None] - target[None]) ** 2).sum(-1) / spread)
    weights = np.linalg.solve(kernel + 0.08 * np.eye(21), moves)
    coarse = 24
    cells = (np.arange(coarse, dtype=np.float32) + 0.5) * side_px / coarse - 0.5
    ex = np.exp(-((cells[None] - target[:, :1]) ** 2) / spread)
    ey = np.exp(-((cells[None] - target[:, 1:]) ** 2) / spread)
    field = np.stack([(ey * weights[:, k : k + 1]).T @ ex for k in (0, 1)], -1).astype(np.float32)
    moved = joints.copy()
    for _ in range(6):
        near = np.exp(-((moved[:, None] - target[None]) ** 2).sum(-1) / spread)
        moved = joints + near @ weights
    field = cv2.resize(field, (side_px, side_px), interpolation=cv2.INTER_LINEAR)
    y, x = np.mgrid[:side_px, :side_px].astype(np.float32)
    return np.stack([x, y], -1) - field, moved.astype(np.float32)
