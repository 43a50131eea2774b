#!/bin/sh
# Formats the sources: format.sh; or says which are not formatted, and fails: format.sh --check
set -eu

cd "$(dirname "$0")/.."
list() {
    find engine fit strokes scripting plugin sdk host drawing imaging tracing cli tests fuzz benchmarks \
        \( -name '*.cpp' -o -name '*.h' -o -name '*.inc' \) -print
}
if [ "${1:-}" = --check ]; then
    # shellcheck disable=SC2046
    clang-format --dry-run -Werror $(list)
else
    # shellcheck disable=SC2046
    clang-format -i $(list)
fi
