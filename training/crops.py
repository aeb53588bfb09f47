"""Hands cut out of photos, pictures without hands, and random training crops made of both."""

import math
from dataclasses import dataclass

import cv2
import numpy as np

from augment import bend_fingers, blend, finish, light_table, random_view
from geometry import (
    BONES,
    CROP_PX,
    box_of,
    box_side,
    crop_matrix,
    crop_of,
    cut,
    mirrored,
    overlap,
    pinch_ratio,
    to_crop,
)

STORED_PX = 256  # a stored crop
STORED_COVER = 1.6  # covers this many times the side of the crop that the network sees
SIDE = STORED_PX / STORED_COVER
MIDDLE = np.array([STORED_PX / 2, STORED_PX / 2])
LARGEST_DISAGREEMENT = {"train": 0.12, "test": 0.08}
NEGATIVE_PART = 0.25
FALSE_HAND_BOOST = 3  # what an earlier network took for a hand comes more often
HIDDEN = 0.25  # what a joint under an occluder still counts


@dataclass
class Crop:
    picture: np.ndarray  # STORED_PX square
    joints: np.ndarray
    sure: np.ndarray
    right: float
    source: str
    pinch: float
    mask: np.ndarray = None  # of the hand, where it can be cut out


def hand_mask(picture, joints):
    """The hand on an even background, 0…255, by GrabCut from its skeleton; None when it fails."""
    height, width = picture.shape[:2]
    half = cv2.resize(picture, (width // 2, height // 2), interpolation=cv2.INTER_AREA)
    points = joints / 2
    size = box_side(points)
    skeleton = np.zeros(half.shape[:2], np.uint8)
    for a, b in BONES:
        ends = [tuple(map(int, points[j])) for j in (a, b)]
        cv2.line(skeleton, *ends, 255, max(1, int(size * 0.03)))
    palm = cv2.convexHull(points[[0, 5, 9, 13, 17]].astype(np.int32))
    cv2.fillConvexPoly(skeleton, palm, 255)
    distance = cv2.distanceTransform(255 - skeleton, cv2.DIST_L2, 5)
    mask = np.full(half.shape[:2], cv2.GC_PR_BGD, np.uint8)
    mask[distance < size * 0.10] = cv2.GC_PR_FGD
    mask[skeleton > 0] = cv2.GC_FGD
    mask[distance > size * 0.45] = cv2.GC_BGD
    models = np.zeros((1, 65)), np.zeros((1, 65))
    try:
        cv2.grabCut(half, mask, None, *models, 2, cv2.GC_INIT_WITH_MASK)
    except cv2.error:
        return None
    front = np.isin(mask, (cv2.GC_FGD, cv2.GC_PR_FGD)).astype(np.uint8) * 255
    return cv2.GaussianBlur(cv2.resize(front, (width, height)), (5, 5), 0)


def _stored(picture, crop):
    x, y, side, angle = crop
    matrix = crop_matrix((x, y, side * STORED_COVER, angle), STORED_PX)
    return cut(picture, matrix, STORED_PX), matrix


def _places_without_hands(photo, shape, rng):
    """Crops beside the hands: faces, what is beside and below a face, forearms, background."""
    height, width = shape
    for crop in photo.false_hands:
        for _ in range(FALSE_HAND_BOOST):
            yield crop
    for x, y, w, h, score in photo.faces:
        if score < 0.6:
            continue
        size = max(w, h)
        for _ in range(2 if photo.hands else 4):
            at = x + w * rng.uniform(0, 1), y + h * rng.uniform(0.1, 0.9)
            yield *at, size * math.exp(rng.uniform(-0.7, 0.8)), rng.normal(0, 0.4)
        for ear in (-0.05, 1.05):
            yield x + w * ear, y + h * rng.uniform(0.3, 0.7), size * rng.uniform(0.4, 0.9), 0
        beside = x + w * rng.choice([-0.6, 0.5, 1.6]) + rng.normal(0, 0.2) * w
        below = y + h * rng.uniform(1.1, 2.2)
        yield beside, below, size * rng.uniform(0.6, 1.8), rng.normal(0, 0.6)
    for hand in photo.hands:
        *_, side, angle = crop_of(hand.joints)
        back = hand.joints[0] - hand.joints[9]
        at = hand.joints[0] + back * rng.uniform(1.3, 2.6)
        yield *at, side * rng.uniform(0.5, 0.9), angle + rng.normal(0, 0.3)
    # Far people's hands are not labelled everywhere.
    if photo.hands or photo.source != "emre_body":
        for _ in range(1 if photo.hands else 3):
            side = rng.uniform(0.12, 0.6) * min(height, width)
            yield rng.uniform(0, width), rng.uniform(0, height), side, rng.normal(0, 0.5)


def cut_photos(photos, part, rng):
    """→ [Crop], [pictures without a hand, STORED_PX square]"""
    hands, others = [], []
    for photo in photos:
        picture = cv2.imread(str(photo.path))
        for hand in photo.hands:
            if box_side(hand.joints) < 18 or hand.agree > LARGEST_DISAGREEMENT[part]:
                continue
            stored, matrix = _stored(picture, crop_of(hand.joints))
            joints = to_crop(matrix, hand.joints)
            mask = hand_mask(stored, joints) if part == "train" and photo.plain else None
            ratio = pinch_ratio(joints)
            crop = Crop(stored, joints, hand.sure, hand.right, photo.source, ratio, mask)
            hands.append(crop)
        if photo.plain:
            continue
        boxes = [box_of(h.joints) for h in photo.hands]
        for place in _places_without_hands(photo, picture.shape[:2], rng):
            x, y, side, _ = place
            box = np.array([x - side / 2, y - side / 2, x + side / 2, y + side / 2])
            if side >= 20 and all(overlap(box, b) <= 0.02 for b in boxes):
                others.append(_stored(picture, place)[0])
    return hands, others


def sampling_weights(hands):
    """Rare sources and closed pinches come more often."""
    sources = [h.source for h in hands]
    count = {s: sources.count(s) for s in set(sources)}
    boost = {"hagrid": 1.8, "rendered": 0.9}
    weights = [
        count[h.source] ** -0.5
        * boost.get(h.source, 1)
        * (2.2 if h.pinch < 0.2 else 2.6 if h.pinch < 0.6 else 1)
        for h in hands
    ]
    return np.array(weights) / sum(weights)


def _cover(view, joints, sure, others, rng):
    """Lays a patch over the view; joints under it count less."""
    side = int(rng.uniform(0.1, 0.33) * CROP_PX)
    x, y = rng.integers(0, CROP_PX - side, 2)
    area = view[y : y + side, x : x + side]
    patch = np.full((side, side, 3), rng.integers(0, 255, 3), np.uint8)
    if rng.uniform() < 0.6:
        patch = others[rng.integers(len(others))][y : y + side, x : x + side]
    mask = np.full((side, side), 255, np.uint8)
    if rng.uniform() < 0.5:
        mask[:] = 0
        axes = (side // 2 - 1, max(2, int(side * rng.uniform(0.15, 0.5))))
        cv2.ellipse(mask, (side // 2, side // 2), axes, rng.uniform(0, 180), 0, 360, 255, -1)
    area[:] = blend(patch, area, mask)
    cover = np.zeros((CROP_PX, CROP_PX), np.uint8)
    cover[y : y + side, x : x + side] = mask
    return _less_sure(joints, sure, cover)


def _less_sure(joints, sure, cover):
    """What joints count with some of them under a cover, 0…255."""
    at = np.round(joints).astype(int)
    inside = ((at >= 0) & (at < CROP_PX)).all(1)
    x, y = at.clip(0, CROP_PX - 1).T
    return np.where(inside & (cover[y, x] > 127), np.minimum(sure, HIDDEN), sure)


def _lay_hand(view, cuttable, rng):
    """Lays another hand over the view, beside its middle. → where it covers, 0…255"""
    hand = cuttable[rng.integers(len(cuttable))]
    side = SIDE * rng.uniform(0.8, 1.3)
    matrix = crop_matrix((*MIDDLE, side, rng.uniform(-math.pi, math.pi)), CROP_PX)
    if rng.uniform() < 0.5:
        matrix = mirrored(matrix, CROP_PX)
    away = rng.uniform(-math.pi, math.pi)
    shift = np.array([math.cos(away), math.sin(away)]) * rng.uniform(0.4, 0.8) * CROP_PX
    matrix[:, 2] -= matrix[:, :2] @ shift
    front = cv2.LUT(cut(hand.picture, matrix, CROP_PX), light_table(rng, 0.8))
    cover = cut(hand.mask, matrix, CROP_PX)
    view[:] = blend(front, view, cover)
    return cover


def random_hand(hand, others, cuttable, rng):
    """→ view CROP_PX square, joints in its pixels, what each joint counts, right"""
    flip = rng.uniform() < 0.5
    matrix = random_view(MIDDLE, SIDE, CROP_PX, rng, flip)
    joints = to_crop(matrix, hand.joints)
    source = None
    if rng.uniform() < 0.3 and hand.source != "rendered":
        source, joints = bend_fingers(joints, CROP_PX, rng)
        source = (source @ matrix[:, :2].T + matrix[:, 2]).astype(np.float32)

    def take(picture):
        if source is None:
            return cut(picture, matrix, CROP_PX)
        return cv2.remap(picture, source, None, cv2.INTER_LINEAR, borderMode=cv2.BORDER_REPLICATE)

    view = take(hand.picture)
    if hand.mask is not None and rng.uniform() < 0.8:
        if rng.uniform() < 0.8:
            view = cv2.LUT(view, light_table(rng, 0.8))
        back = random_view(MIDDLE, SIDE, CROP_PX, rng, rng.uniform() < 0.5)
        back = cut(others[rng.integers(len(others))], back, CROP_PX)
        back = finish(back, rng, window=0.2)
        if rng.uniform() < 0.12:
            _lay_hand(back, cuttable, rng)
        view = blend(view, back, take(hand.mask))
    sure = hand.sure * ((joints > -2) & (joints < CROP_PX + 1)).all(1)
    u = rng.uniform()
    if u < 0.2:
        sure = _cover(view, joints, sure, others, rng)
    elif u < 0.32:
        sure = _less_sure(joints, sure, _lay_hand(view, cuttable, rng))
    return finish(view, rng), joints, sure, 1 - hand.right if flip else hand.right


def random_batch(hands, others, cuttable, weights, size, rng):
    """cuttable: those of the hands that have a mask.
    → views (size, n, n, 3), joints in 0…1 of the crop, what they count, (presence, right)"""
    views = np.empty((size, CROP_PX, CROP_PX, 3), np.uint8)
    joints = np.zeros((size, 21, 2), np.float32)
    sure = np.zeros((size, 21), np.float32)
    classes = np.tile(np.array([0, 0.5], np.float32), (size, 1))
    chosen = rng.choice(len(hands), size, p=weights)
    for i in range(size):
        if i >= size * (1 - NEGATIVE_PART):
            flip = rng.uniform() < 0.5
            matrix = random_view(MIDDLE, SIDE, CROP_PX, rng, flip)
            other = cut(others[rng.integers(len(others))], matrix, CROP_PX)
            views[i] = finish(other, rng, window=0.25)
            continue
        views[i], points, sure[i], right = random_hand(hands[chosen[i]], others, cuttable, rng)
        joints[i] = (points + 0.5) / CROP_PX
        classes[i] = 1, right
    return views, joints, sure, classes
