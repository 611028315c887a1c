#!/bin/sh
# Writes the pictures of codec_bench: make-pictures.sh FOLDER PHOTOGRAPH. The middle of the
# photograph in tiles of 256 and 675 pixels, as JPEG, PNG and WebP.
set -eu
rm -rf "$1"
mkdir -p "$1"
cd "$1"
for size in 256 675; do
    vips smartcrop "$2" tile.v $size $size --interesting centre
    vips copy tile.v "$size.jpg[Q=85]"
    vips copy tile.v $size.png
    vips copy tile.v "$size.webp[Q=80]"
done
rm -f ./*.v
touch .complete
