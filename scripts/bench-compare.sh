#!/bin/sh
# Two revisions side by side: scripts/bench-compare.sh BASE HEAD [FILTER] [ROUNDS]
#
# Builds both in worktrees of their own below build/compare, runs bench_trace of each in turns, so
# that a change in the machine's pace meets both, and prints the medians in nanoseconds a pixel.
#
# FILTER   which benchmarks, a regular expression; the whole traces of the named images by default.
#          Stages: "stages:^blur" runs bench_stages instead.
# ROUNDS   turns, 5 by default
#
# The images are those of ZTRACE_CORPUS or build/corpus. With ZTRACE_INSTRUCTIONS=1 instructions are
# counted instead, by callgrind inside ZTraceBitmap::trace on one run of each: independent of the
# machine's pace, and slow.
set -eu

if [ $# -lt 2 ]; then
    sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "$0" >&2
    exit 2
fi
cd "$(dirname "$0")/.."
base=$1
head=$2
filter=${3:-^trace/}
rounds=${4:-5}
program=bench_trace
case $filter in
stages:*)
    program=bench_stages
    filter=${filter#stages:}
    ;;
esac
ZTRACE_CORPUS=${ZTRACE_CORPUS:-$PWD/build/corpus}
export ZTRACE_CORPUS

folder=$PWD/build/compare
mkdir -p "$folder"
remove_trees() {
    for side in base head; do
        git worktree remove --force "$folder/$side" 2> /dev/null || true
    done
}
trap remove_trees EXIT
trap 'exit 130' INT TERM
remove_trees

build() { # side revision
    git worktree add --quiet --detach "$folder/$1" "$2"
    # A revision from before the benchmarks is measured with those of today.
    [ -f "$folder/$1/benchmarks/$program.cpp" ] || cp -R benchmarks "$folder/$1"
    cmake -S "$folder/$1" -B "$folder/build-$1" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DZTRACE_BUILD_BENCHMARKS=ON > /dev/null
    cmake --build "$folder/build-$1" --target "$program" > /dev/null
}
build base "$base"
build head "$head"

if [ "${ZTRACE_INSTRUCTIONS:-0}" = 1 ]; then
    for side in base head; do
        count=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null \
            --toggle-collect='ZTraceBitmap::trace(QImage const&)' \
            "$folder/build-$side/benchmarks/$program" --no-check --benchmark_min_time=0 \
            "--benchmark_filter=$filter" 2>&1 | sed -n 's/.*Collected : //p')
        echo "$side: $count instructions"
    done
    exit
fi

rm -f "$folder"/*.json
for round in $(seq "$rounds"); do
    check=
    [ "$round" = 1 ] || check=--no-check
    for side in base head; do
        taskset -c 0 "$folder/build-$side/benchmarks/$program" $check \
            "--benchmark_filter=$filter" "--benchmark_out=$folder/$side-$round.json" \
            --benchmark_out_format=json > /dev/null 2>&1
    done
done

/usr/bin/python3 - "$folder" "$base" "$head" << 'EOF'
import glob, json, statistics, sys

folder, base, head = sys.argv[1:]


def medians(side):
    found = {}
    for file in glob.glob(f"{folder}/{side}-*.json"):
        for row in json.load(open(file, encoding="utf-8"))["benchmarks"]:
            if not row.get("error_occurred"):
                found.setdefault(row["run_name"], []).append(row["ns_per_pixel"])
    return {name: statistics.median(values) for name, values in found.items()}


before, after = medians("base"), medians("head")
print(f"| ns a pixel | {base} | {head} | times as fast |\n|---|---|---|---|")
for name in before:
    if name in after:
        print(f"| {name} | {before[name]:.2f} | {after[name]:.2f} | {before[name] / after[name]:.2f} |")
EOF
