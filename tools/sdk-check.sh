#!/bin/bash
# Installs the SDK into build/sdk and uses it as its readers do: each header compiles alone, the
# links of the documents lead somewhere, each module carries its version and names its symbols, and
# the examples are built from the SDK and run. Nothing of the repository is used but the toolchain
# file and Wine's start.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
"$root/tools/setup.sh"
build_targets sdk wine_prestart
sdk="$root/build/sdk"
work="$root/build/sdk-check"
log="$work/install.log"

failed=false
complain() {
    printf '%s\n' "$1" >&2
    failed=true
}
# stop_if_failed: ends a step that has looked at all there is.
stop_if_failed() {
    ! $failed || fail "failed: $step"
}

say "install the SDK"
rm -rf "$sdk" "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$sdk" >"$log" 2>&1 ||
    fail "installing failed: $(tail -n 5 "$log")"

say "each installed header compiles alone"
(
    cd "$sdk/include"
    # From an including file: GCC warns of "#pragma once" in the file that it is given.
    find . -name '*.h' -printf '%P\n' | xargs -d '\n' -n 1 -P "$(nproc)" sh -c '
        printf "#include <%s>\n" "$1" | x86_64-w64-mingw32-g++-posix -fsyntax-only -x c++ \
            -std=c++20 -Wall -Wextra -Wpedantic -Werror \
            -DWINVER=0x0A00 -D_WIN32_WINNT=0x0A00 -DNOMINMAX -D_MBCS -I. -Iframework -' compile
) || fail "a header needs what is not in the SDK"

say "links and headers that the documents name"
while IFS=: read -r document link; do
    [ -e "$(dirname "$document")/$link" ] || complain "${document#"$sdk"/} links to $link"
done < <(grep -oHP '\]\(\K(?!https?:)[^)#]+' -r "$sdk" --include='*.md')
while IFS=: read -r document header; do
    [ -e "$sdk/include/$header" ] || complain "${document#"$sdk"/} names <$header>"
done < <(grep -oHP '<\Kterrascope/[^>]+' -r "$sdk" --include='*.md')
stop_if_failed

say "version and symbols of each module"
version=$(sed -n 's/^project(Terrascope VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
while read -r module; do
    name=${module#"$sdk/bin/"}
    case $name in lib*.dll) continue ;; esac
    x86_64-w64-mingw32-windres -i "$module" -J coff -O rc 2>/dev/null |
        grep -A 20 '"ProductVersion"' | grep -q "\"$version" || complain "$name has no version $version"
    sections=$(x86_64-w64-mingw32-objdump -h "$module")
    [[ $sections != *.debug_info* ]] || complain "$name still holds its debug information"
    [[ $sections == *.gnu_debuglink* ]] || complain "$name names no file with its symbols"
    [[ $(x86_64-w64-mingw32-objdump -h "$sdk/symbols/$name.debug") == *.debug_info* ]] ||
        complain "symbols/$name.debug holds no debug information"
done < <(find "$sdk/bin" -name '*.dll' -o -name '*.exe')
stop_if_failed

# build_example NAME: with the SDK alone, from the sources that the SDK brings.
build_example() {
    say "build $1"
    cmake -S "$sdk/examples/$1" -B "$work/$1" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DTerrascope_DIR="$sdk/lib/cmake/Terrascope" >"$work/$1.log" 2>&1 &&
        cmake --build "$work/$1" >>"$work/$1.log" 2>&1 ||
        fail "the example $1 cannot be built: $(tail -n 20 "$work/$1.log")"
}
build_example checkerboard_provider
build_example minimal_host

say "run minimal_host with the sample provider"
cp "$work/checkerboard_provider/CheckerboardProvider.dll" \
    "$work/minimal_host/Plugins/Quillmont/TileMapInfoProvider/"
# The build's own DLLs must not help out: the folder where wine-run.sh looks for them has none.
mkdir "$work/empty"
cp "$build/wine_prestart.exe" "$work/empty/"
TERRASCOPE_WINEPREFIX="$build/wineprefix" timeout 120 env -u DISPLAY \
    "$root/cmake/wine-run.sh" "$work/empty" "$work/minimal_host/MinimalHost.exe" --check ||
    fail "the example does not show the sample provider's map"
printf 'sdk-check.sh: all checks passed\n'
