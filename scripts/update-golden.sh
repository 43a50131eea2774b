#!/bin/sh
# Rewrites the expected results of all golden cases: update-golden.sh
# With --inputs it draws their images anew first.
#
# For the rare change that is meant to alter results: the commit that holds the new files stands
# alone and says why they changed.
set -eu

cd "$(dirname "$0")/.."
build=build/dev
[ -f "$build/CMakeCache.txt" ] || cmake --preset dev > /dev/null
if [ "${1:-}" = --inputs ]; then
    cmake --build "$build" --target draw_golden_inputs > /dev/null
    "$build/tests/golden/draw_golden_inputs" tests/golden
fi
cmake --build "$build" --target tst_golden > /dev/null
ZTRACE_UPDATE_GOLDEN=1 "$build/tests/golden/tst_golden"
git diff --stat -- tests/golden
