#!/bin/bash
# Fetches SQLite's amalgamation into build/third-party/sqlite, as tools/sqlite.lock pins it. Does
# nothing, and needs no network, when that very version is there.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/sqlite.lock"
folder="$root/build/third-party/sqlite"
[ "$(cat "$folder/fetched" 2>/dev/null)" != "$integrity" ] || exit 0

say "fetch SQLite ($package)"
command -v npm >/dev/null || fail "npm is needed to fetch SQLite; tools/setup.sh installs it"
mkdir -p "$root/build/third-party"
work=$(mktemp -d "$root/build/third-party/fetch.XXXXXX")
at_end rm -rf "$work"
(cd "$work" && npm pack --silent --ignore-scripts "$package" >/dev/null) ||
    fail "npm could not fetch $package (is the network there?)"
archives=("$work"/*.tgz)
fetched=$(sha512sum "${archives[0]}" | cut -d ' ' -f 1)
pinned=$(base64 -d <<<"${integrity#sha512-}" | od -An -v -tx1 | tr -d ' \n')
[ "$fetched" = "$pinned" ] || fail "$package is not what tools/sqlite.lock pins: SHA-512 $fetched"
tar -xzf "${archives[0]}" -C "$work" --strip-components 3 \
    package/deps/sqlite3/sqlite3.c package/deps/sqlite3/sqlite3.h
rm "${archives[0]}"
printf '%s\n' "$integrity" >"$work/fetched"
# In one step: an interrupted run leaves nothing that looks whole.
rm -rf "$folder"
mv "$work" "$folder"
