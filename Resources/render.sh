#!/bin/sh
# SPDX-License-Identifier: MIT
# Renders every SVG of the folder svg/ beside this script as PNG, at the size of its kind in logical
# pixels and at twice that ("_2x").
# Needs rsvg-convert (Debian package librsvg2-bin).
set -eu
cd "$(dirname "$0")"

for source in svg/*.svg; do
    name=$(basename "$source" .svg)
    case $name in
    close_*) size=17 ;;
    x_small_*) size=14 ;;
    *)
        echo "render.sh: no size is known for $source" >&2
        exit 1
        ;;
    esac
    rsvg-convert --width=$size --height=$size --output="$name.png" "$source"
    rsvg-convert --width=$((size * 2)) --height=$((size * 2)) --output="${name}_2x.png" "$source"
done
