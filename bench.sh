#!/bin/bash
# Builds and runs the benchmarks under Wine: ./bench.sh [NAME ...], all without a name.
# Each row is ours, the raw call measured in the same run, and their ratio.
. "$(dirname "${BASH_SOURCE[0]}")/tools/common.sh"
"$root/tools/setup.sh"
build_targets
shopt -s nullglob
for program in "$build"/bench/*/*.exe; do
    name=$(basename "$program" .exe)
    [ $# -eq 0 ] || [[ " $* " == *" $name "* ]] || continue
    say "$name"
    "$root/cmake/wine-run.sh" "$build" "$program"
done
