"""The landmark network: an upright square crop → a map a joint, presence and handedness.

Input 1 × 3 × 128 × 128, RGB, x / 127.5 − 1. Outputs `heatmaps` 1 × 21 × 32 × 32 logits and `cls`
1 × 2 logits: presence, anatomical right hand. Only layers that OpenCV dnn 4.6 imports; dense 3 × 3
convolutions are faster there than depthwise ones. A feature pyramid after Lin et al. 2017.
"""

import torch
import torch.nn as nn
import torch.nn.functional as F


def conv(inputs, outputs, kernel=1, stride=1, relu=True):
    layers = [
        nn.Conv2d(inputs, outputs, kernel, stride, kernel // 2, bias=False),
        nn.BatchNorm2d(outputs),
    ]
    return nn.Sequential(*layers, nn.ReLU(inplace=True)) if relu else nn.Sequential(*layers)


class Residual(nn.Module):
    def __init__(self, channels):
        super().__init__()
        self.f = nn.Sequential(conv(channels, channels, 3), conv(channels, channels, 3, relu=False))
        # It begins as the identity (Goyal et al. 2017), so that a trained network may be deepened.
        nn.init.zeros_(self.f[1][1].weight)

    def forward(self, x):
        return F.relu(x + self.f(x))


def twice(x):
    return F.interpolate(x, scale_factor=2.0, mode="nearest")


class LandmarkNet(nn.Module):
    def __init__(self):
        super().__init__()
        self.stem = conv(3, 16, 3, 2)
        self.s1 = nn.Sequential(conv(16, 32, 3, 2))
        self.s2 = nn.Sequential(conv(32, 64, 3, 2), Residual(64))
        self.s3 = nn.Sequential(conv(64, 96, 3, 2), *(Residual(96) for _ in range(4)))
        self.s4 = nn.Sequential(conv(96, 128, 3, 2), *(Residual(128) for _ in range(4)))
        self.l4, self.l3, self.l2 = (conv(c, 48, relu=False) for c in (128, 96, 64))
        self.l1, self.r1 = conv(32, 32, relu=False), conv(48, 32, relu=False)
        self.d3, self.d2, self.d1 = conv(48, 48, 3), conv(48, 48, 3), conv(32, 32, 3)
        self.out = nn.Conv2d(32, 21, 1)
        self.head = nn.Sequential(nn.Linear(128, 64), nn.ReLU(), nn.Linear(64, 2))

    def forward(self, x):
        a = self.s1(self.stem(x))
        b = self.s2(a)
        c = self.s3(b)
        d = self.s4(c)
        y = self.d3(F.relu(twice(self.l4(d)) + self.l3(c)))
        y = self.d2(F.relu(twice(y) + self.l2(b)))
        y = self.d1(F.relu(twice(self.r1(y)) + self.l1(a)))
        return self.out(y), self.head(d.mean((2, 3)))


def expectation(logits):
    """Maps → positions in 0…1 of the crop, and the maps as probabilities."""
    n, joints, height, width = logits.shape
    p = F.softmax(logits.reshape(n, joints, -1), -1).reshape(n, joints, height, width)
    x = (torch.arange(width, dtype=logits.dtype, device=logits.device) + 0.5) / width
    y = (torch.arange(height, dtype=logits.dtype, device=logits.device) + 0.5) / height
    return torch.stack([(p.sum(2) * x).sum(-1), (p.sum(3) * y).sum(-1)], -1), p
