#!/bin/sh
# Fetches the benchmark images from Debian's packages and prepares them: benchmarks/corpus.sh DIR
#
# Nothing is installed and the system's package lists are not touched: sources are looked up in
# lists of the script's own below DIR. What is there already is not fetched again.
set -eu

dir=${1:?usage: corpus.sh DIR}
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)
mirror=${ZTRACE_DEBIAN_MIRROR:-http://deb.debian.org/debian}

fetch_source() { # package
    [ -d "$dir/src-$1" ] && return
    mkdir -p "$dir/apt/lists/partial" "$dir/apt/cache/archives/partial"
    echo "deb-src $mirror bookworm main" > "$dir/apt/sources.list"
    options="-o Dir::Etc::SourceList=$dir/apt/sources.list -o Dir::Etc::SourceParts=/dev/null
             -o Dir::State::Lists=$dir/apt/lists -o Dir::Cache=$dir/apt/cache"
    # shellcheck disable=SC2086
    apt-get $options -qq update
    mkdir -p "$dir/work-$1"
    # shellcheck disable=SC2086
    (cd "$dir/work-$1" && apt-get $options -qq source --download-only "$1")
    mkdir -p "$dir/part-$1"
    tar -C "$dir/part-$1" --strip-components=1 -xf "$dir/work-$1"/*.orig.tar.*
    rm -rf "$dir/work-$1"
    mv "$dir/part-$1" "$dir/src-$1"
}

fetch_package() { # package
    [ -d "$dir/pkg-$1" ] && return
    mkdir -p "$dir/work-$1" "$dir/part-$1"
    (cd "$dir/work-$1" && apt-get -qq download "$1")
    dpkg-deb -x "$dir/work-$1"/*.deb "$dir/part-$1"
    rm -rf "$dir/work-$1"
    mv "$dir/part-$1" "$dir/pkg-$1"
}

fetch_source leptonlib
fetch_package openclipart-png
fetch_package plasma-workspace-wallpapers
fetch_package python3-skimage

echo "corpus in $dir"
