#!/bin/sh
# (c) the ztrace developers. Licence: see LICENSE.
# Runs every fuzz target in turn, so many minutes each, and prints what it did. New inputs stay in
# build/fuzz/inputs/<target>, together with the kept ones as few as reach the same; what ends the process
# is kept in build/fuzz/found.
#   scripts/fuzz.sh MINUTES [TARGET...]     scripts/fuzz.sh 2 json areas
set -eu
case "${1:-}" in
'' | *[!0-9]* | 0*)
    echo "usage: scripts/fuzz.sh MINUTES [TARGET...]" >&2
    exit 2
    ;;
esac
minutes=$1
shift
cd "$(dirname "$0")/.."
jobs=${ZTRACE_JOBS:-$(nproc)}
if [ $# -eq 0 ]; then
    # shellcheck disable=SC2012,SC2046 # the names are ours: letters and _
    set -- $(ls fuzz/fuzz_*.cpp | sed 's|.*/fuzz_\(.*\)\.cpp|\1|')
fi
programs=
for target; do
    programs="$programs fuzz_$target"
done
cmake --preset fuzz >/dev/null
# shellcheck disable=SC2086 # a list of words
cmake --build build/fuzz -j "$jobs" --target $programs

# The targets print nothing of their own; the toolkit needs no display, and keeps its caches.
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES='*=false'
export ASAN_OPTIONS=detect_leaks=0
found=$PWD/build/fuzz/found
mkdir -p "$found"

# The last number after a word of a log.
figure() {
    sed -n "s/.*$1 *\([0-9]*\).*/\1/p" "$2" | tail -n 1
}

status=0
printf '%-16s %12s %9s %9s %7s  %s\n' target executions edges features inputs outcome
for target; do
    inputs=build/fuzz/inputs/$target
    log=build/fuzz/$target.log
    mkdir -p "$inputs"
    # Long enough for what the corpus has and for a picture.
    outcome=ended
    "build/fuzz/fuzz/fuzz_$target" -max_total_time=$((60 * minutes)) -max_len=4096 -timeout=60 \
        -rss_limit_mb=4096 -print_final_stats=1 -artifact_prefix="$found/$target-" \
        "$inputs" "fuzz/corpus/$target" >"$log" 2>&1 || { outcome="FAILED, see $log"; status=1; }
    # As few of them, and of the kept ones, as reach the same.
    rm -rf "$inputs.less" && mkdir "$inputs.less"
    if "build/fuzz/fuzz/fuzz_$target" -merge=1 "$inputs.less" "fuzz/corpus/$target" "$inputs" \
        >"$log.merge" 2>&1; then
        rm -rf "$inputs" && mv "$inputs.less" "$inputs"
    fi
    # shellcheck disable=SC2012 # the fuzzer's names: letters and digits
    printf '%-16s %12s %9s %9s %7s  %s\n' "$target" "$(figure 'stat::number_of_executed_units:' "$log")" \
        "$(figure ' cov:' "$log")" "$(figure ' ft:' "$log")" "$(ls "$inputs" | wc -l)" "$outcome"
done
exit $status
