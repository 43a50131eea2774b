#!/bin/sh
# Installs the Debian packages of some sections of packages.txt: install-packages.sh build [test]...
# Does nothing, and needs no rights, when they are all there.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
missing=
for section in "$@"; do
    for package in $(sed -n "s/^$section //p" "$here/packages.txt"); do
        # Where another source of Node.js is in use, its command is as good as Debian's package.
        case $package in
        nodejs | npm) command -v "${package%js}" > /dev/null && continue ;;
        esac
        if ! dpkg-query -W -f '${Status}' "$package" 2> /dev/null | grep -q 'ok installed'; then
            missing="$missing $package"
        fi
    done
done
[ -n "$missing" ] || exit 0

sudo=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo > /dev/null; then
        echo "install-packages.sh: run as root, or install:$missing" >&2
        exit 1
    fi
    sudo=sudo
fi
echo "installing (a few minutes):$missing" >&2
if ! $sudo apt-get -qq update; then
    echo "install-packages.sh: the package lists cannot be fetched: there is no network, or no mirror answers" >&2
    exit 1
fi
# shellcheck disable=SC2086
$sudo env DEBIAN_FRONTEND=noninteractive apt-get -qq -y install --no-install-recommends $missing \
    > /dev/null
