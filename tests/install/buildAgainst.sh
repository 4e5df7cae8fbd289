#!/usr/bin/env bash
# A C program built against the installed library converts an image.
#
#     buildAgainst.sh pkg-config|find_package PREFIX SCENES PROGRAM.c WORK CMAKE
set -euo pipefail
way=$1 prefix=$2 scenes=$3 program=$4 work=$5 cmake=$6
rm -rf "$work"
mkdir -p "$work"
pc=$(find "$prefix" -name nimbl.pc)
library=$(dirname "$(find "$prefix" -name libnimbl.so)")

if [ "$way" = pkg-config ]; then
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(dirname "$pc")
    read -ra shared <<<"$(pkg-config --cflags --libs nimbl)"
    cc "$program" "${shared[@]}" -Wl,-rpath,"$library" -o "$work/with_shared"
    # The folder with the static library alone: the linker prefers a shared one beside it.
    mkdir "$work/static"
    cp "$library/libnimbl.a" "$work/static"
    read -ra static <<<"$(pkg-config --static --libs-only-l nimbl)"
    read -ra flags <<<"$(pkg-config --cflags nimbl)"
    cc "$program" "${flags[@]}" -L"$work/static" "${static[@]}" -o "$work/with_static"
else
    "$cmake" -S "$(dirname "$0")/consumer" -B "$work" -DCMAKE_PREFIX_PATH="$prefix" \
        -DPROGRAM="$program" -DCMAKE_C_COMPILER_LAUNCHER= >/dev/null
    "$cmake" --build "$work" >/dev/null
fi

version=$(sed -n 's/^Version: //p' "$pc")
readelf -d "$work/with_shared" | grep -qF "[libnimbl.so.${version%.*}]"
if readelf -d "$work/with_static" | grep libnimbl; then exit 1; fi
for kind in shared static; do
    "$work/with_$kind" "$scenes/infrared.dat" | diff "$scenes/c.txt" -
done
