#!/bin/sh
# Fetches the benchmark images from Debian's packages and prepares them: benchmarks/corpus.sh DIR
#
# Packages come from where the system gets its own. Nothing is installed and the system's package
# lists are not touched: where they have no sources, the sources of the same archives are looked up
# in lists of the script's own below DIR. What is there already is not fetched again.
set -eu

dir=${1:?usage: corpus.sh DIR}
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)

# shellcheck source=benchmarks/fetch.sh
. "$(dirname "$0")/fetch.sh"

fetch_source leptonlib
fetch_package openclipart-png
fetch_package plasma-workspace-wallpapers
fetch_package python3-skimage
fetch_package kicad-doc-en
fetch_package xfig-libs

echo "corpus in $dir"
