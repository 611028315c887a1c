#!/usr/bin/env python3
"""Puts a folder of tiles, zoom/row/column.ending with rows from the north, into an MBTiles archive.

    tools/tiles_to_mbtiles.py FOLDER ARCHIVE --zoom Z --column C --row R [KEY=VALUE ...]

The folder's deepest level is the world's level Z, and its first tile there the world's (C, R). Levels
above it whose tiles are no tiles of the world are left out. Each KEY=VALUE goes into the table of
metadata."""
import argparse
import os
import pathlib
import sqlite3


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("archive", type=pathlib.Path)
    parser.add_argument("metadata", nargs="*")
    for name in ("zoom", "column", "row"):
        parser.add_argument("--" + name, type=int, default=0)
    wanted = parser.parse_intermixed_args()
    # Whole or not at all: an interrupted run leaves no archive.
    unfinished = wanted.archive.with_suffix(".unfinished")
    unfinished.unlink(missing_ok=True)
    database = sqlite3.connect(unfinished)
    database.executescript(
        "CREATE TABLE metadata (name text, value text);"
        "CREATE TABLE tiles (zoom_level integer, tile_column integer, tile_row integer,"
        " tile_data blob, PRIMARY KEY (zoom_level, tile_column, tile_row));")
    database.executemany("INSERT INTO metadata VALUES (?, ?)",
                         (entry.split("=", 1) for entry in wanted.metadata))
    depth = max(int(level.name) for level in wanted.folder.iterdir() if level.name.isdigit())
    for file in wanted.folder.glob("[0-9]*/*/*.*"):
        level, row, column = (int(part) for part in (*file.parts[-3:-1], file.stem))
        above = depth - level
        if (wanted.column | wanted.row) % (1 << above) != 0:
            continue
        zoom = wanted.zoom - above
        column += wanted.column >> above
        row += wanted.row >> above
        # MBTiles counts rows from the south.
        database.execute("INSERT INTO tiles VALUES (?, ?, ?, ?)",
                         (zoom, column, (1 << zoom) - 1 - row, file.read_bytes()))
    database.commit()
    database.close()
    os.replace(unfinished, wanted.archive)


main()
