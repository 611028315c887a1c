#!/bin/sh
# Runs a Windows program under Wine: wine-run.sh BUILD_DIR PROGRAM.exe [ARG ...]
# The prefix lies in the build folder and is made at the first call. The build's DLLs are found.
set -eu
build=$1
shift
here=$(dirname "$0")

export WINEPREFIX="${TERRASCOPE_WINEPREFIX:-$build/wineprefix}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINELOADER=/usr/lib/wine/wine64
export WINESERVER=/usr/lib/wine/wineserver64
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
export WINEPATH="${WINEPATH:+$WINEPATH;}$build/bin"
[ -n "${TERRASCOPE_WINEPREFIX:-}" ] || unset DISPLAY

mkdir -p "$(dirname "$WINEPREFIX")"
lock="$WINEPREFIX.lock"
if [ ! -f "$WINEPREFIX/.ready" ]; then
    # flock -o: the server must not inherit the lock, nor the caller's pipes (CTest would wait).
    flock -o "$lock" sh "$here/wine-prefix.sh" "$WINEPREFIX" </dev/null >"$WINEPREFIX.log" 2>&1 ||
        { echo "wine-run: the Wine prefix could not be made, see $WINEPREFIX.log" >&2; exit 1; }
fi
# The first Windows process, and the first window, start services that would hold the caller's pipes
# open: start a server that stays for two idle minutes, and those, with no pipes of ours.
prestart() {
    if [ -f "$build/wine_prestart.exe" ]; then
        "$WINELOADER" "$build/wine_prestart.exe"
    else
        "$WINELOADER" cmd /c exit
    fi
}
(
    flock 9
    "$WINESERVER" -p120 9>&- && prestart 9>&-
) </dev/null >/dev/null 2>&1 9>"$lock" || true
exec "$WINELOADER" "$@"
