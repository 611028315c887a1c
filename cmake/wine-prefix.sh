#!/bin/sh
# Makes a Wine prefix for tests and for runs without a display: wine-prefix.sh FOLDER [MODE]
# MODE "null" (default): windows, messages and painting work, nothing needs a display.
# MODE "display": windows are real windows of the display that DISPLAY names.
# MODE "virtual": the same for a display without a window manager, such as Xvfb's.
set -eu
prefix=$1
mode=${2:-null}
[ -f "$prefix/.ready" ] && exit 0

rm -rf "$prefix"
mkdir -p "$prefix"
export WINEPREFIX="$prefix" WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe,winedbg.exe="
export WINELOADER=/usr/lib/wine/wine64
unset DISPLAY
"$WINELOADER" wineboot -i

add() { "$WINELOADER" reg add "$1" /v "$2" /t "$3" /d "$4" /f; }
if [ "$mode" = null ]; then
    add 'HKCU\Software\Wine\Drivers' Graphics REG_SZ null
elif [ "$mode" = virtual ]; then
    # Without a window manager Wine would wait for one at each dialog's end.
    add 'HKCU\Software\Wine\X11 Driver' Managed REG_SZ N
fi
add 'HKCU\Software\Wine\WineDbg' ShowCrashDialog REG_DWORD 0
add 'HKCU\Software\Wine\WineBrowser' Browsers REG_SZ /bin/true
# What people look at wants Chinese letters, too; the tests want what they were written with.
dialogs='WenQuanYi Micro Hei'
[ "$mode" != null ] || dialogs='DejaVu Sans'
for face in Tahoma 'Microsoft Sans Serif' 'MS Shell Dlg'; do
    add 'HKCU\Software\Wine\Fonts\Replacements' "$face" REG_SZ "$dialogs"
done
for face in Arial 'Times New Roman' 'Courier New'; do
    add 'HKCU\Software\Wine\Fonts\Replacements' "$face" REG_SZ 'DejaVu Sans'
done
add 'HKCU\Software\Wine\Fonts\Replacements' SimSun REG_SZ 'WenQuanYi Micro Hei'
/usr/lib/wine/wineserver64 -k || true
/usr/lib/wine/wineserver64 -w || true

# 600 MB of copied system files become links: the prefix is quick to make and to copy.
builtin=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows
for file in "$prefix"/drive_c/windows/system32/*; do
    name=$(basename "$file")
    if [ -f "$builtin/$name" ] && cmp -s "$file" "$builtin/$name"; then
        ln -sf "$builtin/$name" "$file"
    fi
done
# Else a newer Wine would update the prefix and write through the links.
echo disable >"$prefix/.update-timestamp"
touch "$prefix/.ready"
