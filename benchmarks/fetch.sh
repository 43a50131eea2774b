# Fetches packages of Debian, and their sources, into a folder: for scripts that read this file with
# their folder in $dir. Packages come from where the system gets its own. Nothing is installed and the
# system's package lists are not touched: where they have no sources, the sources of the same archives
# are looked up in lists of the script's own below $dir. What is there already is not fetched again.
# shellcheck shell=sh
: "${dir:?the folder to fetch into}"

# A line for the sources beside each of the archives of Debian that the system has packages from.
source_lines() {
    # shellcheck disable=SC2016
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' | sort -u
}

# The options with which apt-get knows sources; none where the system's own lists have them.
source_options() {
    # shellcheck disable=SC2016
    [ -z "$(apt-get indextargets --format '$(FILENAME)' 'Created-By: Sources')" ] || return 0
    mkdir -p "$dir/apt/lists/partial" "$dir/apt/cache/archives/partial"
    source_lines > "$dir/apt/sources.list"
    if [ ! -s "$dir/apt/sources.list" ]; then
        echo "corpus.sh: the system has no package lists of Debian (apt-get update)" >&2
        return 1
    fi
    echo "-o Dir::Etc::SourceList=$dir/apt/sources.list -o Dir::Etc::SourceParts=/dev/null
          -o Dir::State::Lists=$dir/apt/lists -o Dir::Cache=$dir/apt/cache"
}

# The newest of the versions that the archives still have: their lists may be ahead of them.
download_source() { # package, options
    # shellcheck disable=SC2086
    for version in $(apt-cache $2 showsrc "$1" | sed -n 's/^Version: //p' | sort -rV); do
        (cd "$dir/work-$1" && apt-get $2 -qq source --only-source --download-only "$1=$version") && return
        rm -f "$dir/work-$1"/*
    done
    echo "$0: no source of $1" >&2
    return 1
}

fetch_source() { # package
    [ -d "$dir/src-$1" ] && return
    options=$(source_options)
    # shellcheck disable=SC2086
    [ -z "$options" ] || apt-get $options -qq update
    mkdir -p "$dir/work-$1"
    download_source "$1" "$options"
    mkdir -p "$dir/part-$1"
    rm -f "$dir/work-$1"/*.asc  # signatures beside the archives
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
