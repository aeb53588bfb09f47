#!/usr/bin/python3
"""Trains the landmark network; goes on where it was stopped.

`train_landmarks.py --photos PHOTOS --rendered RENDERED --out FOLDER [--start WEIGHTS]`
writes FOLDER/weights.pth (averaged), checkpoint.pth and log.jsonl.
"""

import argparse
import math

import numpy as np
import torch
import torch.nn.functional as F

from crops import MIDDLE, SIDE, cut_photos, random_batch, sampling_weights
from augment import random_view
from geometry import CROP_PX, MAP_CELLS, box_side, cut, decode_maps, to_crop
from landmark_net import LandmarkNet, expectation
from photos import read_photos, read_rendered
from trainer import Trainer, add_options, prepare_libraries, start_loaders, to_tensor

BATCH = 48
VALIDATE_EVERY = 1500
# The tips are the product: thumb and index first.
JOINT_WEIGHT = torch.ones(21)
JOINT_WEIGHT[[12, 16, 20]] = 1.5
JOINT_WEIGHT[[3, 7]] = 1.4
JOINT_WEIGHT[[4, 8]] = 2.5


def target_maps(joints, sure):
    """A blob of one cell for a certain joint, up to four for a hidden one: the map of a joint that
    cannot be seen has to be wide, since a joint's confidence is the mass around the map's peak."""
    sigma = (1 + 3 * (1 - sure / 0.6).clamp(0, 1))[..., None]
    cells = torch.arange(MAP_CELLS, device=joints.device) + 0.5
    x = torch.exp(-(((cells - joints[..., :1] * MAP_CELLS) / sigma) ** 2) / 2)
    y = torch.exp(-(((cells - joints[..., 1:] * MAP_CELLS) / sigma) ** 2) / 2)
    maps = y[..., :, None] * x[..., None, :]
    return maps / maps.sum((2, 3), keepdim=True).clamp_min(1e-6)


def tip_losses(found, joints, sure):
    """The vector from thumb tip to index tip, and its length over the palm's: the pinch ratio."""
    gap, true_gap = found[:, 4] - found[:, 8], joints[:, 4] - joints[:, 8]
    palm = (joints[:, 0] - joints[:, 9]).norm(dim=1).clamp_min(0.08)
    ratio = (gap.pow(2).sum(1) + 1e-5).sqrt() / palm
    true_ratio = (true_gap.pow(2).sum(1) + 1e-5).sqrt() / palm
    weight = sure[:, 4] * sure[:, 8] * (1 + 2 * torch.exp(-((true_ratio / 0.45) ** 2)))
    total = weight.sum().clamp_min(1)
    vector = (weight * (gap - true_gap).abs().sum(1)).sum() / total
    return vector, (weight * (ratio - true_ratio).abs()).sum() / total


def losses(maps, classes, joints, sure, truth):
    found, p = expectation(maps)
    seen = ((joints > 0) & (joints < 1)).all(-1) & (sure > 0)
    joint_weight = JOINT_WEIGHT.to(sure.device)
    shape_weight = joint_weight * seen * sure.clamp_min(0.3)
    cross = -(target_maps(joints, sure) * torch.log(p.clamp_min(1e-8))).sum((2, 3))
    shape = (shape_weight * cross).sum() / shape_weight.sum().clamp_min(1)
    weight = sure * joint_weight
    place = (weight * (found - joints).abs().sum(-1)).sum() / weight.sum().clamp_min(1)
    vector, ratio = tip_losses(found, joints, sure)
    is_hand = truth[:, 0]
    # Where no hand is, no joint is sure: false hands are lost by that.
    nowhere = -torch.log(p.clamp_min(1e-8)).mean((1, 2, 3)) - math.log(MAP_CELLS**2)
    nowhere = (nowhere * (1 - is_hand)).sum() / (1 - is_hand).sum().clamp_min(1)
    presence = F.binary_cross_entropy_with_logits(classes[:, 0], is_hand)
    side = F.binary_cross_entropy_with_logits(
        classes[:, 1], truth[:, 1].clamp(0.02, 0.98), reduction="none"
    )
    side = (side * is_hand).sum() / is_hand.sum().clamp_min(1)
    loss = 0.25 * shape + 7 * place + 3 * vector + 0.4 * ratio
    loss = loss + 1.2 * presence + 0.6 * side + 0.1 * nowhere
    parts = {"shape": shape, "place": place, "ratio": ratio, "presence": presence, "side": side}
    parts["nowhere"] = nowhere
    return loss, parts


@torch.no_grad()
def validate(net, hands, others):
    """A quick look at the held-out photos while it trains; evaluate.py measures for the record."""
    rng = np.random.default_rng(7)
    views, true = [], []
    for picture, joints in [(h.picture, h.joints) for h in hands] + [(o, None) for o in others]:
        matrix = random_view(MIDDLE, SIDE, CROP_PX, rng, False, calm=True)
        views.append(cut(picture, matrix, CROP_PX))
        if joints is not None:
            true.append(to_crop(matrix, joints))
    parts = [net(to_tensor(np.stack(views[i : i + BATCH]))) for i in range(0, len(views), BATCH)]
    maps, classes = (torch.cat(part).numpy() for part in zip(*parts))
    errors = []
    for logits, joints in zip(maps, true):
        found = decode_maps(logits)[0] * CROP_PX - 0.5
        errors.append(np.linalg.norm(found - joints, axis=1) / box_side(joints))
    errors = np.array(errors)
    right = np.array([h.right > 0.5 for h in hands])
    return {
        "pck10": (errors < 0.1).mean(),
        "pck20": (errors < 0.2).mean(),
        "tips": errors[:, [4, 8]].mean(),
        "handedness": ((classes[: len(hands), 1] > 0) == right).mean(),
        "false_hands": (classes[len(hands) :, 0] > 0).mean(),
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    add_options(parser)
    args = parser.parse_args()
    prepare_libraries(args)

    rng = np.random.default_rng(args.seed)
    photos = read_photos(args.photos, "train", args.prepared) + read_rendered(args.rendered, "train")
    hands, others = cut_photos(photos, "train", rng)
    weights, cuttable = sampling_weights(hands), [h for h in hands if h.mask is not None]
    held, held_others = cut_photos(read_photos(args.photos, "test", args.prepared), "test", rng)
    held, held_others = held[::3], held_others[::8]
    trainer = Trainer(LandmarkNet(), args.out, args.minutes, args.rate, args.start)
    trainer.log(hands=len(hands), others=len(others), held=len(held), held_others=len(held_others))

    batches = start_loaders(
        lambda rng: random_batch(hands, others, cuttable, weights, BATCH, rng),
        [args.seed, trainer.steps],
        args.loaders,
    )
    while trainer.running:
        views, *truth = batches.get()
        maps, classes = trainer.look(views)
        loss, parts = losses(maps.float(), classes.float(), *trainer.tensors(truth))
        trainer.step(loss, parts)
        if trainer.steps % VALIDATE_EVERY == 0 or not trainer.running:
            trainer.log(**validate(trainer.averaged(LandmarkNet), held, held_others))


if __name__ == "__main__":
    main()
