#!/bin/sh
# Reads the product's sources with clang-tidy: lint.sh [FILE]... Ends with 1 when it finds something.
#
# Needs the compile commands of the preset dev. Files are read side by side.
set -eu

cd "$(dirname "$0")/.."
commands=build/dev
[ -f $commands/compile_commands.json ] || cmake --preset dev > /dev/null
list() {
    find engine fit strokes imaging tracing drawing scripting plugin sdk host cli -name '*.cpp' -print | sort
}
{ [ $# -gt 0 ] && printf '%s\n' "$@" || list; } |
    xargs -P "$(nproc)" -n 4 clang-tidy -p $commands --quiet --warnings-as-errors='*' \
        --extra-arg=-Wno-unknown-warning-option --extra-arg=-std=c++17 2> /dev/null
