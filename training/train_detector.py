#!/usr/bin/python3
"""Trains the hand and face detector; goes on where it was stopped.

`train_detector.py --photos PHOTOS --rendered RENDERED --out FOLDER [--start WEIGHTS]`
writes FOLDER/weights.pth (averaged), checkpoint.pth and log.jsonl.
"""

import argparse

import numpy as np
import torch

from detector_net import DetectorNet
from geometry import DETECTOR_HEIGHT, DETECTOR_WIDTH
from measure_detector import measure_photos, torch_detector
from photos import read_photos, read_rendered
from scenes import SceneMaker, encode, read_scenes, scene_weights
from trainer import Trainer, add_options, prepare_libraries, start_loaders

BATCH = 32
VALIDATE_EVERY = 1000


def make_batch(maker, rng):
    pictures = np.empty((BATCH, DETECTOR_HEIGHT, DETECTOR_WIDTH, 3), np.uint8)
    encoded = []
    for i in range(BATCH):
        pictures[i], labels = maker.make(rng)
        encoded.append(encode(labels))
    return pictures, *(np.stack(part) for part in zip(*encoded))


def losses(grid, target, numbers, scores):
    """Focal loss on the centres (Zhou et al. 2019), absolute error on the numbers around them."""
    total, parts = 0, {}
    for name, kind, values, weight in (("hand", 0, 5, 1.0), ("face", 1, 4, 0.5)):
        channel = 6 * kind
        p = torch.sigmoid(grid[:, channel]).clamp(1e-5, 1 - 1e-5)
        t = target[:, channel]
        centre = (t == 1).float()
        hit = centre * (1 - p) ** 2 * torch.log(p)
        miss = (1 - centre) * (1 - t) ** 4 * p**2 * torch.log(1 - p)
        score = -((hit + miss) * scores[:, kind]).sum() / centre.sum().clamp_min(1)
        own = slice(channel + 1, channel + 1 + values)
        error = (grid[:, own] - target[:, own]).abs() * numbers[:, kind : kind + 1]
        number = error.sum() / numbers[:, kind].sum().clamp_min(1)
        total = total + weight * (score + number)
        parts |= {f"{name}_score": score, f"{name}_numbers": number}
    return total, parts


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    add_options(parser)
    args = parser.parse_args()
    prepare_libraries(args)

    photos = read_photos(args.photos, "train", args.prepared) + read_rendered(args.rendered, "train")
    scenes, cuttable = read_scenes(photos)
    sources = [p.source for p in photos if p.hands and not p.plain]
    maker = SceneMaker(scenes, scene_weights(scenes, sources), cuttable)
    held = read_photos(args.photos, "test", args.prepared)[::4]
    trainer = Trainer(DetectorNet(), args.out, args.minutes, args.rate, args.start)
    trainer.log(scenes=len(scenes), cuttable=len(cuttable), held=len(held))

    batches = start_loaders(
        lambda rng: make_batch(maker, rng), [args.seed, trainer.steps], args.loaders
    )
    while trainer.running:
        pictures, *truth = batches.get()
        grid = trainer.look(pictures)
        loss, parts = losses(grid.float(), *trainer.tensors(truth))
        trainer.step(loss, parts)
        if trainer.steps % VALIDATE_EVERY == 0 or not trainer.running:
            measured = measure_photos(torch_detector(trainer.averaged(DetectorNet)), held)
            trainer.log(**{k: v for k, v in measured.items() if isinstance(v, float)})


if __name__ == "__main__":
    main()
