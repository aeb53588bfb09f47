#!/usr/bin/python3
"""Draws demo/deck.pdf, the slides of the demo: six 16:9 pages about light and hands.

Everything on them is computed or drawn here, so the same script always writes the same bytes.
Type stays above 24 units of a 960 unit page: legible when the slide covers a third of the picture.

    /usr/bin/python3 demo/make_deck.py [deck.pdf]
"""

import math
import random
import sys
from pathlib import Path

import cairo

WIDTH, HEIGHT = 960, 540

NIGHT = (0.043, 0.075, 0.145)
DUSK = (0.118, 0.165, 0.290)
PAPER = (0.972, 0.957, 0.925)
INK = (0.106, 0.129, 0.200)
MUTED = (0.420, 0.443, 0.520)
AMBER = (1.000, 0.694, 0.290)
EMBER = (0.867, 0.298, 0.216)
TEAL = (0.137, 0.569, 0.545)
MOON = (0.945, 0.941, 0.910)


def vertical_wash(c, top, bottom):
    wash = cairo.LinearGradient(0, 0, 0, HEIGHT)
    wash.add_color_stop_rgb(0, *top)
    wash.add_color_stop_rgb(1, *bottom)
    c.set_source(wash)
    c.paint()


def glow(c, x, y, radius, colour, strength=1.0):
    light = cairo.RadialGradient(x, y, 0, x, y, radius)
    for stop, alpha in ((0, 0.95), (0.12, 0.55), (0.35, 0.18), (0.65, 0.05), (1, 0)):
        light.add_color_stop_rgba(stop, *colour, alpha * strength)
    c.set_source(light)
    c.arc(x, y, radius, 0, 2 * math.pi)
    c.fill()


def text(c, x, y, words, size, colour, bold=False, family="DejaVu Sans", align=0.0):
    weight = cairo.FONT_WEIGHT_BOLD if bold else cairo.FONT_WEIGHT_NORMAL
    c.select_font_face(family, cairo.FONT_SLANT_NORMAL, weight)
    c.set_font_size(size)
    c.set_source_rgb(*colour)
    c.move_to(x - align * c.text_extents(words).x_advance, y)
    c.show_text(words)
    c.new_path()


def rounded(c, x, y, w, h, r):
    c.new_sub_path()
    c.arc(x + w - r, y + r, r, -math.pi / 2, 0)
    c.arc(x + w - r, y + h - r, r, 0, math.pi / 2)
    c.arc(x + r, y + h - r, r, math.pi / 2, math.pi)
    c.arc(x + r, y + r, r, math.pi, 1.5 * math.pi)
    c.close_path()


def heading(c, words, number):
    c.set_source_rgb(*PAPER)
    c.paint()
    c.set_source_rgb(*AMBER)
    rounded(c, 56, 52, 10, 52, 5)
    c.fill()
    text(c, 84, 93, words, 44, INK, bold=True)
    text(c, WIDTH - 56, 92, str(number), 26, MUTED, align=1)


def lantern(c, x, y, size, lit=1.0):
    """A paper lantern around (x, y), `size` units high."""
    glow(c, x, y, size * 1.5, AMBER, 0.8 * lit)
    c.save()
    c.translate(x, y)
    c.scale(size / 100, size / 100)
    paper = cairo.RadialGradient(0, 8, 4, 0, 0, 56)
    paper.add_color_stop_rgb(0, 1.0, 0.953, 0.800)
    paper.add_color_stop_rgb(0.45, 1.0, 0.780, 0.420)
    paper.add_color_stop_rgb(1, *EMBER)
    c.set_source(paper)
    c.move_to(-20, -46)
    c.curve_to(-56, -30, -56, 30, -20, 46)
    c.line_to(20, 46)
    c.curve_to(56, 30, 56, -30, 20, -46)
    c.close_path()
    c.fill()
    c.set_source_rgba(0.55, 0.14, 0.10, 0.45)
    c.set_line_width(1.6)
    for k in range(-3, 4):
        half = 20 + 27 * (1 - (k / 4) ** 2)
        c.move_to(-half, k * 12)
        c.curve_to(-half / 2, k * 12 + 5, half / 2, k * 12 + 5, half, k * 12)
        c.stroke()
    c.set_source_rgb(0.16, 0.10, 0.10)
    for top in (-53, 45):
        rounded(c, -22, top, 44, 8, 3)
        c.fill()
    c.set_line_width(2.2)
    c.move_to(0, -53)
    c.curve_to(0, -62, 0, -66, 0, -72)
    c.stroke()
    c.set_source_rgb(*EMBER)
    for dx in (-5, 0, 5):
        c.move_to(dx * 0.6, 53)
        c.line_to(dx, 74)
        c.stroke()
    c.restore()


def meadow(c, seed):
    rng = random.Random(seed)
    for depth, shade in ((0, 0.085), (1, 0.055), (2, 0.030)):
        c.set_source_rgb(shade * 0.7, shade * 1.15, shade * 1.2)
        base = 470 + 22 * depth
        c.move_to(0, HEIGHT)
        for x in range(0, WIDTH + 1, 8):
            c.line_to(x, base - 16 * math.sin(x / (140 - 24 * depth) + 1.7 * depth))
        c.line_to(WIDTH, HEIGHT)
        c.close_path()
        c.fill()
    c.set_source_rgb(0.016, 0.034, 0.040)
    for _ in range(150):
        x, lean, tall = rng.uniform(0, WIDTH), rng.uniform(-16, 16), rng.uniform(24, 84)
        c.move_to(x - 2, HEIGHT)
        c.curve_to(x - 1, HEIGHT - tall / 2, x + lean / 2, HEIGHT - tall * 0.8, x + lean,
                   HEIGHT - tall)
        c.curve_to(x + lean / 2 + 2, HEIGHT - tall * 0.8, x + 2, HEIGHT - tall / 2, x + 2, HEIGHT)
        c.fill()


def title_page(c):
    vertical_wash(c, NIGHT, DUSK)
    rng = random.Random(4)
    for _ in range(70):
        c.set_source_rgba(*MOON, rng.uniform(0.15, 0.7))
        c.arc(rng.uniform(0, WIDTH), rng.uniform(0, 380), rng.uniform(0.5, 1.4), 0, 2 * math.pi)
        c.fill()
    meadow(c, 9)
    for _ in range(16):
        glow(c, rng.uniform(30, 930), rng.uniform(330, 510), rng.uniform(9, 24),
             (0.86, 0.98, 0.45), rng.uniform(0.55, 1))
    lantern(c, 772, 220, 190)
    text(c, 70, 205, "Light,", 92, MOON, bold=True)
    text(c, 70, 300, "by hand", 92, AMBER, bold=True)
    text(c, 74, 362, "Fireflies, lanterns and gestures", 30, MOON)


def noisy_reach(count, rate):
    """A hand that rests, reaches across and rests again, with a detector's tremble."""
    rng = random.Random(21)
    true, seen = [], []
    for i in range(count):
        t = i / rate
        u = min(1.0, max(0.0, (t - 1.2) / 0.55))
        place = u * u * (3 - 2 * u)
        true.append(place)
        seen.append(place + rng.gauss(0, 0.035))
    return true, seen


def one_euro(samples, rate, min_cutoff=0.9, beta=6.0, d_cutoff=1.0):
    """The speed-adaptive low-pass of Casiez, Roussel and Vogel (CHI 2012)."""
    def alpha(cutoff):
        return 1 / (1 + rate / (2 * math.pi * cutoff))
    out, slope = [samples[0]], 0.0
    for value in samples[1:]:
        a = alpha(d_cutoff)
        slope = a * (value - out[-1]) * rate + (1 - a) * slope
        a = alpha(min_cutoff + beta * abs(slope))
        out.append(a * value + (1 - a) * out[-1])
    return out


def chart_page(c):
    heading(c, "A hand is never still", 2)
    left, right, top, bottom = 96, 900, 150, 440
    rate, count = 30, 90
    true, seen = noisy_reach(count, rate)
    calm = one_euro(seen, rate)

    def place(i, value):
        return (left + (right - left) * i / (count - 1),
                bottom - 24 - (bottom - top - 48) * value)

    c.set_line_width(1.5)
    for k in range(4):
        x = left + (right - left) * k * rate / (count - 1)
        if x <= right:
            c.set_source_rgba(*MUTED, 0.30)
            c.move_to(x, top)
            c.line_to(x, bottom)
            c.stroke()
            text(c, x, bottom + 34, f"{k} s", 24, MUTED, align=0.5)
    c.set_source_rgb(*INK)
    c.set_line_width(2.5)
    c.move_to(left, top)
    c.line_to(left, bottom)
    c.line_to(right, bottom)
    c.stroke()
    c.set_source_rgba(*EMBER, 0.85)
    for i, value in enumerate(seen):
        c.arc(*place(i, value), 4.6, 0, 2 * math.pi)
        c.fill()
    c.set_line_join(cairo.LINE_JOIN_ROUND)
    for values, colour, width in ((true, (*MUTED, 0.6), 2.5), (calm, (*TEAL, 1), 5.5)):
        c.set_source_rgba(*colour)
        c.set_line_width(width)
        for i, value in enumerate(values):
            c.line_to(*place(i, value))
        c.stroke()
    for x, label, colour in ((120, "seen", EMBER), (250, "filtered", TEAL), (420, "true", MUTED)):
        c.set_source_rgb(*colour)
        c.arc(x, 169, 9, 0, 2 * math.pi)
        c.fill()
        text(c, x + 18, 178, label, 26, INK)
    text(c, (left + right) / 2, 515, "Smooth when slow, quick when fast", 28, INK, bold=True,
         align=0.5)


def hand_icon(c, x, y, s, colour):
    """An open hand with thumb and index about to meet."""
    c.save()
    c.translate(x, y)
    c.scale(s, s)
    c.set_source_rgb(*colour)
    c.set_line_cap(cairo.LINE_CAP_ROUND)
    c.set_line_width(9)
    for path in (((-10, 4), (-22, -16), (-18, -30)), ((-4, -2), (-10, -24), (-12, -33)),
                 ((4, -3), (5, -24), (6, -40)), ((12, 0), (16, -18), (19, -34)),
                 ((17, 6), (25, -8), (30, -20))):
        c.move_to(*path[0])
        c.curve_to(*path[0], *path[1], *path[2])
        c.stroke()
    rounded(c, -14, -6, 36, 36, 14)
    c.fill()
    c.restore()


def diagram_page(c):
    heading(c, "From hand to picture", 3)
    boxes = (("camera", "frame", MUTED), ("hands", "21 points", EMBER),
             ("gesture", "pinch", AMBER), ("motion", "spring", TEAL))
    w, h, y = 180, 170, 150
    xs = [56 + i * (w + 43) for i in range(4)]
    for (name, detail, colour), x in zip(boxes, xs):
        c.set_source_rgba(*INK, 0.10)
        rounded(c, x + 4, y + 6, w, h, 18)
        c.fill()
        c.set_source_rgb(1, 1, 1)
        rounded(c, x, y, w, h, 18)
        c.fill_preserve()
        c.set_source_rgb(*colour)
        c.set_line_width(4)
        c.stroke()
        text(c, x + w / 2, y + 122, name, 31, INK, bold=True, align=0.5)
        text(c, x + w / 2, y + 154, detail, 25, MUTED, align=0.5)
    draw_icons(c, [x + w / 2 for x in xs], y + 56)
    c.set_source_rgb(*INK)
    c.set_line_width(5)
    for x in xs[:3]:
        arrow(c, x + w + 6, y + h / 2, x + w + 37, y + h / 2)
    c.move_to(xs[3] + w / 2, y + h + 10)
    c.line_to(xs[3] + w / 2, 410)
    c.stroke()
    arrow(c, xs[3] + w / 2, 410, 708, 410)
    c.move_to(xs[0] + w / 2, y + h + 10)
    c.line_to(xs[0] + w / 2, 410)
    c.stroke()
    arrow(c, xs[0] + w / 2, 410, 252, 410)
    c.set_source_rgb(*INK)
    rounded(c, 262, 360, 436, 104, 22)
    c.fill()
    text(c, 480, 406, "one picture", 33, AMBER, bold=True, align=0.5)
    text(c, 480, 444, "30 times a second", 27, MOON, align=0.5)


def arrow(c, x0, y0, x1, y1):
    c.set_line_cap(cairo.LINE_CAP_ROUND)
    c.move_to(x0, y0)
    c.line_to(x1, y1)
    d = 10 if x1 > x0 else -10
    c.move_to(x1 - d, y1 - 10)
    c.line_to(x1, y1)
    c.line_to(x1 - d, y1 + 10)
    c.stroke()


def draw_icons(c, xs, y):
    c.set_source_rgb(*MUTED)
    rounded(c, xs[0] - 40, y - 26, 80, 54, 10)
    c.fill()
    c.set_source_rgb(1, 1, 1)
    c.arc(xs[0], y + 1, 19, 0, 2 * math.pi)
    c.fill()
    c.set_source_rgb(*INK)
    c.arc(xs[0], y + 1, 12, 0, 2 * math.pi)
    c.fill()
    hand_icon(c, xs[1] - 3, y + 6, 0.88, EMBER)
    c.set_line_width(5)
    for sign in (-1, 1):
        c.set_source_rgb(*AMBER)
        c.arc(xs[2] + sign * 26, y, 15, 0, 2 * math.pi)
        c.fill()
        c.set_source_rgb(*INK)
        c.move_to(xs[2] + sign * 5, y)
        c.line_to(xs[2] + sign * 14, y)
        c.stroke()
    c.set_source_rgb(*TEAL)
    for i in range(80):
        t = i / 79
        c.line_to(xs[3] - 52 + 104 * t,
                  y + 24 - 46 * (1 - math.exp(-5 * t) * math.cos(14 * t)))
    c.stroke()


def wing(c, outline, fill, spots, spot_colour):
    c.move_to(*outline[0])
    for k in range(1, len(outline), 3):
        c.curve_to(*outline[k], *outline[k + 1], *outline[k + 2])
    c.close_path()
    c.set_source(fill)
    c.fill_preserve()
    c.save()
    c.clip()
    c.set_source_rgb(*spot_colour)
    for x, y, r in spots:
        c.arc(x, y, r, 0, 2 * math.pi)
        c.fill()
    c.restore()


def lanternfly(c):
    """The insect seen from above, wings spread, around the origin, about 300 units wide."""
    for side in (-1, 1):
        c.save()
        c.scale(side, 1)
        hind = cairo.LinearGradient(10, 10, 120, 120)
        hind.add_color_stop_rgb(0, 0.93, 0.26, 0.20)
        hind.add_color_stop_rgb(0.62, 0.80, 0.16, 0.16)
        hind.add_color_stop_rgb(0.66, 0.96, 0.93, 0.86)
        hind.add_color_stop_rgb(0.80, 0.94, 0.90, 0.82)
        hind.add_color_stop_rgb(0.84, 0.10, 0.10, 0.13)
        hind.add_color_stop_rgb(1, 0.10, 0.10, 0.13)
        wing(c, ((8, 2), (60, -8), (132, 30), (128, 84), (122, 132), (50, 136), (8, 66)), hind,
             ((34, 22, 6), (58, 30, 7), (44, 50, 6), (74, 54, 6), (30, 66, 5)), (0.12, 0.07, 0.08))
        fore = cairo.LinearGradient(0, -20, 170, -70)
        fore.add_color_stop_rgb(0, 0.80, 0.72, 0.64)
        fore.add_color_stop_rgb(0.66, 0.86, 0.80, 0.73)
        fore.add_color_stop_rgb(0.74, 0.56, 0.55, 0.57)
        fore.add_color_stop_rgb(1, 0.42, 0.43, 0.47)
        wing(c, ((6, -24), (46, -78), (128, -112), (172, -84), (190, -58), (120, 4), (8, 14)), fore,
             ((40, -34, 8), (62, -56, 7), (70, -26, 8), (94, -50, 8), (98, -78, 6), (110, -28, 5),
              (48, -8, 5), (120, -60, 5)), (0.13, 0.12, 0.15))
        c.set_source_rgb(0.13, 0.12, 0.15)
        c.set_line_width(3.5)
        for x, y in ((30, -74), (42, -58)):
            c.move_to(7, -44)
            c.curve_to(18, -56, x, y + 6, x + 5, y - 6)
            c.stroke()
        c.restore()
    for k in range(5):
        c.set_source_rgb(*((0.96, 0.76, 0.22) if k % 2 else (0.12, 0.11, 0.14)))
        c.save()
        c.translate(0, 14 + 17 * k)
        c.scale(15 - 2.3 * k, 11)
        c.arc(0, 0, 1, 0, 2 * math.pi)
        c.restore()
        c.fill()
    c.set_source_rgb(0.16, 0.14, 0.17)
    rounded(c, -13, -44, 26, 56, 12)
    c.fill()
    c.arc(0, -50, 12, 0, 2 * math.pi)
    c.fill()
    for side in (-1, 1):
        c.set_source_rgb(*EMBER)
        c.arc(side * 10, -54, 4.4, 0, 2 * math.pi)
        c.fill()


def picture_page(c):
    vertical_wash(c, (0.075, 0.118, 0.200), (0.180, 0.165, 0.270))
    glow(c, 340, 262, 330, AMBER, 0.55)
    c.save()
    c.translate(340, 270)
    c.rotate(-0.16)
    c.scale(1.62, 1.62)
    lanternfly(c)
    c.restore()
    text(c, WIDTH - 56, 92, "4", 26, MUTED, align=1)
    text(c, 640, 215, "Lanternfly", 46, MOON, bold=True)
    text(c, 642, 268, "a traveller", 31, AMBER)
    text(c, 642, 312, "that hides a red", 31, MOON)
    text(c, 642, 352, "flag under grey", 31, MOON)
    text(c, 642, 392, "lace", 31, MOON)


def fraction(c, x, y, above, below, size):
    c.select_font_face("DejaVu Serif", cairo.FONT_SLANT_ITALIC, cairo.FONT_WEIGHT_NORMAL)
    c.set_font_size(size)
    width = max(c.text_extents(above).x_advance, c.text_extents(below).x_advance) + 12
    for words, dy in ((above, -12), (below, size * 0.98)):
        c.move_to(x + (width - c.text_extents(words).x_advance) / 2, y + dy)
        c.show_text(words)
    c.set_line_width(2)
    c.move_to(x, y)
    c.line_to(x + width, y)
    c.stroke()


def maths_page(c):
    heading(c, "Calm in four lines", 5)
    c.set_source_rgb(1, 1, 1)
    rounded(c, 56, 136, 392, 348, 18)
    c.fill()
    c.set_source_rgb(*INK)
    for y, left, above, below in ((214, "α  =", "1", "1 + τ / Δt"), (318, "τ  =", "1", "2π f")):
        c.set_source_rgb(*INK)
        c.select_font_face("DejaVu Serif", cairo.FONT_SLANT_ITALIC, cairo.FONT_WEIGHT_NORMAL)
        c.set_font_size(36)
        c.move_to(88, y + 12)
        c.show_text(left)
        fraction(c, 190, y, above, below, 33)
    c.set_source_rgb(*EMBER)
    c.select_font_face("DejaVu Serif", cairo.FONT_SLANT_ITALIC, cairo.FONT_WEIGHT_NORMAL)
    c.set_font_size(36)
    c.move_to(88, 424)
    c.show_text("f  =  f₀ + β · |v|")
    c.set_source_rgb(*INK)
    rounded(c, 478, 136, 426, 348, 18)
    c.fill()
    lines = (("v  = slope(x)", MOON), ("f  = f0 + beta*abs(v)", AMBER), ("a  = alpha(f, dt)", MOON),
             ("y += a * (x - y)", MOON))
    for k, (line, colour) in enumerate(lines):
        text(c, 506, 214 + 58 * k, line, 29, colour, family="DejaVu Sans Mono")
    text(c, 506, 452, "speed opens the filter", 27, (0.56, 0.80, 0.78))


def closing_page(c):
    vertical_wash(c, (0.055, 0.070, 0.150), (0.330, 0.180, 0.220))
    rng = random.Random(12)
    for x, y, size in ((150, 130, 70), (300, 250, 46), (820, 150, 92), (690, 300, 56),
                       (90, 330, 40), (880, 360, 44), (480, 110, 58)):
        lantern(c, x, y, size, 0.8)
    for _ in range(12):
        glow(c, rng.uniform(40, 920), rng.uniform(60, 520), rng.uniform(6, 14), AMBER, 0.8)
    c.set_source_rgba(0.03, 0.04, 0.09, 0.55)
    rounded(c, 190, 330, 580, 156, 30)
    c.fill()
    text(c, 480, 402, "Thank you", 66, MOON, bold=True, align=0.5)
    text(c, 480, 456, "Raise a hand to ask", 34, AMBER, align=0.5)


def main():
    target = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).with_name("deck.pdf")
    surface = cairo.PDFSurface(str(target), WIDTH, HEIGHT)
    surface.set_metadata(cairo.PDFMetadata.TITLE, "Light, by hand")
    # A fixed date: the same pages are the same bytes.
    surface.set_metadata(cairo.PDFMetadata.CREATE_DATE, "2020-01-01T00:00:00Z")
    context = cairo.Context(surface)
    for page in (title_page, chart_page, diagram_page, picture_page, maths_page, closing_page):
        context.save()
        page(context)
        context.restore()
        context.new_path()
        context.show_page()
    surface.finish()


if __name__ == "__main__":
    main()
