#!/bin/sh
# Builds a program that traces centre lines with autotrace: benchmarks/strokes/autotrace.sh DIR
#
# Its sources are those that Debian's source package of Inkscape carries (40 MB to fetch). It needs
# gcc, pkg-config and libglib2.0-dev, and leaves DIR/autotrace. A peer to compare with, under its own
# licence: nothing of it goes into the product, and nothing of it is installed.
set -eu

dir=${1:?usage: autotrace.sh DIR}
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)
here=$(cd "$(dirname "$0")" && pwd)

# shellcheck source=benchmarks/fetch.sh
. "$here/../fetch.sh"

fetch_source inkscape
sources=$dir/src-inkscape/src/3rdparty/autotrace
# shellcheck disable=SC2046
gcc -O2 -w -DHAVE_CONFIG_H -I"$sources" -o "$dir/autotrace" "$here/autotrace.c" "$sources"/*.c \
    $(pkg-config --cflags --libs gobject-2.0) -lm
echo "$dir/autotrace"
