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

rooms=(bench platform plugins terrascope tests viewer)
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
# check NAME COMMAND...: runs it, shows what it says, remembers a failure and goes on.
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

check_format() {
    printf '%s\n' "${files[@]}" | xargs -r -d '\n' clang-format-14 --dry-run -Werror
}

# An include points into the same room or one further down; the plug-ins see only what the SDK
# gives their authors, and the viewer what it gives a host.
check_includes() {
    grep -HE '^#include "(platform|terrascope|plugins|viewer)/' "${files[@]}" /dev/null |
        grep -v '^tests/' | awk -F'[:"]' '
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
        /^bench\// { next }
        {
            from = rank($1); to = rank($3)
            allowed = to <= from
            if (from == 8 && to != 8 && to != 4 && to > 3) allowed = 0
            if (from == 9 && to != 9 && to != 7 && $3 != "terrascope/support/PointF.h") allowed = 0
            if (!allowed) { print $1 " must not include " $3; bad = 1 }
        }
        END { exit bad }'
}

check_sleeps() {
    # The one helper that waits for a condition may sleep between two looks, and the scripted
    # provider plays a slow one.
    ! grep -nE '\b(Sleep|SleepEx|sleep_for|sleep_until)\(' -r tests --include='*.cpp' --include='*.h' |
        grep -viE '^([^:]*await[^:]*|tests/fixtures/ScriptedProvider/[^:]*):'
}

check_headers() {
    printf '%s\n' "${headers[@]}" | each clang++-14 -fsyntax-only -x c++ -std=c++20 \
        "${target_flags[@]}" "${lock_flags[@]}" -Wall -Wextra -Werror \
        -Wno-pragma-once-outside-header -Wno-unused-const-variable \
        -DWINVER=0x0A00 -D_WIN32_WINNT=0x0A00 -DNOMINMAX -D_MBCS -DTERRASCOPE_BUILD \
        -I. -Iplatform/framework -isystem "$build/header-libraries" \
        -isystem /usr/src/googletest/googletest/include -isystem /usr/src/googletest/googlemock/include
}

check_tidy() {
    local before=() flag
    for flag in "${target_flags[@]}"; do before+=("--extra-arg-before=$flag"); done
    for flag in "${lock_flags[@]}"; do before+=("--extra-arg=$flag"); done
    # The tests' macros are beyond these rules.
    printf '%s\n' "${sources[@]}" | sed '/^tests\//d; /^$/d' | each sh -c '
        for file; do :; done
        output=$(clang-tidy-14 --quiet "$@" 2>&1) && exit 0
        printf "%s:\n%s\n" "$file" "$output" | grep -vE "^[0-9]+ warnings? |^Suppressed |^Use -"
        exit 1' check_tidy -p "$build" "${before[@]}"
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
            tests/*) of_tests+=("$file") ;;
            *) of_code+=("$file") ;;
        esac
    done
    local tests code
    tests=$(lines "${of_tests[@]}")
    code=$(lines "${of_code[@]}")
    printf 'code %d lines, tests %d lines: %d %%\n' "$code" "$tests" \
        $((code > 0 ? tests * 100 / code : 0))
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
