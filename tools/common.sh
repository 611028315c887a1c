# Shared by the scripts; to be sourced. Gives: root (the repository), preset and build (its folder;
# TERRASCOPE_PRESET=debug for the other one), say, fail, at_end, build_targets, wine_prefix,
# virtual_screen, and a message that names the step in which a script stopped.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
preset=${TERRASCOPE_PRESET:-release}
build="$root/build/$preset"
step="start"
explained=false
cleaning=()

say() {
    step=$1
    printf '== %s\n' "$1"
}

fail() {
    explained=true
    printf '%s: %s\n' "$(basename "$0")" "$1" >&2
    exit 1
}

# at_end COMMAND...: run when the script ends, however it ends.
at_end() {
    cleaning+=("$(printf '%q ' "$@")")
}

end_script() {
    local code=$? command
    for command in "${cleaning[@]}"; do
        eval "$command" || true
    done
    [ $code -eq 0 ] || $explained || printf '%s: stopped in the step "%s" (exit code %d)\n' \
        "$(basename "$0")" "$step" $code >&2
}
trap end_script EXIT

# build_targets [TARGET ...]: configures, builds; everything without arguments. Nothing where
# .ci/run has built everything already.
build_targets() {
    [ -z "${TERRASCOPE_IS_BUILT:-}" ] || return 0
    local options=()
    [ $# -eq 0 ] || options=(--target "$@")
    mkdir -p "$root/build"
    say "configure $preset"
    (cd "$root" && cmake --preset "$preset") >"$build.configure.log" 2>&1 || {
        tail -n 30 "$build.configure.log" >&2
        fail "configuring failed, the whole log is $build.configure.log"
    }
    say "build $preset"
    cmake --build "$build" --parallel "$(nproc)" "${options[@]}"
}

# wine_prefix MODE: the prefix for a mode of cmake/wine-prefix.sh, for wine-run.sh from here on.
wine_prefix() {
    prefix="$root/build/wineprefix-$1"
    export TERRASCOPE_WINEPREFIX="$prefix"
    flock -o "$prefix.lock" sh "$root/cmake/wine-prefix.sh" "$prefix" "$1" \
        </dev/null >"$prefix.log" 2>&1 || fail "the Wine prefix could not be made, see $prefix.log"
}

# virtual_screen FOLDER [SIZE]: a screen for this run alone, after wine_prefix; a pipe is made in the
# folder.
virtual_screen() {
    local pipe="$1/display.$$" number
    say "start a virtual screen"
    mkfifo "$pipe"
    at_end rm -f "$pipe"
    # Xvfb chooses a free number and writes it into the pipe.
    Xvfb -displayfd 3 -screen 0 "${2:-1280x1024x24}" -nolisten tcp 3>"$pipe" >/dev/null 2>&1 &
    # Wine's own processes go before the screen that they are on.
    at_end env WINEPREFIX="$prefix" /usr/lib/wine/wineserver64 -k
    at_end kill $!
    read -r -t 20 number <"$pipe" || fail "Xvfb did not start"
    export DISPLAY=":$number"
}
