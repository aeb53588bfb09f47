#!/usr/bin/python3
"""Writes a trained network as .onnx: `export.py landmarks|detector WEIGHTS FOLDER`.

The file and FOLDER/hand_model.json agree afterwards. The landmark network's weights are stored in 8
bits; the detector's are not: its scores lie about its threshold for many pictures on end, and on one
clip rounded weights lost it a tenth of the hands. OpenCV reads each file; its outputs have to be
those of the training library. Prints size, checksum and the largest differences.
"""

import argparse
import hashlib
import json
from pathlib import Path

import cv2
import numpy as np
import onnx
import torch
import torch.nn as nn

from detector_net import DetectorNet
from eight_bits import store_in_8_bits
from geometry import CROP_PX, DETECTOR_HEIGHT, DETECTOR_WIDTH
from landmark_net import LandmarkNet

NETWORKS = {
    "landmarks": (LandmarkNet, CROP_PX, CROP_PX, ["heatmaps", "cls"]),
    "detector": (DetectorNet, DETECTOR_WIDTH, DETECTOR_HEIGHT, ["grid"]),
}
IN_8_BITS = {"landmarks"}
LARGEST_DIFFERENCE = 2e-3
LARGEST_ROUNDING = 0.2  # of logits


def difference(file, picture, outputs, want, largest):
    """Between what OpenCV makes of the file and what it should."""
    read = cv2.dnn.readNetFromONNX(str(file))
    read.setInput(picture.numpy())
    found = max(float(np.abs(g - w).max()) for g, w in zip(read.forward(outputs), want))
    if found > largest:
        raise SystemExit(f"{file}: OpenCV's outputs differ by {found}")
    return found


def export(kind, weights, folder):
    make_net, width, height, outputs = NETWORKS[kind]
    net = make_net().eval()
    net.load_state_dict(torch.load(weights, map_location="cpu"))
    with torch.no_grad():
        # Equal biases would be merged into Identity nodes, which OpenCV 4.6 does not read.
        for k, layer in enumerate(net.modules()):
            if isinstance(layer, nn.BatchNorm2d):
                layer.bias.add_(1e-6 * (k + 1))
    file = folder / f"hand_{kind}.onnx"
    picture = torch.rand(1, 3, height, width) * 2 - 1
    names = {"input_names": ["input"], "output_names": outputs}
    torch.onnx.export(net, picture, str(file), opset_version=11, **names)

    with torch.no_grad():
        want = net(picture)
    want = [w.numpy() for w in (want if isinstance(want, tuple) else (want,))]
    found = difference(file, picture, outputs, want, LARGEST_DIFFERENCE)
    print(f"{file.name}: largest difference {found:.1e}")
    if kind in IN_8_BITS:
        model = onnx.load(str(file))
        store_in_8_bits(model)
        onnx.save(model, str(file))
        found = difference(file, picture, outputs, want, LARGEST_ROUNDING)
        print(f"in 8 bits {found:.1e}")

    description = folder / "hand_model.json"
    model = json.loads(description.read_text(encoding="utf-8"))
    if (model[kind]["input"]["width"], model[kind]["input"]["height"]) != (width, height):
        model[kind]["input"] |= {"width": width, "height": height}
        description.write_text(json.dumps(model, indent=2) + "\n", encoding="utf-8")
    data = file.read_bytes()
    parameters = sum(p.numel() for p in net.parameters())
    print(f"{len(data)} bytes, {parameters} parameters")
    print(f"sha256 {hashlib.sha256(data).hexdigest()}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("network", choices=NETWORKS)
    parser.add_argument("weights", type=Path)
    parser.add_argument("folder", type=Path, help="a hand model: hand_model.json lies in it")
    args = parser.parse_args()
    export(args.network, args.weights, args.folder)


if __name__ == "__main__":
    main()
