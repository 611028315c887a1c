#!/bin/bash
# How long a view of 1920 x 1080 pixels takes to be complete, from the same 48 tile files: this
# library under Wine beside a native desktop map control of the distribution, on one virtual screen.
# Prints both times and their ratio. Not part of the set-up: it installs what it needs by itself.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
runs=${1:-21}
"$root/tools/setup.sh"
needed=(libosmgpsmap-1.0-dev gcc pkg-config)
if ! dpkg -s "${needed[@]}" >/dev/null 2>&1; then
    say "install ${needed[*]}"
    DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends "${needed[@]}" \
        >/dev/null || fail "the packages could not be installed: ${needed[*]}"
fi
build_targets peer_view wine_prestart
work="$root/build/peers"
rm -rf "$work"
mkdir -p "$work"
say "build the peer"
# shellcheck disable=SC2046
gcc -O2 -Wall -Wextra -o "$work/peer" "$root/tools/peers/peer.c" \
    $(pkg-config --cflags --libs osmgpsmap-1.0 gtk+-3.0) -lm
wine_prefix virtual
virtual_screen "$work" 1920x1080x24
say "show 48 tiles"
# Ours writes the files that it shows for the other, and the corner of its view among them.
"$root/cmake/wine-run.sh" "$build" "$build/peer_view/peer_view.exe" \
    "Z:${work//\//\\}\\tiles" "$runs" >"$work/ours.txt"
read -r ours left top <"$work/ours.txt"
peer=$("$work/peer" "$work/tiles" "$left" "$top" "$runs")
awk -v ours="$ours" -v peer="$peer" 'BEGIN {
    printf "this library                 %8.1f ms\n", ours / 1000
    printf "the peer                     %8.1f ms\n", peer / 1000
    printf "ratio (wanted: at most 0.9)  %8.2f\n", ours / peer
}'
