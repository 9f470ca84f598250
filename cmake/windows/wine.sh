#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a Windows program with a Wine of the build's own: another prefix than the user's, no menu entries, no
# messages but the program's.
#
#   wine.sh BUILD SDK PROGRAM [ARGUMENT]...   runs it; its status is this one's
#   wine.sh BUILD SDK --prepare               makes the prefix, which the first program would do otherwise,
#                                             and starts its Wine, which stays until it is ended
#   wine.sh BUILD SDK --end                   ends every program of the prefix
set -euo pipefail
build=$1
sdk=$2
shift 2

export WINEPREFIX=${QUILLON_WINEPREFIX:-$build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor a browser engine is asked for when a prefix is made.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d"
# Where programs find the libraries that an installation has beside them.
export WINEPATH="Z:$build/demo;Z:$sdk/bin"
export QT_PLUGIN_PATH="Z:$sdk/plugins"
# What Qt has to say would go to a debugger otherwise.
export QT_FORCE_STDERR_LOGGING=1

# Windows, even hidden ones, need a display, and all programs of a prefix need the same one. Without one the
# programs take turns.
if [ -z "${DISPLAY:-}" ]; then
    mkdir -p "$WINEPREFIX"
    exec 8>"$WINEPREFIX/.turn"
    flock 8
    wineserver --kill 2>/dev/null || true
    exec xvfb-run -a -s "-screen 0 1280x900x24" "$0" "$build" "$sdk" "$@"
fi

prepare() {
    mkdir -p "$WINEPREFIX"
    exec 9>"$WINEPREFIX/.lock"
    flock 9
    if [ ! -e "$WINEPREFIX/.ready" ]; then
        wineboot --init >/dev/null 2>&1
        {
            # A program that crashes just ends.
            wine reg delete 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /f
            # There is no window manager, and a window that closes would wait two seconds for one.
            wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
            # The system's own font stands for none that is installed.
            wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v 'MS Shell Dlg' /d 'DejaVu Sans' /f
        } >/dev/null 2>&1
        wineserver --wait
        touch "$WINEPREFIX/.ready"
    fi
    exec 9>&-
}

# The servers of a test cannot encrypt under Wine: the program QUILLON_TLS_FRONT of this machine does it for them.
start_tls_front() {
    coproc TLS_FRONT { exec "$QUILLON_TLS_FRONT"; }
    front=$TLS_FRONT_PID
    read -r QUILLON_TLS_FRONT_PORT <&"${TLS_FRONT[0]}"
    export QUILLON_TLS_FRONT_PORT
}

# Runs a test whose output is read to its end. With a program Wine starts others of its own, which stay for the
# next one and keep its error output open, so that this end would be theirs. A file has none.
run_test() {
    output=$(mktemp -d)
    trap 'rm -rf "$output"; kill ${front:-} 2>/dev/null || true' EXIT
    touch "$output/errors" "$output/report"
    # A Qt test reports to a debugger, too, unless it is given a file.
    case ${1##*/} in
    tst_*) set -- "$@" -o "Z:$output/report,txt" ;;
    esac
    [ -z "${QUILLON_TLS_FRONT:-}" ] || start_tls_front
    wine "$@" 2>"$output/errors" &
    tail --quiet --lines=+1 --follow --sleep-interval=0.2 --pid=$! "$output"/*
    wait $!
}

case $1 in
--prepare)
    prepare
    # Tests come two at a time: Wine is up before the first of them.
    wineserver --persistent 2>/dev/null || true # it runs already
    wine cmd.exe /c exit >/dev/null 2>&1
    ;;
--end) wineserver --kill || true ;;
*)
    [ -e "$WINEPREFIX/.ready" ] || prepare
    case ${1##*/} in
    tst_* | replay_*) run_test "$@" ;;
    *) exec wine "$@" ;;
    esac
    ;;
esac
