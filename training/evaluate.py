#!/usr/bin/python3
"""Measures hand models side by side on the same held-out pictures.

`evaluate.py --photos PHOTOS --rendered RENDERED --out FOLDER MODEL...` prints a table for every
MODEL folder and writes FOLDER/reliability.svg and, for each model, NAME.json and a sheet of its worst
hands. A model that has a NAME.json is not measured again. Distances are parts of the hand's box. The
photos' labels are the public networks' answers, so there "right" means agreement with them; the
rendered hands have exact truth.
"""

import argparse
import json
import math
import time
from pathlib import Path

import cv2
import numpy as np

from crops import LARGEST_DISAGREEMENT, cut_photos, STORED_PX, SIDE
from geometry import BONES, box_side, crop_of, pinch_ratio
from measure_detector import measure_photos
from networks import networks_of
from photos import read_photos, read_rendered

PINCHED = 0.30
LOOKS = 10  # of a still hand, for the jitter
TIPS = [4, 8]


def disturbed(crop, rng):
    """A crop as the tracker would have it a frame later: not quite in place."""
    x, y, side, angle = crop
    dx, dy = rng.uniform(-0.08, 0.08, 2) * side
    return x + dx, y + dy, side * rng.uniform(0.87, 1.15), angle + math.radians(rng.uniform(-15, 15))


def look_at_hands(landmarks, photos):
    """→ one row a hand: source, errors of the joints, confidences, handedness, ratios, …"""
    rng = np.random.default_rng(7)
    rows = []
    for photo in photos:
        picture = cv2.imread(str(photo.path))
        for hand in photo.hands:
            size = box_side(hand.joints)
            if size < 18 or hand.agree > LARGEST_DISAGREEMENT["test"]:
                continue
            crop = disturbed(crop_of(hand.joints), rng)
            joints, sure, presence, right = landmarks(picture, crop)
            rows.append({
                "source": photo.source,
                "errors": np.linalg.norm(joints - hand.joints, axis=1) / size,
                "sure": sure,
                "chirality": (right > 0.5) == (hand.right > 0.5),
                "presence": presence,
                "ratio": pinch_ratio(joints),
                "true_ratio": pinch_ratio(hand.joints),
                "picture": picture, "joints": joints, "true": hand.joints, "name": photo.path.name,
            })
    return rows


def summary(rows):
    errors = np.stack([r["errors"] for r in rows])
    found = np.array([r["ratio"] for r in rows]) < PINCHED
    true = np.array([r["true_ratio"] for r in rows]) < PINCHED
    return {
        "hands": len(rows),
        "pck05": (errors < 0.05).mean(),
        "pck10": (errors < 0.1).mean(),
        "pck20": (errors < 0.2).mean(),
        "thumb_index_tip_error": errors[:, TIPS].mean(),
        "thumb_index_tip_median": np.median(errors[:, TIPS]),
        "chirality": np.mean([r["chirality"] for r in rows]),
        "presence_recall": np.mean([r["presence"] > 0.5 for r in rows]),
        "pinched_agree": (found == true).mean(),
        "pinched_recall": (found & true).sum() / max(1, true.sum()),
        "pinched_precision": (found & true).sum() / max(1, found.sum()),
        "pinch_ratio_error": np.mean([abs(r["ratio"] - r["true_ratio"]) for r in rows]),
    }


def reliability(rows, bins=10):
    """→ for each tenth of the confidence: joints, how many lie within 0.1, mean confidence"""
    sure = np.concatenate([r["sure"] for r in rows]).clip(0, 0.9999)
    good = np.concatenate([r["errors"] for r in rows]) < 0.1
    bin_of = (sure * bins).astype(int)
    return [
        (int((bin_of == b).sum()), float(good[bin_of == b].mean()), float(sure[bin_of == b].mean()))
        for b in range(bins)
        if (bin_of == b).any()
    ]


def jitter(landmarks, photos):
    """How much a still hand moves when only the camera's noise changes: the median over hands of the
    joints' standard deviation, in hand sizes."""
    rng = np.random.default_rng(3)
    spreads = []
    for photo in photos[::6]:
        picture = cv2.imread(str(photo.path)).astype(np.float32)
        for hand in photo.hands:
            if box_side(hand.joints) < 60:
                continue
            crop = crop_of(hand.joints)
            looks = []
            for _ in range(LOOKS):
                noisy = np.clip(picture + rng.normal(0, 4, picture.shape), 0, 255).astype(np.uint8)
                looks.append(landmarks(noisy, crop)[0])
            spread = np.sqrt(np.var(looks, axis=0).sum(1)).mean()
            spreads.append(spread / box_side(hand.joints))
    return float(np.median(spreads))


def false_presence(landmarks, others):
    """Crops without a hand that are taken for one: at presence 0.5, and with sure joints too."""
    middle = (STORED_PX / 2, STORED_PX / 2, SIDE, 0.0)
    seen = [landmarks(other, middle) for other in others]
    present = np.array([s[2] for s in seen])
    sure = np.array([s[1].mean() for s in seen])
    return {
        "crops": len(others),
        "present": (present > 0.5).mean(),
        "present_and_sure": ((present > 0.6) & (sure > 0.5)).mean(),
    }


def processor_ms(functions, picture, repeats=40):
    """Median processor time a call of each, taken in turns so that load hits all alike."""
    times = {name: [] for name in functions}
    for _ in range(repeats):
        for name, function in functions.items():
            begin = time.process_time()
            function(picture)
            times[name].append(1e3 * (time.process_time() - begin))
    return {name: float(np.median(t)) for name, t in times.items()}


def worst_sheet(rows, file, columns=10, lines=5, side=150):
    """The hands with the largest errors of the two tips: truth green, found red."""
    rows = sorted(rows, key=lambda r: -r["errors"][TIPS].mean())[: columns * lines]
    tiles = []
    for r in rows:
        x, y, crop_side, _ = crop_of(r["true"])
        scale = side / (1.3 * crop_side)
        m = np.float32([[scale, 0, side / 2 - x * scale], [0, scale, side / 2 - y * scale]])
        tile = cv2.warpAffine(r["picture"], m, (side, side))
        for joints, colour in ((r["true"], (0, 200, 0)), (r["joints"], (0, 0, 255))):
            p = joints @ m[:, :2].T + m[:, 2]
            for a, b in BONES:
                ends = [tuple(np.round(p[j]).astype(int).tolist()) for j in (a, b)]
                cv2.line(tile, *ends, colour, 1, cv2.LINE_AA)
        cv2.putText(tile, r["name"][:18], (2, 10), 0, 0.3, (255, 255, 255), 1, cv2.LINE_AA)
        tiles.append(tile)
    tiles += [np.zeros((side, side, 3), np.uint8)] * (-len(tiles) % columns)
    lines = [np.hstack(tiles[i : i + columns]) for i in range(0, len(tiles), columns)]
    cv2.imwrite(str(file), np.vstack(lines))


def measure(name, folder, photos, rendered, others, out):
    landmarks, detector = networks_of(folder)
    rows = look_at_hands(landmarks, photos)
    drawn = look_at_hands(landmarks, rendered)
    result = {"photos": summary(rows), "rendered": summary(drawn)}
    for source in sorted({r["source"] for r in rows}):
        result[f"photos, {source}"] = summary([r for r in rows if r["source"] == source])
    result["jitter"] = {"noise": jitter(landmarks, photos)}
    result["no hand"] = false_presence(landmarks, others)
    result["detector"] = measure_photos(detector, photos)
    worst_sheet(rows, out / f"worst_{name}.png")
    worst_sheet(drawn, out / f"worst_rendered_{name}.png")
    result["reliability"] = {"bins": reliability(rows + drawn)}
    return result


def print_table(results):
    names = list(results)
    for group, values in next(iter(results.values())).items():
        print(f"\n{group:32}" + "".join(f"{n:>14}" for n in names))
        for key in values if group != "reliability" else ():
            cells = [results[n][group].get(key) for n in names]
            if isinstance(cells[0], dict):
                for source in cells[0]:
                    found = "".join(f"{str(c[source]):>14}" for c in cells)
                    print(f"  {source:30}{found}  (found, false, missed)")
            else:
                print(f"  {key:30}" + "".join(f"{c:14.4f}" for c in cells))


def plot_reliability(curves, file):
    import matplotlib

    matplotlib.use("svg")
    matplotlib.rcParams["svg.fonttype"] = "none"  # a small file
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(4.5, 4))
    axes.plot([0, 1], [0, 1], color="0.8")
    for name, curve in curves.items():
        axes.plot([c[2] for c in curve], [c[1] for c in curve], marker="o", label=name)
    axes.set(xlabel="confidence of a joint", ylabel="share within 0.1 of the hand's box")
    axes.legend()
    figure.tight_layout()
    figure.savefig(file)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--photos", required=True)
    parser.add_argument("--rendered", required=True)
    parser.add_argument("--prepared", help="the file of prepare.py")
    parser.add_argument("--out", type=Path, required=True)
    parser.add_argument("models", nargs="+", type=Path)
    args = parser.parse_args()
    cv2.setNumThreads(1)
    args.out.mkdir(parents=True, exist_ok=True)
    photos, rendered = read_photos(args.photos, "test", args.prepared), read_rendered(args.rendered, "test")
    _, others = cut_photos(photos, "test", np.random.default_rng(5))

    results, calls = {}, {}
    for folder in args.models:
        name = folder.name
        kept = args.out / f"{name}.json"
        if not kept.exists():
            result = measure(name, folder, photos, rendered, others, args.out)
            kept.write_text(json.dumps(result, default=float), encoding="utf-8")
        results[name] = json.loads(kept.read_text(encoding="utf-8"))
        landmarks, detector = networks_of(folder)
        calls[f"{name} landmarks"] = lambda p, f=landmarks: f(p, (320, 180, 200, 0))
        calls[f"{name} detector"] = lambda p, f=detector: f(p, 0.4)
    picture = np.random.default_rng(0).integers(0, 256, (360, 640, 3), np.uint8)
    times = processor_ms(calls, picture)
    for folder in args.models:
        name = folder.name
        own = {k.split()[-1]: v for k, v in times.items() if k.startswith(f"{name} ")}
        size = sum(f.stat().st_size for f in folder.glob("*.onnx"))
        results[name]["processor ms a look, MB"] = {**own, "MB": size / 1e6}
    print_table(results)
    curves = {name: result["reliability"]["bins"] for name, result in results.items()}
    plot_reliability(curves, args.out / "reliability.svg")


if __name__ == "__main__":
    main()
