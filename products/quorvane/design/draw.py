#!/usr/bin/env python3
"""Draws background.png and icon.ico of this product into the folder above this one.

Needs nothing but Python. Every shape is a signed distance in pixels, so edges are smooth at every
size and the same input gives the same pixels everywhere.

    python3 draw.py [OUT_DIR]
"""

import math
import struct
import sys
import zlib
from pathlib import Path

WIDTH, HEIGHT = 500, 254
BRAND, BRAND_LIGHT, BRAND_DEEP = (0, 126, 224), (38, 186, 196), (12, 74, 160)
TRACK = (90, 176, 410, 190)  # left, top, right, bottom, all inclusive: the program's bar lies on it
TRACK_FILL, TRACK_FRAME = (229, 231, 227), (186, 188, 185)
WINDOW_EDGE = (196, 206, 216)
ICON_SIZES = (256, 64, 32, 16)


def mix(a, b, t):
    t = min(1.0, max(0.0, t))
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def coverage(distance):
    """How much of a pixel lies inside a shape whose edge is `distance` pixels away."""
    return min(1.0, max(0.0, 0.5 - distance))


def ring(x, y, radius, stroke):
    return abs(math.hypot(x, y) - radius) - stroke / 2


def leaf(x, y, start, end, half_width):
    """The overlap of two equal circles, with its tips on the diagonal at `start` and `end`."""
    along, across = (x + y) / math.sqrt(2), (y - x) / math.sqrt(2)
    along -= (start + end) / 2
    half_length = (end - start) / 2
    radius = (half_length**2 + half_width**2) / (2 * half_width)
    offset = radius - half_width
    return max(math.hypot(along, across - offset), math.hypot(along, across + offset)) - radius


def mark(x, y, size):
    """The ring and the vane at (x, y) from the mark's centre; `size` is the ring's radius.

    Returns both coverages. The ring keeps clear of the vane, so both read in one colour."""
    stroke = 0.27 * size
    vane = leaf(x, y, -0.1 * size, 1.48 * size, 0.235 * size)
    gap = max(1.0, 0.12 * size)
    return coverage(max(ring(x, y, size, stroke), gap - vane)), coverage(vane)


def wave(x, base, height, length, phase):
    return base - height * math.sin(2 * math.pi * (x / length + phase))


def backdrop(x, y):
    colour = mix((252, 253, 255), (237, 243, 249), y / HEIGHT)
    glow = math.exp(-(((x - 250) / 190) ** 2 + ((y - 66) / 84) ** 2))
    colour = mix(colour, (255, 255, 255), 0.85 * glow)
    for base, height, length, phase, tint, strength in (
        (172, 26, 640, 0.62, (206, 226, 245), 0.30),
        (206, 20, 520, 0.12, (190, 222, 240), 0.30),
        (236, 14, 700, 0.40, (176, 216, 236), 0.34),
    ):
        depth = y - wave(x, base, height, length, phase)
        fade = 0.35 + 0.65 * min(1.0, max(0.0, depth) / 60)
        colour = mix(colour, tint, strength * fade * coverage(-depth))
    return colour


def background_pixel(column, row):
    if column in (0, WIDTH - 1) or row in (0, HEIGHT - 1):
        return WINDOW_EDGE
    left, top, right, bottom = TRACK
    if left <= column <= right and top <= row <= bottom:
        return TRACK_FILL
    if left - 1 <= column <= right + 1 and top - 1 <= row <= bottom + 1:
        return TRACK_FRAME
    x, y = column + 0.5, row + 0.5
    colour = backdrop(x, y)
    dx, dy, size = x - 250, y - 66, 33
    around = math.hypot(dx, dy - 5)
    colour = mix(colour, (120, 160, 200), 0.16 * math.exp(-(((around - size) / 13) ** 2)))
    in_ring, in_vane = mark(dx, dy, size)
    slope = (dx + dy) / (2.9 * size) + 0.5
    colour = mix(colour, mix(BRAND, BRAND_LIGHT, slope), in_ring)
    colour = mix(colour, mix(BRAND, BRAND_DEEP, slope), in_vane)
    return colour


# An ordered pattern in place of plain rounding, so that soft gradients show no bands.
DITHER = [[0, 8, 2, 10], [12, 4, 14, 6], [3, 11, 1, 9], [15, 7, 13, 5]]


def rounded(colour, column, row):
    threshold = (DITHER[row % 4][column % 4] + 0.5) / 16
    return bytes(min(255, math.floor(channel + threshold)) for channel in colour)


def icon_pixel(column, row, side):
    """White mark on a rounded tile: it must read on light and on dark task bars."""
    x, y = column + 0.5 - side / 2, row + 0.5 - side / 2
    half = side / 2 - (0.5 if side > 16 else 0)
    corner = 0.22 * side
    qx, qy = abs(x) - half + corner, abs(y) - half + corner
    tile = math.hypot(max(qx, 0), max(qy, 0)) + min(max(qx, qy), 0) - corner
    colour = mix(BRAND_LIGHT, BRAND, (y + x * 0.35) / side + 0.62)
    colour = mix(colour, BRAND_DEEP, 0.55 * ((y / side) + 0.1))
    shift = 0.035 * side
    size = (0.27 if side > 16 else 0.29) * side
    in_ring, in_vane = mark(x + shift, y + shift, size)
    colour = mix(colour, (255, 255, 255), max(in_ring, in_vane))
    return bytes(round(c) for c in colour) + bytes([round(255 * coverage(tile))])


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width, height, pixel):
    lines = b"".join(
        b"\0" + b"".join(pixel(column, row) for column in range(width)) for row in range(height)
    )
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(lines, 9))
        + chunk(b"IEND", b"")
    )


def icon_bitmap(side):
    """A 32-bit image as icons hold it: bottom row first, then an empty one-bit mask."""
    header = struct.pack("<IiiHHIIiiII", 40, side, 2 * side, 1, 32, 0, 0, 0, 0, 0, 0)
    rows = []
    for row in reversed(range(side)):
        for column in range(side):
            red, green, blue, alpha = icon_pixel(column, row, side)
            rows.append(bytes((blue, green, red, alpha)))
    return header + b"".join(rows) + bytes((side + 31) // 32 * 4 * side)


def icon():
    images = [
        png(side, side, lambda column, row, side=side: icon_pixel(column, row, side))
        if side == 256
        else icon_bitmap(side)
        for side in ICON_SIZES
    ]
    directory, offset = struct.pack("<HHH", 0, 1, len(images)), 6 + 16 * len(images)
    for side, image in zip(ICON_SIZES, images):
        directory += struct.pack("<BBBBHHII", side % 256, side % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    return directory + b"".join(images)


def main():
    out = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent
    picture = png(
        WIDTH,
        HEIGHT,
        lambda column, row: rounded(background_pixel(column, row), column, row) + b"\xff",
    )
    for name, data in (("background.png", picture), ("icon.ico", icon())):
        (out / name).write_bytes(data)
        print(f"{out / name}: {len(data)} bytes")


if __name__ == "__main__":
    main()
