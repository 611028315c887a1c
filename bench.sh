#!/bin/bash
# Builds and runs the benchmarks under Wine: ./bench.sh [NAME ...], all without a name; "db" is
# db_bench.
# Each row is ours, the raw call measured in the same run, their ratio, and the most that is wanted;
# rows above it are named at the end.
. "$(dirname "${BASH_SOURCE[0]}")/tools/common.sh"
"$root/tools/setup.sh"
build_targets
shopt -s nullglob
table=$(mktemp)
at_end rm -f "$table"
for program in "$build"/bench/*/*.exe; do
    name=$(basename "$program" .exe)
    [ $# -eq 0 ] || [[ " $* " == *" $name "* || " $* " == *" ${name%_bench} "* ]] || continue
    say "$name"
    "$root/cmake/wine-run.sh" "$build" "$program" | tee -a "$table"
done
say "above the target"
awk '$(NF - 1) + 0 > $NF + 0' "$table"
