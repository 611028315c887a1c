#!/usr/bin/env python3
"""Writes where each pixel of a block of web map tiles comes from in a picture of the whole world in
degrees: two 32-bit floats a pixel, x and y in the picture, for "vips rawload" and "vips mapim".

    tools/web_mercator.py WIDTH HEIGHT ZOOM COLUMN ROW COLUMNS ROWS OUT

WIDTH and HEIGHT are the picture's, in pixels; the block has COLUMNS x ROWS tiles of 256 pixels from
(COLUMN, ROW) on, counted from the north-west."""
import array
import math
import sys

TILE = 256


def main():
    width, height, zoom, column, row, columns, rows = (int(text) for text in sys.argv[1:8])
    world = TILE << zoom
    across = [((column * TILE + x + 0.5) / world) * width - 0.5 for x in range(columns * TILE)]
    line = array.array("f", bytes(8 * len(across)))
    line[0::2] = array.array("f", across)
    with open(sys.argv[8], "wb") as out:
        for y in range(rows * TILE):
            ordinate = 1 - 2 * (row * TILE + y + 0.5) / world
            latitude = math.atan(math.sinh(math.pi * ordinate))
            place = (0.5 - latitude / math.pi) * height - 0.5
            line[1::2] = array.array("f", [place]) * len(across)
            line.tofile(out)


main()
