"""What both trainings share: the loop's clock, averaged weights, checkpoints, the log."""

import json
import math
import multiprocessing
import os
import signal
import sys
import time
from pathlib import Path

import cv2
import numpy as np
import torch

SAVE_EVERY_S = 120
LOG_EVERY = 50


def to_tensor(pictures):
    """uint8 N × H × W × 3 BGR → float N × 3 × H × W RGB in −1…1"""
    rgb = torch.from_numpy(np.ascontiguousarray(pictures[..., ::-1]))
    return rgb.permute(0, 3, 1, 2).float() / 127.5 - 1


def add_options(parser):
    """The options that both trainings take."""
    parser.add_argument("--photos", required=True)
    parser.add_argument("--rendered", required=True)
    parser.add_argument("--prepared", help="the file of prepare.py")
    parser.add_argument("--out", required=True)
    parser.add_argument("--start", help="weights to start from")
    parser.add_argument("--minutes", type=float, default=80)
    parser.add_argument("--rate", type=float, default=1e-3)
    parser.add_argument("--threads", type=int, default=1, help="of the training library")
    parser.add_argument("--loaders", type=int, default=1, help="processes that make pictures")
    parser.add_argument("--seed", type=int, default=0)


def prepare_libraries(args):
    cv2.setNumThreads(1)
    torch.set_num_threads(args.threads)
    torch.manual_seed(args.seed)


def start_loaders(make_batch, seed, count):
    """Processes that call make_batch(rng) for ever. → the queue of what they made"""
    batches = multiprocessing.Queue(4 * count)

    def work(number):
        cv2.setNumThreads(1)
        rng = np.random.default_rng([*seed, number])
        while True:
            batches.put(make_batch(rng))

    for number in range(count):
        multiprocessing.Process(target=work, args=(number,), daemon=True).start()
    # An end in order takes the loaders along.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    return batches


class Trainer:
    """AdamW on a cosine over `minutes`, on the graphics card when there is one; continues from
    FOLDER/checkpoint.pth when that exists."""

    def __init__(self, net, folder, minutes, rate, start=None):
        self.net = net
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.total_s, self.rate = minutes * 60, rate
        self.steps, self.spent_s = 0, 0.0
        if start:
            load_known(net, torch.load(start, map_location="cpu"))
        self.device = "cuda" if torch.cuda.is_available() else "cpu"
        net.to(self.device, memory_format=torch.channels_last).train()
        self.optimizer = torch.optim.AdamW(net.parameters(), rate, weight_decay=0.02)
        self.average = {k: v.clone() for k, v in net.state_dict().items()}
        if self._file.exists():
            saved = torch.load(self._file, map_location=self.device)
            net.load_state_dict(saved["net"])
            self.optimizer.load_state_dict(saved["optimizer"])
            self.average = saved["average"]
            self.steps, self.spent_s = saved["steps"], saved["spent_s"]
        self._last = self._saved = time.monotonic()

    @property
    def _file(self):
        return self.folder / "checkpoint.pth"

    @property
    def running(self):
        return self.spent_s < self.total_s

    def look(self, pictures):
        """What the network says of uint8 pictures, computed in bfloat16."""
        x = to_tensor(pictures).to(self.device).contiguous(memory_format=torch.channels_last)
        with torch.autocast(self.device, torch.bfloat16):
            return self.net(x)

    def tensors(self, arrays):
        return [torch.from_numpy(array).to(self.device) for array in arrays]

    def step(self, loss, parts):
        progress = min(1, self.spent_s / self.total_s)
        warm = min(1, (self.steps + 1) / 100)
        for group in self.optimizer.param_groups:
            group["lr"] = self.rate * warm * (0.5 + 0.5 * math.cos(math.pi * progress)) + 2e-6
        self.optimizer.zero_grad()
        loss.backward()
        torch.nn.utils.clip_grad_norm_(self.net.parameters(), 5.0)
        self.optimizer.step()
        self.steps += 1
        self._update_average()
        now = time.monotonic()
        self.spent_s += now - self._last
        self._last = now
        if self.steps % LOG_EVERY == 0:
            self.log(loss=loss.item(), **{k: float(v) for k, v in parts.items()})
        if now - self._saved > SAVE_EVERY_S or not self.running:
            self.save()
            self._saved = now

    def _update_average(self):
        keep = min(0.995, (1 + self.steps) / (10 + self.steps))
        for k, v in self.net.state_dict().items():
            if v.dtype.is_floating_point:
                self.average[k].mul_(keep).add_(v, alpha=1 - keep)
            else:
                self.average[k].copy_(v)

    def log(self, **values):
        values = {"step": self.steps, "seconds": round(self.spent_s), **values}
        line = json.dumps({k: round(v, 5) for k, v in values.items()})
        print(line, flush=True)
        with open(self.folder / "log.jsonl", "a", encoding="utf-8") as log:
            log.write(line + "\n")

    def save(self):
        """Written beside the old one first: a kill at any moment leaves a whole file."""
        state = {
            "net": self.net.state_dict(),
            "optimizer": self.optimizer.state_dict(),
            "average": self.average,
            "steps": self.steps,
            "spent_s": self.spent_s,
        }
        for value, file in ((state, self._file), (self.average, self.folder / "weights.pth")):
            part = file.with_suffix(".part")
            torch.save(value, part)
            os.replace(part, file)

    def averaged(self, make_net):
        net = make_net()
        net.load_state_dict({k: v.cpu() for k, v in self.average.items()})
        return net.eval()


def load_known(net, weights):
    """Takes what has the same name and shape: a network may start from a larger one's weights."""
    own = net.state_dict()
    known = {k: v for k, v in weights.items() if k in own and own[k].shape == v.shape}
    net.load_state_dict({**own, **known})
    return sorted(set(own) - set(known))
