#!/usr/bin/python3
"""Draws how trainings went: `plot_training.py LOG.jsonl... --out FOLDER` writes NAME_curve.svg."""

import argparse
import json
from pathlib import Path

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams["svg.fonttype"] = "none"  # small files
from matplotlib import pyplot

SHOWN = {
    "loss": "loss",
    "pck10": "joints within 0.1 (held out)",
    "tips": "error of the two tips (held out)",
    "recall": "hands found (held out)",
    "precision": "of what is found, hands (held out)",
}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split(":")[0])
    parser.add_argument("logs", nargs="+", type=Path)
    parser.add_argument("--out", type=Path, required=True)
    args = parser.parse_args()
    args.out.mkdir(parents=True, exist_ok=True)
    for log in args.logs:
        rows = [json.loads(line) for line in log.read_text(encoding="utf-8").splitlines()]
        keys = [k for k in SHOWN if any(k in r for r in rows)]
        figure, axes = pyplot.subplots(1, len(keys), figsize=(3.4 * len(keys), 2.8), squeeze=False)
        for key, axis in zip(keys, axes[0]):
            points = [(r["step"], r[key]) for r in rows if key in r]
            axis.plot(*zip(*points), marker="." if len(points) < 30 else "")
            axis.set(xlabel="step", title=SHOWN[key])
        figure.tight_layout()
        figure.savefig(args.out / f"{log.parent.name}_curve.svg")


if __name__ == "__main__":
    main()
