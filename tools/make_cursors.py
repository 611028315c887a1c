#!/usr/bin/env python3
"""Draws the tool cursors into terrascope/resources: make_cursors.py [FOLDER]

Each .cur file holds a 32 and a 64 pixel image of 32 bits with an AND mask, for screens of 96 and
192 dots per inch. The shapes are polygons and rings in a square of 32 units, filled white and
outlined black, with four by four samples for each pixel.
"""
import math
import pathlib
import struct
import sys

SAMPLES = 4


def inside_polygon(points, x, y):
    inside = False
    for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
        if (y1 > y) != (y2 > y) and x < (x2 - x1) * (y - y1) / (y2 - y1) + x1:
            inside = not inside
    return inside


def polygon(points):
    return lambda x, y: inside_polygon(points, x, y)


def disc(cx, cy, radius):
    return lambda x, y: math.hypot(x - cx, y - cy) <= radius


def capsule(x1, y1, x2, y2, radius):
    """A line with round ends."""

    def covers(x, y):
        dx, dy = x2 - x1, y2 - y1
        length = dx * dx + dy * dy
        t = 0.0 if length == 0 else max(0.0, min(1.0, ((x - x1) * dx + (y - y1) * dy) / length))
        return math.hypot(x - x1 - t * dx, y - y1 - t * dy) <= radius

    return covers


def any_of(*shapes):
    return lambda x, y: any(shape(x, y) for shape in shapes)


def arrow():
    outer = [(1, 0), (1, 22), (6.2, 17.2), (9.6, 25.2), (14, 23.4), (10.6, 15.6), (17.6, 15.6)]
    inner = [(2.2, 2.9), (2.2, 19.2), (6.6, 15.2), (10.2, 23.6), (12.4, 22.7), (8.9, 14.4),
             (14.6, 14.4)]
    return polygon(outer), polygon(inner), (1, 0)


def hand():
    bones = [  # four fingers, the thumb, the palm
        ((11.2, 9), (12.4, 18)), ((15.2, 6.4), (15.4, 18)), ((19.4, 7.2), (18.8, 18)),
        ((23.2, 10.4), (21.8, 18)), ((6.6, 16), (12, 23)),
    ]
    palm = [(10.6, 17), (23.2, 17), (22.8, 22), (20.6, 28), (13.2, 28), (9.6, 22)]
    outer = any_of(*(capsule(*a, *b, 2.6) for a, b in bones), polygon(
        [(9.6, 16), (24.4, 16), (24, 22.4), (21.6, 29.2), (12.4, 29.2), (8.4, 22.4)]))
    inner = any_of(*(capsule(*a, *b, 1.5) for a, b in bones), polygon(palm))
    return outer, inner, (16, 16)


def magnifier(plus):
    cx, cy = 13, 13
    ring = disc(cx, cy, 10.5)
    glass = disc(cx, cy, 7.5)
    handle = capsule(20.5, 20.5, 28, 28, 3.2)
    handle_core = capsule(21, 21, 27.6, 27.6, 1.6)
    bars = [capsule(cx - 4, cy, cx + 4, cy, 1.1)]
    if plus:
        bars.append(capsule(cx, cy - 4, cx, cy + 4, 1.1))
    sign = any_of(*bars)
    rim = lambda x, y: 8.5 <= math.hypot(x - cx, y - cy) <= 9.5

    def outer(x, y):
        return (ring(x, y) or handle(x, y))

    def inner(x, y):
        return rim(x, y) or handle_core(x, y) or (glass(x, y) and not sign(x, y))

    return outer, inner, (cx, cy)


def image(outer, inner, size):
    """Rows from the top of (red, green, blue, alpha)."""
    step = 32.0 / size / SAMPLES
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            covered = white = 0
            for sy in range(SAMPLES):
                for sx in range(SAMPLES):
                    x = (px * SAMPLES + sx + 0.5) * step
                    y = (py * SAMPLES + sy + 0.5) * step
                    if outer(x, y) or inner(x, y):
                        covered += 1
                        white += inner(x, y)
            alpha = 255 * covered // SAMPLES ** 2
            grey = 255 * white // covered if covered else 0
            row.append((grey, grey, grey, alpha))
        rows.append(row)
    return rows


def dib(rows):
    size = len(rows)
    pixels = b"".join(struct.pack("4B", b, g, r, a) for row in reversed(rows)
                      for r, g, b, a in row)
    stride = (size + 31) // 32 * 4
    mask = bytearray()
    for row in reversed(rows):
        bits = bytearray(stride)
        for x, (_, _, _, alpha) in enumerate(row):
            if alpha < 128:
                bits[x // 8] |= 0x80 >> x % 8
        mask += bits
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, len(pixels) + len(mask), 0,
                         0, 0, 0)
    return header + pixels + bytes(mask)


def cursor_file(shape):
    outer, inner, hot = shape
    sizes = (32, 64)
    images = [dib(image(outer, inner, size)) for size in sizes]
    offset = 6 + 16 * len(sizes)
    directory = struct.pack("<HHH", 0, 2, len(sizes))
    for size, data in zip(sizes, images):
        scale = size // 32
        directory += struct.pack("<BBBBHHII", size, size, 0, 0, hot[0] * scale, hot[1] * scale,
                                 len(data), offset)
        offset += len(data)
    return directory + b"".join(images)


def main():
    standard = pathlib.Path(__file__).resolve().parent.parent / "terrascope" / "resources"
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else standard
    shapes = {"arrow": arrow(), "pan": hand(), "zoom_in": magnifier(True),
              "zoom_out": magnifier(False)}
    for name, shape in shapes.items():
        (folder / f"{name}.cur").write_bytes(cursor_file(shape))


if __name__ == "__main__":
    main()
