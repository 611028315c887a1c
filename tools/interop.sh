#!/bin/bash
# Has other programs make archives of the demo's Earth (GDAL: MBTiles, GeoPackage, a tiler's folder),
# shows them with the library, and compares the pictures; has another reader (the npm package
# "pmtiles") compare the tiles of PMTiles archives; has other servers (nginx, MapProxy) deliver the
# same Earth, with them and without. No part of the set-up: it installs GDAL and these servers.
#   tools/interop.sh [--servers]   --servers: the servers alone, with the archives of the last run
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/interop/servers.sh"
. "$root/tools/interop/roads.sh"
work="$root/build/interop"
maps="$work/maps"
earth=/usr/share/marble/data/maps/earth/bluemarble/bluemarble.jpg

case "${1:-}" in
    "") archives_too=true ;;
    --servers) archives_too=false ;;
    *) fail "unknown option $1; the only one is --servers" ;;
esac

"$root/tools/setup.sh"
missing=()
command -v gdal_translate >/dev/null || missing+=(gdal-bin)
[ -e /usr/bin/gdal2tiles.py ] || missing+=(python3-gdal)
command -v npm >/dev/null || missing+=(npm)
[ -x /usr/sbin/nginx ] || missing+=(nginx-light)
command -v mapproxy-util >/dev/null || missing+=(mapproxy)
command -v openssl >/dev/null || missing+=(openssl)
[ ${#missing[@]} -eq 0 ] || install_packages "${missing[@]}"
build_targets TerrascopeViewer

quiet() {
    "$@" >>"$work/gdal.log" 2>&1 || fail "$1 failed, see $work/gdal.log"
}

make_archives() {
    say "make archives"
    rm -rf "$maps" "$work/pictures"
    mkdir -p "$maps" "$work/pictures"
    # Zoom level 4 of the world exactly: 16 x 16 tiles of 256 pixels.
    half=20037508.342789244
    quiet gdal_translate -a_srs EPSG:4326 -a_ullr -180 90 180 -90 "$earth" "$work/degrees.vrt"
    quiet gdalwarp -overwrite -t_srs EPSG:3857 -te -$half -$half $half $half -ts 4096 4096 -r bilinear \
        "$work/degrees.vrt" "$work/world.tif"
    # Zoom level 4 again: 4 x 4 tiles whose corner is odd at zoom level 3, and even at 4.
    quiet gdalwarp -overwrite -t_srs EPSG:3857 -te -5009377.085697311 2504688.5428486555 \
        5009377.085697311 12523442.714243278 -ts 1024 1024 -r bilinear \
        "$work/degrees.vrt" "$work/region.tif"

    for name in world region; do
        levels=(2 4 8)
        [ $name = world ] || levels=(2)
        quiet gdal_translate -of MBTILES -co TILE_FORMAT=PNG -co NAME=$name-mbtiles \
            -co DESCRIPTION="The <i>Earth</i>" "$work/$name.tif" "$maps/$name.mbtiles"
        quiet gdaladdo -r nearest "$maps/$name.mbtiles" "${levels[@]}"
        quiet gdal_translate -of GPKG -co TILING_SCHEME=GoogleMapsCompatible -co TILE_FORMAT=PNG \
            -co RASTER_TABLE=$name -co RASTER_IDENTIFIER=$name-gpkg "$work/$name.tif" "$maps/$name.gpkg"
        quiet gdaladdo -r nearest "$maps/$name.gpkg" "${levels[@]}"
        "$root/tools/mbtiles_to_pmtiles.py" --name $name-pmtiles \
            "$maps/$name.mbtiles" "$maps/$name.pmtiles"
        "$root/tools/mbtiles_to_pmtiles.py" --name $name-leaves --leaf-size 8 \
            "$maps/$name.mbtiles" "$maps/$name-leaves.pmtiles"
    done
    # A grid of its own, in degrees and in metres of a zone; several tables in a file.
    quiet gdal_translate -of GPKG -co TILE_FORMAT=JPEG -co RASTER_TABLE=degrees \
        "$work/degrees.vrt" "$maps/several.gpkg"
    quiet gdaladdo -r average "$maps/several.gpkg" 2 4
    quiet gdalwarp -overwrite -t_srs EPSG:25832 -te 0 5000000 1024000 6024000 -ts 1000 1000 \
        "$work/degrees.vrt" "$work/zone.tif"
    quiet gdal_translate -of GPKG -co APPEND_SUBDATASET=YES -co RASTER_TABLE=zone "$work/zone.tif" \
        "$maps/several.gpkg"
    mkdir -p "$work/folders/world"
    quiet gdal2tiles.py --xyz -q -z 1-4 -r near --processes=1 "$work/world.tif" "$work/folders/world/tiles"
    cat >"$work/folders/world/map.ini" <<'END'
[MAP]
NAME=world-folder
TILE_FORMAT=png
FIRST_LAYER=1
LAYER_COUNT=4
LONGITUDE_START=-180
LATITUDE_START=-180
LONGITUDE=360
LATITUDE=360
TILE_PATH=tiles/{layer}/{column}/{row}.png
[LAYER_1]
TILE_COUNT_X=2
TILE_COUNT_Y=2
END
}

# viewer PROVIDER FOLDER ARGUMENT...
viewer() {
    "$root/cmake/wine-run.sh" "$build" "$build/bin/TerrascopeViewer.exe" \
        --data "LOCAL=$1,..\\..\\interop\\$2" "${@:3}"
}
archives=(DBTileMapInfoProvider maps)
folders=(SplittedFileTileMapInfoProvider folders)

pictures=0
# same NAME LAYER X,Y MAP...: the picture of each map, by its provider, is the first one's.
same() {
    local first="" map file
    for map in "${@:4}"; do
        file="$map-$1.png"
        local source=("${archives[@]}")
        [[ $map != *-folder ]] || source=("${folders[@]}")
        viewer "${source[@]}" --map "$map" --layer "$2" --center "$3" --size 700x500 \
            --snapshot "$file" >/dev/null
        if [ -z "$first" ]; then
            first=$file
            # A picture of nothing would be equal too.
            [ "$(stat -c %s "$file")" -gt 20000 ] || fail "$file is nearly empty"
        else
            cmp -s "$first" "$file" || fail "$file differs from $first (in $work/pictures)"
        fi
        pictures=$((pictures + 1))
    done
    printf '%s, layer %s: the same pixels from %s\n' "$1" "$2" "${*:4}"
}

compare_archives() {
    say "maps"
    viewer "${archives[@]}" --list
    viewer "${folders[@]}" --list

    say "compare tiles with the package pmtiles"
    cp "$root"/tools/interop/package*.json "$work/"
    (cd "$work" && npm ci --silent --ignore-scripts >/dev/null) || fail "npm could not install pmtiles"
    for name in world region; do
        /usr/bin/python3 - "$maps/$name.mbtiles" >"$work/$name.list" <<'END'
import hashlib, random, sqlite3, sys
database = sqlite3.connect(sys.argv[1])
tiles = database.execute("SELECT zoom_level, tile_column, tile_row, tile_data FROM tiles").fetchall()
there = {(z, x, y) for z, x, y, _ in tiles}
random.seed(1)
for zoom, x, row, data in random.sample(tiles, min(100, len(tiles))):
    print(zoom, x, 2**zoom - 1 - row, hashlib.sha256(data).hexdigest())
zoom = max(z for z, *_ in there)
for x, row in [(0, 0), (2**zoom - 1, 0)]:
    if (zoom, x, 2**zoom - 1 - row) not in there:
        print(zoom, x, row, "-")
END
        for archive in "$maps/$name.pmtiles" "$maps/$name-leaves.pmtiles"; do
            node "$root/tools/interop/compare_pmtiles.mjs" "$archive" "$work/$name.list" \
                "$work/node_modules/pmtiles/dist/esm/index.js"
        done
    done

    say "compare pictures"
    cd "$work/pictures"
    for place in africa:20,10 date-line:179,-40 north:-60,170; do
        same "${place%:*}-4" 4 "${place#*:}" \
            world-mbtiles world-gpkg world-pmtiles world-leaves world-folder
        same "${place%:*}-2" 2 "${place#*:}" world-mbtiles world-pmtiles world-leaves
    done
    for place in alps:10,50 corner:-40,28; do
        same "region-${place%:*}-4" 4 "${place#*:}" region-mbtiles region-gpkg region-pmtiles region-leaves
        same "region-${place%:*}-3" 3 "${place#*:}" region-mbtiles region-pmtiles region-leaves
    done
    viewer "${archives[@]}" --map degrees --layer 2 --center 10,45 --size 700x500 --snapshot degrees.png
    viewer "${archives[@]}" --map zone --layer 2 --center 500000,5500000 --size 700x500 --snapshot zone.png
    say "all $pictures pictures are as they should be"
}

pictures=0
if $archives_too; then
    make_archives
    compare_archives
fi
compare_servers
say "all $pictures pictures are as they should be"
