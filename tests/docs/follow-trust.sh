#!/bin/bash
# SPDX-License-Identifier: MIT
# Follows docs/trust.md from an empty folder: runs its commands as they stand there, with this build in the place
# of the one that they name and a free port in the place of theirs.
#
# usage: follow-trust.sh SOURCES BUILD
set -euo pipefail
sources=$(realpath "$1") build=$(realpath "$2")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "follow-trust: $*" >&2
    exit 1
}

# The folders of a checkout whose build is this one.
mkdir -p "$work/checkout/build" "$work/empty" "$work/home"
ln -s "$sources/demo" "$work/checkout/demo"
ln -s "$build" "$work/checkout/build/linux"

port=$(python3 -c 'import socket
with socket.socket() as s:
    s.bind(("127.0.0.1", 0))
    print(s.getsockname()[1])')

# block N: the N-th block of shell commands of the document.
block() {
    awk -v wanted="$1" '
        /^```/ { inside = !inside && $0 == "```sh" && ++number == wanted; next }
        inside' "$sources/docs/trust.md"
}

export QUILLON=$work/checkout HOME=$work/home TMPDIR=$work
export XDG_DATA_HOME=$HOME/data XDG_CACHE_HOME=$HOME/cache XDG_CONFIG_HOME=$HOME/config XDG_CONFIG_DIRS=$HOME/etc
export CORVINA_INSTALL_LOG=$work/installed
cd "$work/empty"
block 1 | sed "s/8080/$port/g" > "$work/commands.sh"
grep -q 'quillon-publish --site' "$work/commands.sh" || fail "the document has no commands"
bash -euo pipefail "$work/commands.sh" > "$work/output" 2>&1 || { cat "$work/output" >&2; fail "a command failed"; }

grep -q '"name":"InstallStarted"' "$work/output" || { cat "$work/output" >&2; fail "nothing was installed"; }
grep -q 'Failed to check update!' "$work/output" || fail "the changed offer was not refused"
grep -q 'the manifest is refused, the signature does not belong to the document' "$work/output" ||
    fail "the log does not say why"
for _ in $(seq 100); do
    grep -qs '^Corvina 9.2.0.0 installed' "$work/installed" && break
    sleep 0.1
done
grep -q '^Corvina 9.2.0.0 installed' "$work/installed" || fail "the installer has not run"

# The commands that verify a manifest without the module. The one of this site was changed: that shows as well.
cp site/manifest.xml .
block 2 > "$work/verify.sh"
! bash -euo pipefail "$work/verify.sh" > "$work/verified" 2>&1 || fail "a changed manifest was verified"
sed -i 's/Corvina9_9.6.6.6/Corvina9_9.2.0.0/' manifest.xml
bash -euo pipefail "$work/verify.sh" > "$work/verified" 2>&1 || { cat "$work/verified" >&2; fail "not verified"; }
grep -q 'Signature and comment signature verified' "$work/verified" || fail "minisign did not verify the manifest"
