# Shared by the scripts; to be sourced. Gives: root (the repository), build, say, fail, at_end,
# build_targets, and a message that names the step in which a script stopped.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build/release"
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

# build_targets [TARGET ...]: configures, builds; everything without arguments.
build_targets() {
    local options=()
    [ $# -eq 0 ] || options=(--target "$@")
    mkdir -p "$root/build"
    say "configure"
    (cd "$root" && cmake --preset release) >"$build.configure.log" 2>&1 || {
        tail -n 30 "$build.configure.log" >&2
        fail "configuring failed, the whole log is $build.configure.log"
    }
    say "build"
    cmake --build "$build" --parallel "$(nproc)" "${options[@]}"
}
