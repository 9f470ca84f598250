#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds a stand-in for the product's installer: a self-extracting archive with a payload that is the same
# for the same version, and a setup step that verifies it.
#
# usage: make-installer.sh VERSION PAYLOAD_MB OUTPUT
#
# The archive carries the line "# FileVersion=VERSION" in its head, by which the update module recognises a
# kept installer. Started without arguments it asks nothing and needs no terminal. It appends its result to
# the file named in CORVINA_INSTALL_LOG, or writes it to stderr.
set -eu

if [ $# -ne 3 ]; then
    echo "usage: $0 VERSION PAYLOAD_MB OUTPUT" >&2
    exit 2
fi
version=$1 megabytes=$2 output=$3
case $version in
    *[!0-9.]* | '') echo "$0: not a version: $version" >&2; exit 2 ;;
esac
case $megabytes in
    *[!0-9]* | '' | 0) echo "$0: not a size: $megabytes" >&2; exit 2 ;;
esac
stock_header=${MAKESELF_HEADER:-/usr/share/makeself/makeself-header.sh}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
mkdir "$work/content"

# An encrypted stream of zeros does not compress, and the same key gives the same bytes.
stream() { # BYTES KEY
    key=$(printf '%s' "$2" | openssl dgst -md5 -r | cut -d ' ' -f 1)
    head -c "$1" /dev/zero | openssl enc -aes-128-ctr -K "$key" -iv 00000000000000000000000000000000
}
# One megabyte differs between versions; the others are the same, as most of a program is.
{
    stream "$(((megabytes - 1) * 1048576))" Corvina
    stream 1048576 "Corvina $version"
} > "$work/content/payload.bin"
(cd "$work/content" && sha256sum payload.bin > payload.sha256)

cat > "$work/content/setup.sh" << SETUP
#!/bin/sh
report() {
    if [ -n "\${CORVINA_INSTALL_LOG:-}" ]; then
        echo "\$1" >> "\$CORVINA_INSTALL_LOG"
    else
        echo "\$1" >&2
    fi
}
if ! sha256sum --status -c payload.sha256; then
    report "Corvina $version not installed: the payload is damaged"
    exit 1
fi
report "Corvina $version installed: payload of \$(wc -c < payload.bin) bytes verified"
SETUP
chmod +x "$work/content/setup.sh"

# makeself counts the lines of the header that it is given, so the version line goes in there and not into
# the finished archive.
awk -v line="# FileVersion=$version" '{ print } /^#!\/bin\/sh/ && !done { print line; done = 1 }' \
    "$stock_header" > "$work/header.sh"

# So that two runs give the same bytes, these are fixed: dates, owners, the order of the files, and the
# command line, which makeself records in the archive.
touch -d '2024-01-01 00:00:00 UTC' "$work/content"/* "$work/content"
if ! (
    cd "$work"
    makeself --quiet --nox11 --nowait --nocomp --noprogress --nomd5 --nocrc --sha256 \
        --tar-quietly --tar-extra '--owner=0 --group=0 --numeric-owner --sort=name' \
        --packaging-date '2024-01-01' --header ./header.sh \
        content installer.run "Corvina $version" ./setup.sh
) > "$work/makeself.log" 2>&1; then
    cat "$work/makeself.log" >&2
    exit 1
fi
if ! head -c 4096 "$work/installer.run" | grep -q "^# FileVersion=$version\$"; then
    echo "$0: makeself did not keep the version line" >&2
    exit 1
fi
mv "$work/installer.run" "$output"
