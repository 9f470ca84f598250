#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Static analysis of sources that have been built, as many at a time as there are cores.
#
#   tidy.sh DATABASE FILE...   analyses each FILE as the folder DATABASE says that it is compiled; ends with all
#                              findings, which may stand far above, and fails when there are any
#
# A file takes ten seconds, nearly all of them for the headers that it includes. So a file that was found clean
# is remembered, for every checkout of this user, by a digest of all that the answer depends on: the program,
# its settings, the command, and the text of the source and of every file that it includes.
set -euo pipefail
export database=$1
shift
export memory=${XDG_CACHE_HOME:-$HOME/.cache}/quillon/clean-sources
mkdir -p "$memory"
find "$memory" -type f -mtime +30 -delete
work=$(mktemp -d)
export work failed=$work/failed
trap 'rm -rf "$work"' EXIT
touch "$failed"

# GCC's precompiled headers are not for clang, and without them a source that forgets an include is found.
jq 'map(.command |= gsub(" (-Winvalid-pch|-include [^ ]*/cmake_pch.hxx)"; ""))' \
    "$database/compile_commands.json" >"$work/compile_commands.json"

# The digest for a source; fails when the build does not know what it includes.
digest() {
    local directory command included precompiled
    IFS=$'\t' read -r directory command < <(
        jq -r --arg file "$PWD/$1" 'first(.[] | select(.file == $file)) | "\(.directory)\t\(.command)"' \
            "$database/compile_commands.json")
    included=$(ninja -C "$directory" -t deps "$(sed 's/.* -o \([^ ]*\) -c .*/\1/' <<<"$command")" |
        sed -n 's/^    //p')
    [ -n "$included" ] || return 1
    precompiled=$(sed -n 's/.* -include \([^ ]*cmake_pch.hxx\) .*/\1.gch/p' <<<"$command")
    if [ -n "$precompiled" ]; then
        included+=$'\n'$(ninja -C "$directory" -t deps "$(realpath --relative-to="$directory" "$precompiled")" |
            sed -n '/\.gch: /,/^$/s/^    //p')
    fi
    {
        clang-tidy-22 --version
        clang-tidy-22 -p "$database" --dump-config "$1" # of the folders that it lies in
        # Where the checkout lies does not matter.
        echo "${command//$PWD/.}"
        (cd "$directory" && xargs -d '\n' cat) <<<"$included"
    } | sha256sum | cut -d ' ' -f 1
}

look_at() {
    local key found
    key=$(digest "$1") || key=
    if [ -n "$key" ] && [ -e "$memory/$key" ]; then
        echo "  $1 (remembered)"
    elif found=$(clang-tidy-22 --quiet -p "$work" "$1" 2>&1); then
        [ -z "$key" ] || touch "$memory/$key"
        echo "  $1"
    else
        # What a clean file prints is only noise about suppressed warnings of Qt's headers.
        printf '%s\n%s\n' "$1" "$found" | tee -a "$failed"
    fi
}
export -f digest look_at

# shellcheck disable=SC2016 # expanded by the inner shell
printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} bash -euo pipefail -c 'look_at "$1"' _ {}
if [ -s "$failed" ]; then
    printf '\nNot clean:\n\n'
    cat "$failed"
    exit 1
fi
