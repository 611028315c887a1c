#!/bin/bash
# Installs what is missing, builds, and runs all tests: ./test.sh [CTest options]
. "$(dirname "${BASH_SOURCE[0]}")/tools/common.sh"
"$root/tools/setup.sh"
build_targets
say "test"
ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure "$@"
