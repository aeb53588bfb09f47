"""The detector: a picture → hands and faces on a grid.

Input 1 × 3 × 192 × 320, RGB, x / 127.5 − 1. Output `grid` 1 × 11 × 24 × 40, stride 8 pixels:
 0 hand's centre (logit)   1, 2 where in the cell   3 log(crop side / 64)   4, 5 wrist → fingers
 6 face's centre (logit)   7, 8 where in the cell   9, 10 log(width / 48), log(height / 48)
A hand's crop is geometry.crop_of its joints. Objects as points after Zhou et al. 2019.
"""

import torch.nn as nn
import torch.nn.functional as F

from landmark_net import Residual, conv, twice


class DetectorNet(nn.Module):
    def __init__(self):
        super().__init__()
        self.s0 = conv(3, 16, 3, 2)
        self.s1 = nn.Sequential(conv(16, 24, 3, 2), conv(24, 24, 3))
        self.s2 = nn.Sequential(conv(24, 40, 3, 2), Residual(40), Residual(40))
        self.s3 = nn.Sequential(conv(40, 72, 3, 2), Residual(72), Residual(72))
        self.s4 = nn.Sequential(conv(72, 104, 3, 2), Residual(104), Residual(104))
        self.l4, self.l3, self.l2 = (conv(c, 40, relu=False) for c in (104, 72, 40))
        self.d3, self.d2 = conv(40, 40, 3), conv(40, 40, 3)
        self.out = nn.Conv2d(40, 11, 1)
        nn.init.constant_(self.out.bias, 0)
        self.out.bias.data[[0, 6]] = -4.0  # most cells are empty

    def forward(self, x):
        b = self.s2(self.s1(self.s0(x)))
        c = self.s3(b)
        d = self.s4(c)
        y = self.d3(F.relu(twice(self.l4(d)) + self.l3(c)))
        return self.out(self.d2(F.relu(twice(y) + self.l2(b))))
