#!/bin/sh
# Writes the kept drawings of tests/cli/golden anew: update-golden-drawings.sh [PROGRAM]
#
# Only where the drawing is meant to change; such a commit stands alone and says why.
set -eu

cd "$(dirname "$0")/.."
program=${1:-build/dev/cli/ztrace}
QT_QPA_PLATFORM=offscreen ZTRACE=$(realpath "$program") /usr/bin/python3 tests/cli/test_golden.py --update
git status --short tests/cli/golden
