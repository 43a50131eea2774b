#!/bin/sh
# Writes the files that are made from the table of options (cli/options.cpp) anew: the man page, both
# completions, and the tables of docs/command.md. scripts/update-manuals.sh [PROGRAM]
set -eu
cd "$(dirname "$0")/.."
program=${1:-build/dev/cli/ztrace-manuals}
[ $# -gt 0 ] || cmake --build build/dev --target ztrace-manuals > /dev/null

update() { # file kind
    "$program" "$2" < "$1" > "$1.new"
    mv "$1.new" "$1"
}
update cli/man/ztrace.1 man
update cli/completion/ztrace.bash bash
update cli/completion/_ztrace zsh
update docs/command.md markdown
