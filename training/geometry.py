"""Where a hand's crop lies, and how the networks' outputs become joints, hands and faces.

The conventions of engine/platform/linux/vision, in numpy: what changes here changes there.
Points are pixels (x right, y down); a crop is (centre x, centre y, side, angle), angle 0 with the
fingers up, clockwise positive.
"""

import math

import cv2
import numpy as np

CROP_PX = 128  # the landmark network's input
MAP_CELLS = CROP_PX // 4  # the side of its maps
DETECTOR_WIDTH, DETECTOR_HEIGHT, DETECTOR_STRIDE = 320, 192, 8

# Crop side over the longer side of the box of the joints that move little.
CROP_PER_PALM = 1.85
PALM_JOINTS = [0, 1, 2, 3, 5, 6, 9, 10, 13, 14, 17, 18]
FINGERTIPS = [4, 8, 12, 16, 20]
BONES = [
    *[(0, 1), (1, 2), (2, 3), (3, 4), (0, 5), (5, 6), (6, 7), (7, 8), (5, 9), (9, 10), (10, 11)],
    *[(11, 12), (9, 13), (13, 14), (14, 15), (15, 16), (13, 17), (17, 18), (18, 19), (19, 20)],
    (0, 17),
]

# A second peak with more than this part of the probability outweighs two tips on one spot.
SECOND_PEAK = 0.25


def crop_of(joints):
    """The crop for 21 joints: the fingers up, the palm's box in the middle of the lower half."""
    joints = np.asarray(joints, np.float64)[:, :2]
    up = ((joints[6] + joints[14]) / 2 + joints[10]) / 2 - joints[0]
    angle = math.atan2(up[0], -up[1])
    centre = (joints.min(0) + joints.max(0)) / 2
    c, s = math.cos(angle), math.sin(angle)
    to_upright = np.array([[c, s], [-s, c]])
    palm = (joints[PALM_JOINTS] - centre) @ to_upright.T
    low, high = palm.min(0), palm.max(0)
    middle = (low + high) / 2 - (0, 0.1 * (high - low)[1])
    x, y = centre + middle @ to_upright
    return x, y, CROP_PER_PALM * (high - low).max(), angle


def crop_matrix(crop, side_px):
    """2 × 3: pixel of the crop → pixel of the picture."""
    x, y, side, angle = crop
    scale = side / side_px
    c, s = math.cos(angle) * scale, math.sin(angle) * scale
    half = side_px / 2
    return np.array([[c, -s, x - (c - s) * half], [s, c, y - (s + c) * half]], np.float32)


def mirrored(matrix, side_px):
    """The same crop seen from behind, left and right swapped."""
    return matrix @ np.float32([[-1, 0, side_px - 1], [0, 1, 0], [0, 0, 1]])


def cut(picture, matrix, side_px):
    flags = cv2.INTER_LINEAR | cv2.WARP_INVERSE_MAP
    size = (side_px, side_px)
    return cv2.warpAffine(picture, matrix, size, flags=flags, borderMode=cv2.BORDER_REPLICATE)


def to_crop(matrix, points):
    inverse = cv2.invertAffineTransform(matrix)
    return (points @ inverse[:, :2].T + inverse[:, 2]).astype(np.float32)


def to_picture(matrix, points):
    return points @ matrix[:, :2].T + matrix[:, 2]


def box_side(joints):
    """The longer side of the joints' box: the hand's size in all measures."""
    return float((joints.max(0) - joints.min(0)).max())


def box_of(joints, grow=0.15):
    low, high = joints.min(0), joints.max(0)
    margin = grow * (high - low).max()
    return np.array([*(low - margin), *(high + margin)])


def overlap(a, b):
    """Common area over that of the smaller box."""
    width = max(0, min(a[2], b[2]) - max(a[0], b[0]))
    height = max(0, min(a[3], b[3]) - max(a[1], b[1]))
    areas = ((q[2] - q[0]) * (q[3] - q[1]) for q in (a, b))
    return width * height / (1e-9 + min(areas))


def pinch_ratio(joints):
    """|thumb tip − index tip| / |wrist − middle MCP|"""
    gap = np.linalg.norm(joints[4] - joints[8])
    return float(gap / (np.linalg.norm(joints[0] - joints[9]) + 1e-6))


def decode_maps(logits, radius=3):
    """21 × H × W logits → 21 × 2 in 0…1 of the crop, 21 confidences."""
    count, height, width = logits.shape
    p = np.exp(logits - logits.max((1, 2), keepdims=True))
    p /= p.sum((1, 2), keepdims=True)
    peak = p.reshape(count, -1).argmax(1)
    y, x = peak // width, peak % width
    if max(abs(y[4] - y[8]), abs(x[4] - x[8])) <= 2:
        others = []
        for joint in (4, 8):
            rest = p[joint].copy()
            top, left = max(0, y[joint] - 4), max(0, x[joint] - 4)
            rest[top : y[joint] + 5, left : x[joint] + 5] = 0
            others.append((rest.sum(), joint, rest.argmax()))
        mass, joint, cell = max(others)
        if mass > SECOND_PEAK:
            y[joint], x[joint] = cell // width, cell % width
    padded = np.pad(p, ((0, 0), (radius, radius), (radius, radius)))
    steps = np.arange(2 * radius + 1)
    rows, columns = (y[:, None] + steps)[:, :, None], (x[:, None] + steps)[:, None, :]
    window = padded[np.arange(count)[:, None, None], rows, columns]
    mass = window.sum((1, 2))
    offset = steps - radius
    px = x + (window.sum(1) * offset).sum(1) / mass + 0.5
    py = y + (window.sum(2) * offset).sum(1) / mass + 0.5
    return np.stack([px / width, py / height], 1), mass


def letterbox(picture):
    """The picture fitted into the detector's input, black around it; (scale, left, top)."""
    height, width = picture.shape[:2]
    scale = min(DETECTOR_WIDTH / width, DETECTOR_HEIGHT / height)
    fitted_width, fitted_height = round(width * scale), round(height * scale)
    left, top = (DETECTOR_WIDTH - fitted_width) // 2, (DETECTOR_HEIGHT - fitted_height) // 2
    canvas = np.zeros((DETECTOR_HEIGHT, DETECTOR_WIDTH, 3), np.uint8)
    how = cv2.INTER_AREA if scale < 1 else cv2.INTER_LINEAR
    fitted = cv2.resize(picture, (fitted_width, fitted_height), interpolation=how)
    canvas[top : top + fitted_height, left : left + fitted_width] = fitted
    return canvas, (scale, left, top)


def _peaks(logits, threshold):
    score = 1 / (1 + np.exp(-np.clip(logits, -30, 30)))
    highest = score >= cv2.dilate(score, np.ones((3, 3), np.uint8)) - 1e-6
    cells = zip(*np.where(highest & (score > threshold)))
    return sorted(((float(score[y, x]), y, x) for y, x in cells), reverse=True)


def decode_hands(grid, box=(1.0, 0.0, 0.0), threshold=0.4, most=4):
    """11 × H × W → [(score, x, y, crop side, angle)] in pixels of the picture, best first."""
    scale, left, top = box
    found = []
    for score, y, x in _peaks(grid[0], threshold):
        cx = (x + grid[1, y, x] + 0.5) * DETECTOR_STRIDE
        cy = (y + grid[2, y, x] + 0.5) * DETECTOR_STRIDE
        side = 64 * math.exp(min(2.5, max(-3, grid[3, y, x])))
        if all(math.hypot(cx - f[1], cy - f[2]) > 0.35 * max(side, f[3]) for f in found):
            found.append((score, cx, cy, side, math.atan2(grid[4, y, x], -grid[5, y, x])))
    return [
        (score, (x - left) / scale, (y - top) / scale, side / scale, angle)
        for score, x, y, side, angle in found[:most]
    ]


def decode_faces(grid, box=(1.0, 0.0, 0.0), threshold=0.4, most=4):
    """11 × H × W → [(score, left, top, width, height)] in pixels of the picture, best first."""
    scale, left, top = box
    found = []
    for score, y, x in _peaks(grid[6], threshold):
        cx = (x + grid[7, y, x] + 0.5) * DETECTOR_STRIDE
        cy = (y + grid[8, y, x] + 0.5) * DETECTOR_STRIDE
        w, h = (48 * math.exp(min(2.5, max(-3, grid[c, y, x]))) for c in (9, 10))
        near = (math.hypot(cx - f[1], cy - f[2]) <= 0.4 * max(w, h, *f[3:]) for f in found)
        if not any(near):
            found.append((score, cx, cy, w, h))
    return [
        (score, (x - w / 2 - left) / scale, (y - h / 2 - top) / scale, w / scale, h / scale)
        for score, x, y, w, h in found[:most]
    ]
