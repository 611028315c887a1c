#!/bin/bash
# Installs what building, testing and the demo need on Debian 12 or a system like it.
#   tools/setup.sh             compiler, Wine, libraries, test data; builds the image libraries
#   tools/setup.sh --check     the tools of tools/check.sh as well
#   tools/setup.sh --pictures  what tools/screenshots.sh needs as well
# Does nothing, and needs no network, when everything is there already.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# What must exist, and the package that brings it.
needed=(
    /usr/bin/cmake cmake
    /usr/bin/ninja ninja-build
    /usr/bin/x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
    /usr/bin/x86_64-w64-mingw32-windres binutils-mingw-w64-x86-64
    /usr/x86_64-w64-mingw32/include/windows.h mingw-w64-x86-64-dev
    /usr/bin/nasm nasm
    /usr/bin/dpkg-source dpkg-dev
    /usr/lib/wine/wine64 wine64
    /usr/lib/x86_64-linux-gnu/libXcursor.so.1 libxcursor1
    /usr/lib/x86_64-linux-gnu/libXrender.so.1 libxrender1
    /usr/bin/Xvfb xvfb
    /usr/bin/flock util-linux
    /usr/include/spdlog/spdlog.h libspdlog-dev
    /usr/include/fmt/core.h libfmt-dev
    /usr/include/nlohmann/json.hpp nlohmann-json3-dev
    /usr/x86_64-w64-mingw32/lib/libz.a libz-mingw-w64-dev
    /usr/src/googletest/CMakeLists.txt googletest
    /usr/share/i18n/locales/zh_CN locales
    /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf fonts-dejavu-core
    /usr/share/fonts/truetype/wqy/wqy-microhei.ttc fonts-wqy-microhei
    /usr/share/marble/data/maps/earth/srtm/srtm.dgml marble-qt-data
    /usr/bin/vips libvips-tools
    /usr/bin/python3 python3
)
for_checks=(
    /usr/bin/git git
    /usr/bin/clang-format-14 clang-format-14
    /usr/bin/clang-tidy-14 clang-tidy-14
    /usr/bin/clang++-14 clang-14
    /usr/bin/cppcheck cppcheck
)
for_pictures=(
    /usr/bin/import imagemagick
    /usr/bin/xdotool xdotool
)
case "${1:-}" in
    "") ;;
    --check) needed+=("${for_checks[@]}") ;;
    --pictures) needed+=("${for_pictures[@]}") ;;
    *) fail "unknown option $1; there are --check and --pictures" ;;
esac

# npm brings SQLite, once.
[ -e "$root/build/third-party/sqlite/fetched" ] || needed+=(/usr/bin/npm npm)

missing=()
for ((i = 0; i < ${#needed[@]}; i += 2)); do
    [ -e "${needed[i]}" ] || missing+=("${needed[i + 1]}")
done
# GBK texts are tested under this locale; Wine derives the active code page from it.
locale_missing=false
locale -a 2>/dev/null | grep -qix 'zh_CN\.utf-\?8' || locale_missing=true

build_codec_libraries() {
    # An image decoder more or less stops nobody: a failure there is reported and no more.
    "$root/tools/codec-libraries.sh"
}

if [ ${#missing[@]} -eq 0 ] && ! $locale_missing; then
    "$root/tools/fetch-sqlite.sh"
    build_codec_libraries
    exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
        fail "these Debian packages are missing and installing them needs root or sudo: ${missing[*]:-} (and the locale zh_CN.UTF-8)"
    as_root=(sudo)
fi
if [ ${#missing[@]} -gt 0 ]; then
    command -v apt-get >/dev/null ||
        fail "no apt-get here; install what these Debian packages contain: ${missing[*]}"
    say "install ${missing[*]}"
    apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0)
    # A list of one source that cannot be fetched need not matter: if it does, the installation fails.
    "${apt[@]}" update || printf 'setup.sh: the package lists could not all be fetched\n' >&2
    "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null ||
        fail "the packages could not be installed (is the network there?): ${missing[*]}"
fi
if $locale_missing; then
    say "generate the locale zh_CN.UTF-8"
    "${as_root[@]}" localedef -i zh_CN -f UTF-8 zh_CN.UTF-8
fi
"$root/tools/fetch-sqlite.sh"
build_codec_libraries
