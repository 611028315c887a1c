#!/bin/bash
# What a compiler does not check: format, include direction, each header on its own, lock
# annotations and clang-tidy, cppcheck, sleeps in tests; prints the size of the tests.
#   tools/check.sh          everything
#   tools/check.sh --quick  the per-file checks for files that differ from the last commit only
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"
quick=false
case "${1:-}" in
    "") ;;
    --quick) quick=true ;;
    *) fail "unknown option $1; the only one is --quick" ;;
esac
tools/setup.sh --check

rooms=(bench examples platform plugins terrascope tests viewer)
mapfile -t all < <(find "${rooms[@]}" \( -name '*.h' -o -name '*.cpp' \) -type f | sort)
if $quick; then
    mapfile -t changed < <(
        { git diff --name-only HEAD; git ls-files --others --exclude-standard; } | sort -u)
    files=()
    for file in "${all[@]}"; do
        [[ " ${changed[*]} " != *" $file "* ]] || files+=("$file")
    done
else
    files=("${all[@]}")
fi
sources=() headers=()
for file in "${files[@]}"; do
    case $file in
        *.cpp) sources+=("$file") ;;
        *.h) headers+=("$file") ;;
    esac
done

failed=()
# check NAME COMMAND...: runs it, shows its output, remembers a failure and goes on.
check() {
    say "$1"
    "${@:2}" || failed+=("$1")
}
# each COMMAND...: reads file names, runs the command once for each, on all processors.
each() {
    sed '/^$/d' | xargs -r -d '\n' -n 1 -P "$(nproc)" "$@"
}

# --- clang reads the sources with the flags of the cross build ---
gcc_dir=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
target_flags=(--target=x86_64-w64-mingw32 -nostdinc++
    -isystem "$gcc_dir/include/c++"
    -isystem "$gcc_dir/include/c++/x86_64-w64-mingw32"
    -isystem "$gcc_dir/include/c++/backward"
    -isystem /usr/x86_64-w64-mingw32/include)
lock_flags=(-Wthread-safety -Wthread-safety-beta)
header_flags=(-DWINVER=0x0A00 -D_WIN32_WINNT=0x0A00 -DNOMINMAX -D_MBCS -DTERRASCOPE_BUILD
    -I. -Iplatform/framework -isystem "$build/header-libraries")

check_format() {
    printf '%s\n' "${files[@]}" | sed '/^$/d' | xargs -r -d '\n' clang-format-14 --dry-run -Werror
}

# An include points into the same room or one further down. Of the library, the viewer and the
# examples see what the SDK gives a host, and the plug-ins what it gives their authors. Our own
# plug-ins use the logger beyond it, which is the product's alone; nothing else is to join it.
beyond_sdk='platform/lumilog/Lumilog.h'
check_includes() {
    # A grep without output is no failure: the changed files may include none of these.
    { grep -HE '^#include ["<](examples|platform|plugins|terrascope|viewer)/' \
        "${files[@]}" /dev/null || true; } | awk -F'[:"<>]' -v beyond_sdk=" $beyond_sdk " '
        function rank(path) {
            if (path ~ /^viewer\//) return 9
            if (path ~ /^plugins\//) return 8
            if (path ~ /^terrascope\/api\//) return 7
            if (path ~ /^terrascope\/display\//) return 6
            if (path ~ /^terrascope\/tiles\//) return 5
            if (path ~ /^terrascope\/providers\//) return 4
            if (path ~ /^terrascope\/support\//) return 3
            if (path ~ /^terrascope\/resources\//) return 2
            return 1
        }
        # Which part of the SDK a file may use; empty: it is part of the library.
        function reader(path) {
            if (path ~ /^(plugins|examples\/[^\/]*provider)\//) return "plugin"
            if (path ~ /^(viewer|examples)\//) return "host"
            return ""
        }
        FILENAME != "-" {
            if (split($0, word, " ") == 2) sdk[word[2]] = word[1]
            next
        }
        /^(bench|tests)\// { next }
        reader($1) != "" {
            top = $1
            sub(/\/.*/, "/", top)
            if (index($3, top) == 1 || sdk[$3] == reader($1) || sdk[$3] == "both") next
            if (top == "plugins/" && index(beyond_sdk, " " $3 " ") > 0) next
            print $1 " must not include " $3 ": packaging/sdk-headers.txt has it for no " reader($1)
            bad = 1
            next
        }
        rank($3) > rank($1) { print $1 " must not include " $3; bad = 1 }
        END { exit bad }' packaging/sdk-headers.txt -
}

check_sleeps() {
    # The one helper that waits for a condition may sleep between two looks, and the scripted
    # provider plays a slow one.
    ! grep -nE '\b(Sleep|SleepEx|sleep_for|sleep_until)\(' -r tests --include='*.cpp' --include='*.h' |
        grep -viE '^([^:]*await[^:]*|tests/fixtures/ScriptedProvider/[^:]*):'
}

# A header that its own source includes first is proved by the pass over that source.
check_headers() {
    local header source alone=()
    for header in "${headers[@]}"; do
        source=${header%.h}.cpp
        if [[ $header == tests/* || " ${sources[*]} " != *" $source "* ]] ||
            ! grep -m 1 '^#include' "$source" | grep -q "[\"/]$(basename "$header")\""; then
            alone+=("$header")
        fi
    done
    printf '%s\n' "${alone[@]}" | each clang++-14 -fsyntax-only -x c++ -std=c++20 \
        "${target_flags[@]}" "${lock_flags[@]}" -Wall -Wextra -Werror \
        -Wno-pragma-once-outside-header -Wno-unused-const-variable "${header_flags[@]}" \
        -isystem /usr/src/googletest/googletest/include -isystem /usr/src/googletest/googlemock/include
}

# tidy_file ARGUMENT... FILE: clang-tidy on one file. Nothing is done when it passed before with the
# same contents of all that it includes, the same settings and the same tool; build/tidy-cache
# remembers that.
tidy_file() {
    local file=${!#} includes key= output
    if includes=$(clang++-14 -M -x c++ -std=c++20 $include_flags "$file" 2>/dev/null); then
        key=$tidy_cache/$({
            printf '%s\n' "$@"
            clang-tidy-14 --version
            grep -F -B 2 "/$file\"" "$build/compile_commands.json"
            cat .clang-tidy $(sed 's/^[^:]*://; s/\\$//' <<<"$includes")
        } | sha256sum | cut -d ' ' -f 1)
        [ ! -e "$key" ] || return 0
    fi
    if output=$(clang-tidy-14 --quiet "$@" 2>&1); then
        [ -z "$key" ] || touch "$key"
        return 0
    fi
    printf '%s:\n%s\n' "$file" "$output" | grep -vE '^[0-9]+ warnings? |^Suppressed |^Use -'
    return 1
}

check_tidy() {
    local before=() flag
    for flag in "${target_flags[@]}"; do before+=("--extra-arg-before=$flag"); done
    for flag in "${lock_flags[@]}"; do before+=("--extra-arg=$flag"); done
    export build tidy_cache="$root/build/tidy-cache"
    export include_flags="${target_flags[*]} ${header_flags[*]}"
    export -f tidy_file
    mkdir -p "$tidy_cache"
    # The tests' macros are beyond these rules.
    printf '%s\n' "${sources[@]}" | sed '/^tests\//d; /^$/d' |
        each bash -c 'tidy_file "$@"' check_tidy -p "$build" "${before[@]}"
}

# Suppressed: it does not know va_copy; the calls of an own virtual function in a constructor and a
# destructor are meant to be the class's own; a memory stream's assignment copies the content alone.
check_cppcheck() {
    printf '%s\n' "${sources[@]}" | sed '/^tests\//d; /^$/d' | xargs -r -d '\n' cppcheck -j "$(nproc)" -q \
        --std=c++20 --platform=win64 --library=windows --enable=warning,performance,portability \
        --suppress=missingInclude --suppress=unknownMacro \
        --suppress=va_list_usedBeforeStarted --suppress=virtualCallInConstructor \
        --suppress=operatorEqVarError \
        --error-exitcode=1 -DWINVER=0x0A00 -D_MBCS -I. -Iplatform/framework
}

lines() {
    grep -chE '[^[:space:]]' "$@" /dev/null | awk '{ sum += $1 } END { print sum + 0 }'
}
print_size() {
    local of_tests=() of_code=() file
    for file in "${all[@]}"; do
        case $file in
            bench/*) ;;
            tests/*) of_tests+=("$file") ;;
            *) of_code+=("$file") ;;
        esac
    done
    local tests code
    tests=$(lines "${of_tests[@]}")
    code=$(lines "${of_code[@]}")
    printf 'code without benchmarks %d lines, tests %d lines: %d %%\n' "$code" "$tests" \
        $((code > 0 ? (tests * 100 + code / 2) / code : 0))
}

if [ ! -f "$build/compile_commands.json" ]; then
    mkdir -p "$build"
    cmake --preset release >"$build.configure.log" 2>&1 ||
        fail "configuring failed, see $build.configure.log"
fi

check "format" check_format
check "include direction" check_includes
check "no sleeping in tests" check_sleeps
check "headers stand alone" check_headers
check "locks and clang-tidy" check_tidy
check "cppcheck" check_cppcheck
say "size"
print_size

if [ ${#failed[@]} -gt 0 ]; then
    list=$(printf ', %s' "${failed[@]}")
    fail "failed: ${list:2}"
fi
printf 'check.sh: all checks passed\n'
