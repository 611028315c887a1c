#!/usr/bin/env python3
"""Makes a PMTiles 3 archive of a raster MBTiles file, with Python's standard library alone.

    mbtiles_to_pmtiles.py [--leaf-size ENTRIES] [--plain] [--name NAME] FROM.mbtiles TO.pmtiles

Tiles that are equal are stored once. With --leaf-size the tiles are listed in leaf directories of so
many entries; without, they are when the root directory would not fit into the archive's first
16 KiB. With --plain directories and metadata are not compressed.
"""
import argparse
import gzip
import hashlib
import json
import os
import sqlite3
import struct

HEADER_BYTES = 127
LARGEST_ROOT = 16384 - HEADER_BYTES
TYPES = {"png": 2, "jpg": 3, "jpeg": 3, "webp": 4}
GZIP, PLAIN = 2, 1


def tile_number(zoom, x, y):
    """Along the Hilbert curve of the zoom level, behind all tiles of the levels above."""
    number = (4**zoom - 1) // 3
    side = 2**zoom
    step = side // 2
    while step > 0:
        right = 1 if x & step else 0
        lower = 1 if y & step else 0
        number += step * step * ((3 * right) ^ lower)
        if not lower:
            if right:
                x, y = side - 1 - x, side - 1 - y
            x, y = y, x
        step //= 2
    return number


def varint(value):
    out = bytearray()
    while value >= 0x80:
        out.append(0x80 | value & 0x7F)
        value >>= 7
    out.append(value)
    return bytes(out)


def directory(entries):
    """Entries are (number, offset, length, run), ordered by number."""
    out = [varint(len(entries))]
    last = 0
    for number, *_ in entries:
        out.append(varint(number - last))
        last = number
    out += [varint(run) for *_, run in entries]
    out += [varint(length) for _, _, length, _ in entries]
    behind = None
    for _, offset, length, _ in entries:
        out.append(varint(0 if offset == behind else offset + 1))
        behind = offset + length
    return b"".join(out)


def directories(entries, leaf_size, pack):
    """The root and the section of leaves."""
    root = pack(directory(entries))
    if leaf_size is None and len(root) <= LARGEST_ROOT:
        return root, b""
    size = leaf_size or 4096
    while True:
        lines, leaves = [], b""
        for start in range(0, len(entries), size):
            leaf = pack(directory(entries[start:start + size]))
            lines.append((entries[start][0], len(leaves), len(leaf), 0))
            leaves += leaf
        root = pack(directory(lines))
        if len(root) <= LARGEST_ROOT:
            return root, leaves
        size *= 2


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--leaf-size", type=int)
    options.add_argument("--name")
    options.add_argument("--plain", action="store_true")
    options.add_argument("source")
    options.add_argument("target")
    options = options.parse_args()
    pack = (lambda data: data) if options.plain else (lambda data: gzip.compress(data, mtime=0))

    # A misspelt name is an error, not a new database.
    database = sqlite3.connect(f"file:{os.path.abspath(options.source)}?mode=ro", uri=True)
    metadata = dict(database.execute("SELECT name, value FROM metadata"))
    if options.name:
        metadata["name"] = options.name
    tiles = []
    for zoom, x, row in database.execute("SELECT zoom_level, tile_column, tile_row FROM tiles"):
        tiles.append((tile_number(zoom, x, 2**zoom - 1 - row), zoom, x, row))
    tiles.sort()
    zooms = [zoom for _, zoom, _, _ in tiles]

    entries, places, count = [], {}, 0
    with open(options.target + ".part", "wb+") as data:
        for number, zoom, x, row in tiles:
            (tile,) = database.execute(
                "SELECT tile_data FROM tiles WHERE zoom_level=? AND tile_column=? AND tile_row=?",
                (zoom, x, row)).fetchone()
            if not tile:
                continue
            count += 1
            key = hashlib.sha256(tile).digest()
            if key not in places:
                places[key] = (data.tell(), len(tile))
                data.write(tile)
            offset, length = places[key]
            last = entries[-1] if entries else None
            if last and last[1] == offset and last[0] + last[3] == number:
                entries[-1] = (*last[:3], last[3] + 1)
            else:
                entries.append((number, offset, length, 1))

        root, leaves = directories(entries, options.leaf_size, pack)
        about = pack(json.dumps(metadata).encode())
        sections, at = [], HEADER_BYTES
        for length in (len(root), len(about), len(leaves), data.tell()):
            sections += [at, length]
            at += length
        west, south, east, north = (
            float(edge) for edge in
            metadata.get("bounds", "-180,-85.0511287,180,85.0511287").split(","))
        corner = [round(edge * 1e7) for edge in (west, south, east, north)]
        middle = [(corner[0] + corner[2]) // 2, (corner[1] + corner[3]) // 2]
        header = b"PMTiles\x03" + struct.pack(
            "<11Q6B4iB2i", *sections, count, len(entries), len(places), 1,
            PLAIN if options.plain else GZIP, PLAIN, TYPES.get(metadata.get("format"), 0),
            min(zooms), max(zooms), *corner, min(zooms), *middle)
        assert len(header) == HEADER_BYTES
        with open(options.target, "wb") as target:
            for part in (header, root, about, leaves):
                target.write(part)
            data.seek(0)
            while block := data.read(1 << 20):
                target.write(block)
    os.remove(options.target + ".part")


if __name__ == "__main__":
    main()
