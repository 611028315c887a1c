#!/bin/sh
# Writes the pictures of codecs_test into a folder: make-pictures.sh FOLDER. Made by vips: smooth
# hills with edges, odd in both sizes, in each kind of JPEG, PNG and WebP that it writes. Beside a
# WebP file, the PNG of the same name has its pixels.
set -eu
rm -rf "$1"
mkdir -p "$1"
cd "$1"
for band in 0 1 2 3; do
    vips perlin "hill$band.v" 131 97 --cell-size 12 --uchar --seed $((band + 3))
done
vips bandjoin "hill0.v hill1.v hill2.v" plain.v
vips copy plain.v rgb.v --interpretation srgb
vips bandjoin "rgb.v hill3.v" rgba.v
vips copy hill0.v grey.v --interpretation b-w
vips bandjoin "grey.v hill3.v" greya.v
vips cast rgb.v wide.v ushort --shift
vips copy wide.v rgb16.v --interpretation rgb16
vips cast rgba.v widea.v ushort --shift
vips copy widea.v rgba16.v --interpretation rgb16
vips cast grey.v wideg.v ushort --shift
vips copy wideg.v grey16.v --interpretation grey16
vips bandjoin "rgb.v hill3.v" inks.v
vips copy inks.v cmyk.v --interpretation cmyk

vips copy rgb.v 'whole.jpg[Q=90,subsample_mode=off]'
vips copy rgb.v 'halved.jpg[Q=85,subsample_mode=on]'
vips copy rgb.v 'coarse.jpg[Q=15,subsample_mode=on]'
vips copy rgb.v 'fine.jpg[Q=100,subsample_mode=on]'
vips copy rgb.v 'progressive.jpg[Q=85,subsample_mode=on,interlace]'
vips copy grey.v 'grey.jpg[Q=85]'
vips copy cmyk.v 'cmyk.jpg[Q=90]'

vips copy rgb.v rgb.png
vips copy rgb.v 'interlaced.png[interlace]'
vips copy rgb16.v 'rgb16.png[bitdepth=16]'
vips copy rgba.v rgba.png
vips copy rgba16.v 'rgba16.png[bitdepth=16,interlace]'
vips copy greya.v greya.png
vips copy grey.v grey.png
vips copy grey16.v 'grey16.png[bitdepth=16]'
for bits in 1 2 4; do
    vips copy grey.v "grey$bits.png[bitdepth=$bits]"
done
vips copy rgb.v 'palette.png[palette]'
vips copy rgb.v 'palette4.png[palette,bitdepth=4,interlace]'
vips copy rgba.v 'palettea.png[palette]'

vips copy rgb.v 'lossy.webp[Q=80]'
vips copy rgb.v 'lossless.webp[lossless]'
vips copy rgba.v 'lossya.webp[Q=80]'
vips copy rgba.v 'losslessa.webp[lossless]'
for picture in lossy lossless lossya losslessa; do
    vips copy $picture.webp $picture.png
done
rm -f ./*.v
touch .complete
