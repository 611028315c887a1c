#!/bin/bash
# Makes the pictures of the dialogs in docs/images again, on a virtual screen:
#   tools/screenshots.sh [FOLDER]   into another folder, to compare
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
images=$(realpath "${1:-$root/docs/images}")
work="$root/build/screenshots"

# make_app LANGUAGE: the demo's program, in a folder per language of the prefix's own drive: the About
# box shows where it lies.
make_app() {
    app="$prefix/drive_c/$1/Terrascope"
    mkdir -p "$app"
    cp -ru "$root/build/demo/app/." "$app/"
    ln -sfn "$root/build/demo/maps" "$prefix/drive_c/$1/maps"
}

# start_viewer LANGUAGE LOCALE [ARG ...]: in the background; the library's texts are in the locale's
# code page.
start_viewer() {
    local app="$prefix/drive_c/$1/Terrascope" locale=$2
    shift 2
    LC_ALL=$locale "$root/cmake/wine-run.sh" "$build" "$app/TerrascopeViewer.exe" "$@" \
        </dev/null >"$work/viewer.log" 2>&1 &
    viewer=$!
}

stop_viewer() {
    kill "$viewer" 2>/dev/null || true
    wait "$viewer" 2>/dev/null || true
}

# window_titled TITLE: waits for the window, prints its X number.
window_titled() {
    local try found
    for ((try = 0; try < 150; try++)); do
        if found=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1) &&
            [ -n "$found" ]; then
            printf '%s\n' "$found"
            return
        fi
        sleep 0.2
    done
    import -window root "$work/screen.png"
    fail "there is no window \"$1\"; see $work/viewer.log, and the screen in $work/screen.png"
}

# picture NAME TITLE: the window's picture as soon as two in a row are the same.
picture() {
    local X Y WIDTH HEIGHT WINDOW SCREEN try id
    id=$(window_titled "$2")
    rm -f "$work/before.png"
    for ((try = 0; try < 50; try++)); do
        eval "$(xdotool getwindowgeometry --shell "$id")"
        import -window root -crop "${WIDTH}x$HEIGHT+$X+$Y" +repage -strip "$work/now.png"
        if [ -f "$work/before.png" ] &&
            compare -metric AE "$work/before.png" "$work/now.png" null: 2>/dev/null; then
            mv "$work/now.png" "$images/$1.png"
            printf '%s\n' "$images/$1.png"
            return
        fi
        mv "$work/now.png" "$work/before.png"
        sleep 0.3
    done
    fail "the window \"$2\" does not come to rest"
}

"$root/tools/setup.sh" --pictures
"$root/demo.sh" --prepare
say "prepare the program in two languages"
mkdir -p "$work"
wine_prefix virtual
make_app zh
make_app en
mkdir -p "$app/language"
cp "$root/packaging/language/Terrascope.lang" "$app/language/"
virtual_screen "$work"

say "the map selection dialog"
start_viewer zh zh_CN.UTF-8
at_end stop_viewer
picture dialog-zh '地图选择'
stop_viewer
start_viewer en C.UTF-8
picture dialog-en 'Select a Map'
stop_viewer

say "the About box"
start_viewer en C.UTF-8 --map Relief --size 640x400
frame=$(window_titled 'Relief - Terrascope Viewer')
xdotool mousemove --window "$frame" 300 300 key --delay 100 alt+h a
picture about 'About Terrascope Viewer'
stop_viewer
say "done"
