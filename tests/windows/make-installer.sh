#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds a stand-in for the product's installer for Windows, with a payload that is the same for the same
# version.
#
# usage: make-installer.sh VERSION PAYLOAD_MB OUTPUT
set -eu

if [ $# -ne 3 ]; then
    echo "usage: $0 VERSION PAYLOAD_MB OUTPUT" >&2
    exit 2
fi
version=$1 megabytes=$2 output=$3
here=$(cd "$(dirname "$0")" && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

# An encrypted stream of zeros does not compress, and the same key gives the same bytes.
stream() { # BYTES KEY
    key=$(printf '%s' "$2" | openssl dgst -md5 -r | cut -d ' ' -f 1)
    head -c "$1" /dev/zero | openssl enc -aes-128-ctr -K "$key" -iv 00000000000000000000000000000000
}
# One megabyte differs between versions; the others are the same, as most of a program is.
{
    stream "$(((megabytes - 1) * 1048576))" Corvina
    stream 1048576 "Corvina $version"
} > "$work/payload.bin"

# The time of the compilation would differ between two runs.
SOURCE_DATE_EPOCH=1704067200 makensis -V2 -NOCD -WX \
    "-DVERSION=$version" "-DPAYLOAD=$work/payload.bin" "-DPAYLOAD_BYTES=$((megabytes * 1048576))" \
    "-DOUTPUT=$work/installer.exe" "$here/installer.nsi"
mv "$work/installer.exe" "$output"
