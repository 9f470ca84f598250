#!/bin/bash
# SPDX-License-Identifier: MIT
# Two whole updates on this machine: publishes a signed release, serves it, and runs the demo host against it,
# which downloads the full package; then publishes the next one, which arrives as a patch.
#
# usage: demo.sh [--auto] [--build DIR] [--screenshots DIR]
#
#   --auto             answers by itself; the default when there is no display
#   --build DIR        where quillon-serve and corvina-demo were built (default: build/linux)
#   --screenshots DIR  where --auto saves its pictures (default: build/demo-screenshots)
#
# Everything is written into a temporary folder, which is removed at the end.
set -euo pipefail

readonly versions=(9.1.0.0 9.2.0.0 9.3.0.0)
readonly payload_mb=(0 24 25)   # no two packages of one size: a client could take one for the other
readonly rate=6000000   # bytes per second: some seconds to look at

die() {
    echo "demo: $*" >&2
    exit 1
}

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname "$script_dir")
build=$root/build/linux
screenshots=$root/build/demo-screenshots
auto=no
[ -n "${DISPLAY:-}" ] || auto=yes
while [ $# -gt 0 ]; do
    case $1 in
        --auto) auto=yes ;;
        --build | --screenshots)
            [ $# -ge 2 ] || { echo "demo: $1 needs a folder" >&2; exit 2; }
            [ "$1" = --build ] && build=$(realpath -m "$2") || screenshots=$(realpath -m "$2")
            shift ;;
        *) sed -n '3,12s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    esac
    shift
done
for tool in bsdiff jq makeself minisign openssl; do
    command -v "$tool" > /dev/null || die "$tool is not installed"
done
for program in demo/quillon-serve demo/corvina-demo demo/bspatch.exe tools/quillon-publish; do
    [ -x "$build/$program" ] || die "$build/$program is not built"
done

shopt -s checkwinsize
(:) # after which COLUMNS is known, if there is a terminal
readonly columns=${COLUMNS:-110}

work=$(mktemp -d)
server_pid='' host_pid='' url='' tls_address=''

stop() { # PID
    [ -n "$1" ] || return 0
    kill "$1" 2> /dev/null || true
    wait "$1" 2> /dev/null || true
}
cleanup() {
    stop "$host_pid"
    stop "$server_pid"
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# Repeats a test ten times a second until it holds.
wait_for() { # SECONDS COMMAND...
    local tries=$(($1 * 10))
    shift
    until "$@"; do
        [ $((tries -= 1)) -gt 0 ] || return 1
        sleep 0.1
    done
}

package_name() { # VERSION
    echo "Corvina9_$1.run"
}

# An authority and a certificate of its own, for this run only.
make_certificates() {
    (
        cd "$work"
        openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj '/CN=Quillon demo authority' \
            -keyout ca.key -out ca.pem
        openssl req -newkey rsa:2048 -nodes -subj '/CN=127.0.0.1' -keyout server.key -out server.csr
        printf 'subjectAltName=IP:127.0.0.1\n' > server.ext
        openssl x509 -req -days 2 -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial \
            -extfile server.ext -out server.pem
    ) > "$work/openssl.log" 2>&1 || { cat "$work/openssl.log" >&2; die "no certificates"; }
}

# A release engineer's keys. A real one has a password.
make_keys() {
    minisign -G -W -p "$work/release.pub" -s "$work/release.key" > "$work/minisign.log" 2>&1 ||
        { cat "$work/minisign.log" >&2; die "no keys"; }
}

# The service prints where it listens, plain and encrypted, and then every event report that it receives.
server_is_ready() {
    [ "$(wc -l < "$work/served")" -ge 2 ]
}
start_server() {
    mkdir -p "$work/site/packages"
    "$build/demo/quillon-serve" "$work/site" --rate "$rate" \
        --tls-port 0 --cert "$work/server.pem" --key "$work/server.key" \
        > "$work/served" 2> "$work/access.log" &
    server_pid=$!
    wait_for 10 server_is_ready || die "the update service did not start"
    url=$(sed -n 1p "$work/served")
    tls_address=$(sed -n '2s,^https://\([^/]*\)/.*,\1,p' "$work/served")
}

publish() { # INDEX PREVIOUS-OPTIONS...
    local version=${versions[$1]} megabytes=${payload_mb[$1]} installer
    installer=$work/$(package_name "$version")
    shift
    renew "Building the installer of Corvina $version"
    "$script_dir/make-installer.sh" "$version" "$megabytes" "$installer"
    "$build/tools/quillon-publish" --site "$work/site" --base-url "${url%%/update*}" \
        --product-version "$version" --installer "$installer" \
        --notes "$script_dir/notes-$version.md" --sign-key "$work/release.key" --expires 7 "$@" 2>&1 | tee "$work/publish.log" | renew_each ||
        { cat "$work/publish.log" >&2; die "Corvina $version could not be published"; }
    grep -E '^(Installer|  patch:|Published) ' "$work/publish.log"
}

# A terminal has one line that renews itself, until another one is written.
renew() { # TEXT
    [ ! -t 1 ] || printf '\r\033[K%s\r' "${1:0:columns - 1}"
}
renew_each() {
    local line
    while IFS= read -r line; do
        renew "$line"
    done
    renew ''
}

# What the host tells of itself: what it shows, answers and signals, and how far a download is, which is one line
# on a terminal and one for each tenth elsewhere.
timeline() {
    jq -r --unbuffered '
        def pad(n): tostring | " " * (n - length) + .;
        def line: gsub("\\s*\n\\s*"; " | ");
        (if .event == "progress" then .value * 100 / .maximum | floor else "-" end | tostring) + "\t" +
        (.t_ms | pad(7)) + " ms  " +
        if .event == "page" then "page \(.name): \(.text | line)"
        elif .event == "progress" then "\(.value * 100 / .maximum | floor | pad(3)) %  \(.text)"
        elif .event == "prompt" then "prompt [\(.answer)]: \(.text | line)"
        elif .event == "signal" then "signal \(.name)"
        elif .event == "silent" then "silent check: update \(if .needUpdate then "found" else "not found" end) in \(.ms) ms"
        else "end with status \(.code)" end' | show_timeline
}

show_timeline() {
    local percent line tenth=0 page=''
    while IFS=$'\t' read -r percent line; do
        case $line in
            *' page progress: '*) # the same page again, or the one with the download
                [ -z "$page" ] || continue
                page=shown ;;
        esac
        if [ "$percent" != - ]; then
            renew "$line"
            [ $((percent / 10)) -gt $tenth ] || continue
            tenth=$((percent / 10))
            [ ! -t 1 ] || [ $tenth -eq 10 ] || continue
        fi
        renew ''
        echo "${line:0:columns - 1}"
    done
}

# Runs the demo host with its own settings and data below $work/NAME and prints what happens.
show=timeline
show_hint() {
    timeline | sed -n '/ page hint: /p'
}
run_host() { # NAME VERSION OPTIONS...
    local state=$work/$1 version=$2 reader_pid status=0
    shift 2
    mkdir -p "$state/config" "$state/host" "$state/data" "$state/cache" "$state/tmp"
    rm -f "$state/pipe"
    mkfifo "$state/pipe"
    tee "$state/events.jsonl" < "$state/pipe" | "$show" &
    reader_pid=$!
    XDG_DATA_HOME=$state/data XDG_CACHE_HOME=$state/cache XDG_CONFIG_HOME=$state/config XDG_CONFIG_DIRS=$state/machine \
        TMPDIR=$state/tmp \
        CORVINA_INSTALL_LOG=$state/install.log \
        "$build/demo/corvina-demo" --update-url "$url" --product-version "$version" \
        --config-dir "$state/config" --data-dir "$state/host" --log "$state/module.log" \
        --trust-key "$(tail -n 1 "$work/release.pub")" --ca "$work/ca.pem" --statistics-host "$tls_address" \
        "$@" > "$state/pipe" &
    host_pid=$!
    wait "$host_pid" || status=$?
    host_pid=''
    wait "$reader_pid" || true
    return "$status"
}

show_log_and_die() { # NAME MESSAGE
    echo "--- log of the host and the module" >&2
    tail -n 40 "$work/$1/module.log" >&2 || true
    echo "--- log of the update service" >&2
    tail -n 20 "$work/access.log" >&2 || true
    die "$2"
}

# The installer reports by itself; the host has already gone by then.
installer_reported() { # NAME VERSION
    grep -qs "^Corvina $2 " "$work/$1/install.log"
}

# One update, answered by itself; its pictures get PREFIX in front of their numbers.
update() { # NAME SCALE FROM TO KEPT-FILE PREFIX
    local name=$1 scale=$2 from=$3 to=$4 kept=$5 prefix=$6 picture
    QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=$scale run_host "$name" "$from" \
        --check interactive --on-version update --on-prompt yes --on-hint close --timeout 180 \
        --screenshots "$work/pictures" || show_log_and_die "$name" "the demo host failed"

    cmp "$work/$(package_name "$to")" "$work/$name/data/Halvard/$kept" ||
        show_log_and_die "$name" "the installer differs from the published one"
    wait_for 30 installer_reported "$name" "$to" ||
        show_log_and_die "$name" "the installer did not report"
    tail -n 1 "$work/$name/install.log"
    for picture in "$work"/pictures/*; do
        mv "$picture" "$screenshots/$prefix$(basename "$picture")"
    done
}

# The version that has just been installed asks whether there is a newer one.
ask_again() { # NAME SCALE VERSION PREFIX
    local show=show_hint
    echo "Corvina $3 asks whether there is a newer version"
    QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=$2 run_host "$1" "$3" \
        --check interactive --on-hint close --timeout 60 --screenshots "$work/pictures" ||
        show_log_and_die "$1" "the demo host failed"
    mv "$work"/pictures/02-hint*.png "$screenshots/"
    rm "$work"/pictures/*
}

check_pictures() {
    local picture
    for picture in progress-checking version progress-downloading progress-halfway prompt hint; do
        compgen -G "$screenshots/*-$picture.png" > /dev/null || die "no picture of $picture"
        compgen -G "$screenshots/*-$picture@2x.png" > /dev/null || die "no picture of $picture@2x"
    done
}

show_reports() {
    echo "Event reports that the service received over TLS:"
    sed 1,2d "$work/served" | jq -r '
        {"1": "installer started", "-1": "download error", "-2": "patched file differs",
         "-3": "patch not applied", "-4": "kept installer differs",
         "-6": "installer not started"} as $names
        | .data.label
        | "  \(.oldver) -> \(.newver) (\(.type)): \(.result), \($names[.result | tostring])"'
}

# Whoever gets into the web server can put another offer there, and not sign it.
refuse_unsigned() {
    echo "Somebody changes the offer on the web server, and Corvina ${versions[0]} asks"
    sed -i "s/Corvina9_${versions[2]}/Corvina9_6.6.6.6/" "$work/site/manifest.xml"
    local show=show_hint
    QT_QPA_PLATFORM=offscreen run_host plain "${versions[0]}" --check interactive --on-hint close \
        --timeout 60 || show_log_and_die plain "the demo host failed"
    grep -o 'the manifest is refused, .*' "$work/plain/module.log" ||
        show_log_and_die plain "the changed offer was not refused"
}

automatic() {
    local kept
    kept=$(package_name "${versions[1]}")
    rm -rf "$screenshots"
    mkdir -p "$screenshots" "$work/pictures"

    publish 1
    echo "Corvina ${versions[0]} updates by the full package"
    update plain 1 "${versions[0]}" "${versions[1]}" "$kept" full-
    publish 2 --previous "$work/$kept"
    echo "Corvina ${versions[1]} updates by a patch against the installer that it kept"
    update plain 1 "${versions[1]}" "${versions[2]}" "$kept" patch-
    ask_again plain 1 "${versions[2]}"

    echo "Once more at twice the pixels, from Corvina ${versions[0]}, with the full package"
    show=show_hint update fine 2 "${versions[0]}" "${versions[2]}" "$(package_name "${versions[2]}")" full-
    ask_again fine 2 "${versions[2]}"
    check_pictures

    [ "$(sed 1,2d "$work/served" | jq -s 'map(.data.label.result) == [1, 1, 1]')" = true ] ||
        die "the service received other reports than it should: $(sed 1,2d "$work/served")"
    show_reports
    refuse_unsigned
    echo "The installers equal the published ones; pictures are in $screenshots"
}

# Fails when the person closed the window instead.
update_by_hand() { # FROM TO
    run_host person "$1" || show_log_and_die person "the demo host failed"
    grep -q '"name":"InstallStarted"' "$work/person/events.jsonl" || return 1
    wait_for 30 installer_reported person "$2" || show_log_and_die person "the installer did not report"
    tail -n 1 "$work/person/install.log"
}

by_hand() {
    publish 1
    echo "Choose Help, Check for Updates in the window. Close it to end the demo."
    update_by_hand "${versions[0]}" "${versions[1]}" || return 0
    publish 2 --previous "$work/$(package_name "${versions[1]}")"
    echo "Choose Help, Check for Updates once more: a patch against the installer that was kept is enough."
    update_by_hand "${versions[1]}" "${versions[2]}" || return 0
    show_reports
}

make_certificates
make_keys
start_server
if [ "$auto" = yes ]; then
    automatic
else
    by_hand
fi
