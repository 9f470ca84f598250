#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the Windows build is linked with, in one folder: Qt, cross-built from the distribution's source
# package, and the libraries and the program that the patch and release tools need. It lies outside of the
# checkout, is made once, and serves every checkout of this user.
#
#   sdk.sh path     prints the folder; fails when it is not complete yet
#   sdk.sh build    makes what is missing of it; a build that was interrupted goes on where it was
set -euo pipefail
here=$(cd "$(dirname "$(readlink -f "$0")")" && pwd)
checkout=$(cd "$here/../.." && pwd)

readonly qt_version=5.15.8
readonly compiler=x86_64-w64-mingw32
# -no-feature-tabletevent: the source package carries no wintab.h.
readonly qt_options=(-opensource -confirm-license -release -shared
    -xplatform win32-g++ -device-option CROSS_COMPILE=$compiler-
    -no-opengl -no-dbus -no-icu -no-openssl -schannel -no-feature-sql
    -qt-zlib -qt-pcre -qt-libpng -qt-libjpeg -qt-freetype -qt-harfbuzz -qt-doubleconversion
    -no-feature-printer -no-feature-vulkan -no-feature-tabletevent
    -nomake examples -nomake tests -no-compile-examples)
# About what Qt compiles with these options; only the progress line uses it.
readonly qt_objects=1700

# A ready-built copy of Qt, as a team shares one beside its checkouts, is taken when it is exactly this one.
readonly ready_qt="$checkout/../shared/toolchain/qt5-mingw64-$qt_version.tar.xz"
readonly ready_qt_sha256=adedcb6902062088060e61ea77cb828a090dfdc81d70b8c7135fd3321519d00e

# Another recipe is another folder.
key=$qt_version-$(sha256sum <<<"${qt_options[*]}" | cut -c -12)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/quillon/windows-$key
sdk=$cache/sdk
work=$cache/work

say() { printf '  %s\n' "$*"; }
done_with() { [ -e "$sdk/.$1" ]; }

# --- Sources -------------------------------------------------------------------------------------------

# The distribution's source packages, from the same servers as its binary ones, without a change to the
# system's own list of sources.
prepare_sources() {
    [ ! -e "$work/apt/ready" ] || return 0
    mkdir -p "$work/apt/sources.d" "$work/apt/lists/partial" "$work/apt/cache"
    # One line, or one stanza, names an archive and its releases. Only those of this release have sources.
    find /etc/apt -maxdepth 2 -name '*.list' -exec \
        sed -n -E '/^deb (\[[^]]*\] )?[^ ]+ bookworm/ s/^deb /deb-src /p' {} + \
        >"$work/apt/sources.d/packages.list"
    find /etc/apt -maxdepth 2 -name '*.sources' -exec \
        awk 'BEGIN { RS = ""; ORS = "\n\n" }
             /(^|\n)Suites:([^\n]* )?bookworm/ { sub(/Types:[^\n]*/, "Types: deb-src"); print }' {} + \
        >"$work/apt/sources.d/packages.sources"
    say "reading the lists of source packages"
    apt_sources update -qq
    touch "$work/apt/ready"
}

apt_sources() {
    apt-get -o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$work/apt/sources.d" \
        -o "Dir::State::Lists=$work/apt/lists" -o "Dir::Cache=$work/apt/cache" \
        -o APT::Sandbox::User=root -o Debug::NoLocking=true "$@"
}

# source_of PACKAGE: unpacks its source, patched, into $work/PACKAGE.
source_of() {
    [ ! -d "$work/$1" ] || return 0
    prepare_sources
    say "fetching the source of $1"
    rm -rf "$work/fetch-$1"
    mkdir "$work/fetch-$1"
    (cd "$work/fetch-$1" && apt_sources source -qq "$1" >"$work/$1-fetch.log" 2>&1) ||
        { cat "$work/$1-fetch.log"; exit 1; }
    mv "$work/fetch-$1"/*/ "$work/$1"
    rm -r "$work/fetch-$1"
}

# upstream_of PACKAGE: the same without the distribution's changes, for sources that need none.
upstream_of() {
    [ ! -d "$work/$1" ] || return 0
    prepare_sources
    say "fetching the source of $1"
    mkdir -p "$work/fetch-$1"
    (cd "$work/fetch-$1" && apt_sources source -qq --tar-only "$1" >"$work/$1-fetch.log" 2>&1) ||
        { cat "$work/$1-fetch.log"; exit 1; }
    rm -rf "$work/unpack-$1"
    mkdir "$work/unpack-$1"
    tar -C "$work/unpack-$1" --strip-components=1 -xf "$work/fetch-$1"/*.orig.tar.*
    mv "$work/unpack-$1" "$work/$1"
    rm -r "$work/fetch-$1"
}

# --- Qt ------------------------------------------------------------------------------------------------

take_ready_qt() {
    [ -e "$ready_qt" ] || return 1
    if ! sha256sum --check --quiet <<<"$ready_qt_sha256  $ready_qt" >&2; then
        say "the ready-built copy of Qt is another one and is not taken"
        return 1
    fi
    say "unpacking the ready-built copy of Qt"
    tar -C "$sdk" --strip-components=1 -xJf "$ready_qt"
}

build_qt() {
    source_of qtbase-opensource-src
    local source=$work/qtbase-opensource-src
    # Names of import libraries are lower-case here, where names of files are case-sensitive.
    sed -i 's/-lSecur32/-lsecur32/; s/-lCrypt32/-lcrypt32/' "$source/src/network/ssl/ssl.pri"
    mkdir -p "$work/qt"
    cd "$work/qt"
    if [ ! -e configured ]; then
        say "configuring Qt"
        "$source/configure" "${qt_options[@]}" -prefix "$sdk" >configure.log 2>&1 ||
            { tail -30 configure.log; exit 1; }
        touch configured
    fi
    say "building Qt $qt_version, which takes about 15 minutes on two cores"
    nice make -j"$(nproc)" >>make.log 2>&1 &
    local make=$!
    while kill -0 $make 2>/dev/null; do
        sleep 20
        say "$(find . -name '*.o' | wc -l) of about $qt_objects files compiled"
    done
    wait $make || { tail -30 make.log; exit 1; }
    make install >install.log 2>&1 || { tail -30 install.log; exit 1; }
}

# --- What the tools need -------------------------------------------------------------------------------

build_bzip2() {
    source_of bzip2
    cd "$work/bzip2"
    make CC=$compiler-gcc AR=$compiler-ar RANLIB=$compiler-ranlib \
        CFLAGS="-O2 -D_FILE_OFFSET_BITS=64" libbz2.a >make.log 2>&1 || { tail make.log; exit 1; }
    install -m 644 -D libbz2.a -t "$sdk/lib"
    install -m 644 -D bzlib.h -t "$sdk/include"
    install -m 644 -D LICENSE "$sdk/licences/bzip2.txt"
}

build_md4c() {
    upstream_of md4c
    cmake -S "$work/md4c" -B "$work/md4c/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER=$compiler-gcc-posix \
        -DCMAKE_RC_COMPILER=$compiler-windres -DBUILD_SHARED_LIBS=OFF -DBUILD_MD2HTML_EXECUTABLE=OFF \
        -DCMAKE_INSTALL_PREFIX="$sdk" >"$work/md4c.log" 2>&1 || { tail "$work/md4c.log"; exit 1; }
    cmake --build "$work/md4c/build" --target install >>"$work/md4c.log" 2>&1 ||
        { tail "$work/md4c.log"; exit 1; }
    install -m 644 -D "$work/md4c/LICENSE.md" "$sdk/licences/md4c.txt"
}

# What signatures are verified with. Without the compiler's checks of buffers: their library would be one more
# DLL beside the host's program.
build_libsodium() {
    source_of libsodium
    cd "$work/libsodium"
    { autoreconf -fi &&
        ./configure --host=$compiler --prefix="$sdk" --disable-shared --enable-static --disable-ssp \
            CC=$compiler-gcc-posix CFLAGS=-O2 CPPFLAGS=-D_FORTIFY_SOURCE=0; } >configure.log 2>&1 ||
        { tail configure.log; exit 1; }
    make -j"$(nproc)" install >make.log 2>&1 || { tail make.log; exit 1; }
    rm "$sdk/lib/libsodium.la"
    # Its header takes it for a DLL otherwise.
    sed -i '/^Cflags:/ s/$/ -DSODIUM_STATIC/' "$sdk/lib/pkgconfig/libsodium.pc"
    install -m 644 -D LICENSE "$sdk/licences/libsodium.txt"
}

# The program that makes patches, for release engineers on Windows.
build_bsdiff() {
    source_of bsdiff
    $compiler-gcc-posix -O2 -static -D_FILE_OFFSET_BITS=64 -I "$here/bsdiff" -I "$sdk/include" \
        "$work/bsdiff/bsdiff.c" "$sdk/lib/libbz2.a" -o "$work/bsdiff.exe"
    install -D "$work/bsdiff.exe" -t "$sdk/bin"
    install -m 644 -D "$work/bsdiff/debian/copyright" "$sdk/licences/bsdiff.txt"
}

# The compiler's own libraries, which Qt's are linked with.
copy_runtime() {
    local name
    for name in libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll; do
        install -D --strip --strip-program=$compiler-strip \
            "$($compiler-g++-posix -print-file-name=$name)" -t "$sdk/bin"
    done
}

# The licences of Qt and of the compiler's libraries, and the texts that they, and those of the tools, refer to.
copy_licences() {
    local name
    install -m 644 -D /usr/share/doc/libqt5core5a/copyright "$sdk/licences/qt.txt"
    install -m 644 -D /usr/share/doc/gcc-mingw-w64-base/copyright "$sdk/licences/gcc-runtime.txt"
    install -m 644 -D /usr/share/doc/mingw-w64-x86-64-dev/copyright "$sdk/licences/mingw-w64-runtime.txt"
    for name in Apache-2.0 GFDL-1.3 GPL-2 GPL-3 LGPL-2 LGPL-2.1 LGPL-3 MPL-2.0; do
        install -m 644 -D "/usr/share/common-licenses/$name" "$sdk/licences/common-licenses/$name"
    done
}

# The compiler's thread library apart from the one that is a DLL, so that the linker finds no other.
copy_threads() {
    local name
    for name in libpthread.a libwinpthread.a; do
        install -m 644 -D "$($compiler-g++-posix -print-file-name=$name)" -t "$sdk/static"
    done
}

# --- Commands ------------------------------------------------------------------------------------------

readonly parts=(qt runtime threads licences bzip2 md4c libsodium bsdiff)

case "${1:-}" in
path)
    for part in "${parts[@]}"; do
        if ! done_with "$part"; then
            echo "the Windows libraries are not complete; 'cmake/windows/sdk.sh build' makes them" >&2
            exit 1
        fi
    done
    echo "$sdk"
    ;;
build)
    mkdir -p "$sdk" "$work"
    exec 9>"$cache/lock"
    flock 9
    if ! done_with qt; then
        take_ready_qt || build_qt
        touch "$sdk/.qt"
    fi
    for part in "${parts[@]:1}"; do
        done_with "$part" && continue
        say "$part"
        case $part in
        runtime | threads | licences) ("copy_$part") ;;
        *) ("build_$part") ;;
        esac
        touch "$sdk/.$part"
    done
    # Only an unfinished build has a use for it.
    rm -rf "$work"
    say "complete: $sdk"
    ;;
*)
    sed -n '3,8s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
