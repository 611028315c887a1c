#!/bin/bash
# Fetches the sources of the image libraries in TerrascopeCodecs.dll from the distribution, as it
# offers them and as apt authenticates them, and builds them for Windows once, in
# build/codec-libraries. tools/setup.sh calls it. Does nothing, and needs no network, when they are
# there. Ends with a message and without a failure when they cannot be had: the rest of the build
# does without that DLL.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
place="$root/build/codec-libraries"
# What was built by another version of this script is built again.
key=$(sha256sum "${BASH_SOURCE[0]}" "$root/cmake/mingw-w64.cmake" | sha256sum)
is_there() { [ "$(cat "$place/.complete" 2>/dev/null)" = "$key" ]; }
is_there && exit 0

mkdir -p "$root/build"
exec 9>"$place.lock"
flock 9
is_there && exit 0
log="$place.log"
flags="-fstack-protector-strong"

# fetch PACKAGE FOLDER: the package's newest source that the machine's own package servers offer.
fetch() {
    (cd sources && apt-get "${apt[@]}" -qq source "$1")
    mv sources/"$1"-*/ "$2"
}

# name_servers: the package servers of this machine, as places of sources. Which of them are the
# distribution's is in the package lists only.
name_servers() {
    local keyring=/usr/share/keyrings/debian-archive-keyring.gpg option=
    [ ! -e $keyring ] || option="[signed-by=$keyring] "
    apt-get indextargets 'Created-By: Packages' 'Origin: Debian' \
        --format "deb-src $option\$(SITE) \$(RELEASE) \$(COMPONENT)" | sort -u >sources.list
    [ -s sources.list ]
}

use_servers() {
    if ! name_servers; then
        local as_root=()
        [ "$(id -u)" -eq 0 ] || as_root=(sudo)
        "${as_root[@]}" apt-get -qq update
        name_servers
    fi
    mkdir -p lists/partial cache sources
    apt=(-o Dir::Etc::SourceList="$PWD/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o Dir::State::Lists="$PWD/lists" -o Dir::Cache="$PWD/cache"
        -o Acquire::Retries=1 -o Acquire::http::Timeout=20)
    apt-get "${apt[@]}" -qq update
}

# with_cmake FOLDER TARGET OPTION...: one library of a project that is built with CMake.
with_cmake() {
    cmake -G Ninja -S "$1" -B "$1/out" -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="$flags" \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$place" "${@:3}"
    cmake --build "$1/out" --target "$2" --parallel "$(nproc)"
}

# compile LIBRARY SOURCE...: one of plain C files.
compile() {
    mkdir -p "$1.objects"
    printf '%s\n' "${@:2}" | xargs -n 1 -P "$(nproc)" sh -c '
        x86_64-w64-mingw32-gcc-posix -O3 -DNDEBUG '"$flags"' -Izlib -c "$1" \
            -o "'"$1"'.objects/$(basename "$1" .c).o"' compile
    x86_64-w64-mingw32-ar rcs "lib/lib$1.a" "$1".objects/*.o
}

build_all() {
    set -e
    rm -rf "$place"
    mkdir -p "$place/include/webp" "$place/lib"
    cd "$place"
    use_servers
    fetch libjpeg-turbo jpeg
    fetch libwebp webp
    fetch zlib zlib
    fetch libspng spng

    with_cmake jpeg jpeg-static -DENABLE_SHARED=0 -DWITH_TURBOJPEG=0 -DWITH_ARITH_ENC=0 \
        -DWITH_ARITH_DEC=0 -DREQUIRE_SIMD=1
    with_cmake webp webpdecoder -DBUILD_SHARED_LIBS=0 -DWEBP_USE_THREAD=0 \
        -DWEBP_BUILD_{ANIM_UTILS,CWEBP,DWEBP,GIF2WEBP,IMG2WEBP,VWEBP,WEBPINFO,WEBPMUX,EXTRAS}=0
    compile z zlib/{adler32,crc32,inflate,inffast,inftrees,zutil,deflate,trees,compress}.c
    compile spng spng/spng/spng.c

    cp jpeg/out/libjpeg.a webp/out/libwebpdecoder.a lib/
    cp jpeg/out/jconfig.h jpeg/{jpeglib,jmorecfg,jerror}.h zlib/{zlib,zconf}.h spng/spng/spng.h \
        include/
    cp webp/src/webp/{decode,types}.h include/webp/
    rm -rf sources lists cache ./*.objects ./*/out
    printf '%s' "$key" >.complete
}

say "fetch and build the image libraries (once, about a minute)"
# In a shell of its own: there, a failed command ends the work, not this script.
(build_all) >"$log" 2>&1 &
if ! wait $!; then
    tail -n 5 "$log" >&2
    printf 'the image libraries could not be fetched or built: TerrascopeCodecs.dll is left out (%s)\n' \
        "$log" >&2
fi
