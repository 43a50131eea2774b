#!/bin/sh
# Processor seconds that potrace takes for tracing ready-made masks, options at their defaults:
#
#   potrace.sh TIMER_LIBRARY MASK.pbm...
#
# The program runs as it is installed; the library (potrace_timer.cpp) sits in front of its tracing
# function and prints the time of the call, so neither reading nor writing is counted. Where the
# program is not linked against a shared library of its own nothing is printed, and this fails.
set -eu

timer=$1
shift
for mask in "$@"; do
    LD_PRELOAD=$timer potrace -b svg -o /dev/null "$mask" 2>&1
done | awk '$1 == "tracing" { sum += $2; calls++ }
            END { if (!calls) exit 1; printf "%.6f\n", sum }'
