# The demo's Earth by way of servers that others have written; to be sourced by interop.sh, whose
# names it uses.

# tour NAME ARGUMENT...: two pictures of a map, NAME-africa.png and NAME-south.png.
tour() {
    "$root/cmake/wine-run.sh" "$build" "$build/bin/TerrascopeViewer.exe" "${@:2}" \
        --size 700x500 --tour - >"$work/$1.json" <<END
layer 4
center 20,10
wait
snapshot $1-africa.png
layer 2
center 140,-40
wait
snapshot $1-south.png
END
    ! grep -q timed_out "$work/$1.json" || fail "a picture took too long, see $work/$1.json"
}

# road NAME WHAT ARGUMENT...: the map's pictures are those of the files, or of the archive that GDAL
# made: its coarser levels are thinned out by another tool.
road() {
    local name=$1 what=$2 place files=files
    [[ $name != archive* ]] || files=local
    tour "$name" "${@:3}"
    for place in africa south; do
        cmp -s "$files-$place.png" "$name-$place.png" ||
            fail "$name-$place.png differs from $files-$place.png (in $work/pictures)"
        pictures=$((pictures + 1))
    done
    printf '%s: the same pixels as from files\n' "$what"
}

# log_since LINE: what the web provider has logged behind that line.
web_log="$build/bin/log/WebTileMapInfoProvider/WebTileMapInfoProvider.log"
log_since() {
    tail -n "+$(($1 + 1))" "$web_log"
}

# kept ROAD: the one file that was kept of it.
kept() {
    local files=("$work/kept/$1/kept"/*.mbtiles)
    [ ${#files[@]} -eq 1 ] && [ -f "${files[0]}" ] || fail "one file should be kept: ${files[*]}"
    printf '%s\n' "${files[0]}"
}

# is_world: GDAL's description of a file is that of zoom level 4 of the world.
is_world() {
    /usr/bin/python3 -c '
import json, sys
info = json.load(sys.stdin)
half = 20037508.34
corners = info["cornerCoordinates"]["upperLeft"] + info["cornerCoordinates"]["lowerRight"]
print("GDAL:", info["size"], "pixels over", corners)
same = all(abs(a - b) < 1 for a, b in zip(corners, [-half, half, half, -half]))
sys.exit(0 if same and info["size"] == [4096, 4096] else 1)'
}

compare_servers() {
    local web="$work/nginx" plain secure proxy nginx mapproxy lines road what
    say "start nginx and MapProxy"
    rm -rf "$web" "$work/mapproxy" "$work/kept"
    mkdir -p "$web/www" "$work/pictures"
    cd "$work/pictures"
    ln -s "$work/folders/world/tiles" "$web/www/tiles"
    ln -s "$maps/world.pmtiles" "$web/www/world.pmtiles"
    cat >"$web/www/world.json" <<'END'
{"tilejson": "3.0.0", "name": "world-xyz", "minzoom": 1, "maxzoom": 4,
 "tiles": ["tiles/{z}/{x}/{y}.png"]}
END
    read -r plain secure proxy <<<"$(free_ports 3)"
    start_nginx "$web" "$plain" "$secure"
    nginx=$server
    start_mapproxy "$work/mapproxy" "$proxy" world-proxy \
        "http://127.0.0.1:$plain/tiles/%(z)s/%(x)s/%(y)s.png"
    mapproxy=$server

    # What leads to each, and where it is kept. The levels of MapProxy's TMS addresses count from the
    # second one on, which no template can express; those of its tile service are the same rows from
    # the south, counted from the first.
    local -A address=(
        [xyz]="http://127.0.0.1:$plain/world.json"
        [archive]="http://127.0.0.1:$plain/world.pmtiles"
        [wmts]="http://127.0.0.1:$proxy/wmts/1.0.0/WMTSCapabilities.xml"
        [rows]="http://127.0.0.1:$proxy/tiles/world-proxy/webmercator/{z}/{x}/{-y}.png?origin=sw#maxzoom=4"
        [stale]="http://127.0.0.1:$plain/stale/world.json"
    )
    local -A title=(
        [xyz]="TileJSON and tiles of nginx"
        [archive]="PMTiles archive by nginx"
        [wmts]="WMTS of MapProxy"
        [rows]="MapProxy's tiles with rows from the south"
        [stale]="tiles of nginx that are out of date at once"
    )

    say "compare servers with files"
    tour files --data "LOCAL=${folders[0]},..\\..\\interop\\${folders[1]}" --map world-folder
    tour local --data "LOCAL=${archives[0]},..\\..\\interop\\${archives[1]}" --map world-pmtiles
    [ "$(stat -c %s files-africa.png)" -gt 20000 ] || fail "files-africa.png is nearly empty"
    for road in xyz archive wmts rows stale; do
        road "$road" "${title[$road]}" --keep "../kept/$road" "${address[$road]}"
    done
    grep -q '^206 /world.pmtiles' "$web/access.log" || fail "nginx delivered no range of the archive"

    say "a certificate that nobody vouches for"
    lines=$(wc -l <"$web_log")
    if viewer "${folders[@]}" --keep - --list "https://127.0.0.1:$secure/world.json" \
        2>"$work/refused.log"; then
        fail "a server with a certificate of its own was believed"
    fi
    log_since "$lines" | grep -i certificate || fail "the log does not name the certificate: $web_log"

    say "tiles that are out of date"
    lines=$(wc -l <"$web/access.log")
    road stale-again "asked for again" --keep ../kept/stale "${address[stale]}"
    tail -n "+$((lines + 1))" "$web/access.log" | grep -q '^304 /stale/tiles' ||
        fail "nginx was not asked whether its tiles have changed"

    say "compare kept tiles with files"
    stop_server "$nginx"
    stop_server "$mapproxy"
    for road in xyz archive wmts rows stale; do
        road "$road-kept" "${title[$road]}, without a server" --keep "../kept/$road" \
            "${address[$road]}"
    done
    grep -q '"server":"offline, from kept tiles' "$work/xyz-kept.json" ||
        fail "the viewer does not show that there is no server, see $work/xyz-kept.json"
    for road in xyz archive wmts rows; do
        gdalinfo -json "$(kept "$road")" | is_world || fail "$(kept "$road") is no map of the world"
        road "$road-file" "the kept file of: ${title[$road]}" \
            "../kept/$road/kept/$(basename "$(kept "$road")")"
    done
}

