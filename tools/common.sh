# Shared by the scripts; to be sourced. Gives: root (the repository), say, fail, and a message that
# names the step that failed when a script ends early.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build/release"
step="start"

say() {
    step=$1
    printf '== %s\n' "$1"
}

fail() {
    trap - EXIT
    printf '%s: %s\n' "$(basename "$0")" "$1" >&2
    exit 1
}

report_end() {
    local code=$?
    [ $code -eq 0 ] || printf '%s: stopped in the step "%s" (exit code %d)\n' \
        "$(basename "$0")" "$step" $code >&2
}
trap report_end EXIT

# Configures and builds: build_targets [TARGET ...], everything without arguments.
build_targets() {
    local options=()
    [ $# -eq 0 ] || options=(--target "$@")
    mkdir -p "$root/build"
    say "configure"
    cmake --preset release -S "$root" -B "$build" >"$build.configure.log" 2>&1 || {
        tail -n 30 "$build.configure.log" >&2
        fail "configuring failed, the whole log is $build.configure.log"
    }
    say "build"
    cmake --build "$build" --parallel "$(nproc)" "${options[@]}"
}
