#!/bin/bash
# Builds and runs the benchmarks under Wine: ./bench.sh [NAME ...], all without a name; "db" is
# db_bench.
# Each row is ours, the raw call measured in the same run, their ratio, and the most that is wanted;
# rows above it are named at the end. web_bench needs nginx, and is left out where there is none.
. "$(dirname "${BASH_SOURCE[0]}")/tools/common.sh"
. "$root/tools/interop/servers.sh"
"$root/tools/setup.sh"
build_targets
shopt -s nullglob
table=$(mktemp)
at_end rm -f "$table"

# serve: starts nginx over a new folder. Sets arguments: the folder, as a Windows program takes it,
# and the address of what is in it.
serve() {
    local folder="$root/build/bench-server" port
    rm -rf "$folder"
    port=$(free_ports 1)
    start_nginx "$folder" "$port"
    arguments=("Z:${folder//\//\\}\\www" "http://127.0.0.1:$port")
}

for program in "$build"/bench/*/*.exe; do
    name=$(basename "$program" .exe)
    [ $# -eq 0 ] || [[ " $* " == *" $name "* || " $* " == *" ${name%_bench} "* ]] || continue
    say "$name"
    arguments=()
    if [ "$name" = web_bench ]; then
        if [ ! -x /usr/sbin/nginx ]; then
            printf 'left out: it needs nginx, Debian package nginx-light\n'
            continue
        fi
        serve
    fi
    "$root/cmake/wine-run.sh" "$build" "$program" "${arguments[@]}" | tee -a "$table"
done
say "above the target"
awk '$(NF - 1) + 0 > $NF + 0' "$table"
