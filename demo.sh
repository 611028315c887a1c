#!/bin/bash
# Shows the library at work on real imagery: ./demo.sh
# With a display the viewer opens in it. Without one (or with --pictures) it runs on a virtual
# screen, writes pictures to build/demo, and plays a tour through the map. With --prepare it only
# makes the maps and the folder of the program.
. "$(dirname "${BASH_SOURCE[0]}")/tools/common.sh"
demo="$root/build/demo"
earth=/usr/share/marble/data/maps/earth

case "${1:-}" in
    "" | --prepare) pictures=false ;;
    --pictures) pictures=true ;;
    *) fail "unknown option $1; there are --pictures and --prepare" ;;
esac
[ -n "${DISPLAY:-}" ] || pictures=true

# write_map FOLDER NAME TILE_SIZE PATH_TEMPLATE REMARK: two tiles over the whole world in layer 1,
# four layers. The template's extension is the format.
write_map() {
    cat >"$demo/maps/$1/map.ini" <<END
[MAP]
NAME=$2
UPDATE_TIME=2023-02-25 00:00:00
TILE_FORMAT=${4##*.}
FIRST_LAYER=1
LAYER_COUNT=4
LONGITUDE_START=-180
LATITUDE_START=-90
LONGITUDE=360
LATITUDE=180
TILE_WIDTH=$3
TILE_HEIGHT=$3
REMARK=$5
TILE_PATH=$4
[LAYER_1]
TILE_COUNT_X=2
TILE_COUNT_Y=1
END
}

# cut NAME SUFFIX: one large picture, cut into tiles here; the suffix is vips' for the format.
cut() {
    local map="$demo/maps/$1"
    [ ! -f "$map/.complete" ] || return 0
    say "cut $1 into tiles"
    rm -rf "$map"
    mkdir -p "$map"
    # 4096 x 2048 halves exactly down to 512 x 256, that is two tiles.
    vips thumbnail "$earth/$1/$1.jpg" "$demo/$1.v" 4096 --height 2048 --size force
    vips dzsave "$demo/$1.v" "$map/tiles" --layout google --tile-size 256 --overlap 0 \
        --suffix "$2"
    rm -f "$demo/$1.v"
    touch "$map/.complete"
}

make_maps() {
    mkdir -p "$demo/maps/relief"
    # A pyramid that exists as files: it is only described.
    ln -sfn "$earth/srtm" "$demo/maps/relief/tiles"
    write_map relief Relief 675 \
        'tiles/{layer-1}/{row:6}/{row:6}_{column:6}.jpg' 'Height of the land, grey by height'

    cut bluemarble '.jpg[Q=90]'
    write_map bluemarble 'Blue Marble' 256 'tiles/{layer}/{row}/{column}.jpg' \
        'The Earth from space, without clouds'
}

# archive NAME ZOOM COLUMN ROW COLUMNS ROWS KEY=VALUE...: a block of web map tiles of the Blue Marble
# as build/demo/NAME.mbtiles.
archive() {
    local name=$1 zoom=$2 column=$3 row=$4 columns=$5 rows=$6
    [ ! -f "$demo/$name.mbtiles" ] || return 0
    say "make $name.mbtiles"
    local work="$demo/$name.work" picture="$earth/bluemarble/bluemarble.jpg"
    rm -rf "$work"
    mkdir -p "$work"
    "$root/tools/web_mercator.py" "$(vipsheader -f width "$picture")" \
        "$(vipsheader -f height "$picture")" "${@:2:5}" "$work/places.raw"
    vips rawload "$work/places.raw" "$work/bytes.v" $((columns * 256)) $((rows * 256)) 8
    vips copy "$work/bytes.v" "$work/places.v" --bands 2 --format float --interpretation multiband
    vips mapim "$picture" "$work/picture.v" "$work/places.v"
    vips dzsave "$work/picture.v" "$work/tiles" --layout google --tile-size 256 --overlap 0 \
        --suffix '.jpg[Q=90]'
    "$root/tools/tiles_to_mbtiles.py" "$work/tiles" "$demo/$name.mbtiles" --zoom "$zoom" \
        --column "$column" --row "$row" format=jpg 'attribution=Blue Marble: <b>NASA</b>' "${@:7}"
    rm -rf "$work"
}

make_archives() {
    # Its corner is odd at zoom level 3.
    archive europe 4 6 4 4 4 name=Europe 'description=Europe and northern Africa' \
        bounds=-45,0,45,66.5 minzoom=3 maxzoom=4
    archive world 4 0 0 16 16 name=World
    mkdir -p "$demo/archives"
    ln -sf ../europe.mbtiles "$demo/archives/europe.mbtiles"
    [ -f "$demo/archives/world.pmtiles" ] ||
        "$root/tools/mbtiles_to_pmtiles.py" "$demo/world.mbtiles" "$demo/archives/world.pmtiles"
}

make_codec_maps() {
    # WebP, which GDI+ does not know: for the decoder plug-in, if there is one.
    cut citylights '.webp[Q=85]'
    write_map citylights 'City Lights' 256 'tiles/{layer}/{row}/{column}.webp' \
        'The Earth at night, WebP tiles'
}

make_app() {
    mkdir -p "$demo/app"
    cp -ru "$build"/bin/. "$demo/app/"
    # It names no provider, so that files that are opened or dropped win. No blanks round the equals
    # signs: they would belong to the values.
    cat >"$demo/app/Terrascope.ini" <<'END'
[SplittedFileTileMapInfoProvider]
DATA_PATH=..\maps
[DBTileMapInfoProvider]
DATA_PATH=..\archives
[TILE_LOAD]
FAST=1
THREADS=4
CACHE_MB=256
CODECS=1
END
}

viewer() {
    "$root/cmake/wine-run.sh" "$build" "$demo/app/TerrascopeViewer.exe" "$@"
}

# picture NAME MAP LAYER X,Y
picture() {
    viewer --map "$2" --layer "$3" --center "$4" --size 1024x640 --snapshot "$1.png"
    printf '%s\n' "$demo/$1.png"
}

make_pictures() {
    cd "$demo"
    say "maps"
    viewer --list
    say "pictures"
    picture relief-2-europe Relief 2 12.5,47
    picture relief-2-japan Relief 2 138,36
    picture relief-4-europe Relief 4 12.5,44
    picture relief-4-japan Relief 4 138,36
    picture bluemarble-2-africa 'Blue Marble' 2 20,10
    picture bluemarble-2-america 'Blue Marble' 2 -100,30
    picture bluemarble-4-africa 'Blue Marble' 4 30,25
    picture bluemarble-4-america 'Blue Marble' 4 -90,30
    if $has_codecs; then
        picture citylights-2-europe 'City Lights' 2 20,5
        picture citylights-4-europe 'City Lights' 4 12,46
    fi
    # Files as a user opens them: the region, and the same part of the world. The centre is a whole
    # pixel of both.
    viewer europe.mbtiles --layer 4 --center 0,50.009765625 --size 1000x640 --snapshot mbtiles-4-europe.png
    viewer archives/world.pmtiles --layer 4 --center 0,50.009765625 --size 1000x640 \
        --snapshot pmtiles-4-europe.png
    cmp -s mbtiles-4-europe.png pmtiles-4-europe.png ||
        fail "two archives of one picture look different"
    picture europe-3-whole Europe 3 0,45
    picture world-1-whole World 1 0,0
    say "tour"
    viewer --map Relief --size 1024x640 --tour - <"$root/tools/demo.tour"
    printf '%s\n' "$demo"/tour-*.png
}

"$root/tools/setup.sh"
build_targets TerrascopeViewer
say "prepare the demo"
mkdir -p "$demo"
make_maps
make_archives
has_codecs=false
if [ -f "$build/bin/Plugins/Quillmont/ImageDecoder/TerrascopeCodecs.dll" ]; then
    has_codecs=true
    make_codec_maps
fi
make_app

if [ "${1:-}" = --prepare ]; then
    exit 0
fi
mode=display
if $pictures; then
    mode=virtual
fi
wine_prefix "$mode"

if ! $pictures; then
    say "the viewer; close its window to end"
    cd "$demo"
    viewer --map 'Blue Marble' --layer 3 --center 20,35
    exit 0
fi
virtual_screen "$demo"
make_pictures
say "done"
