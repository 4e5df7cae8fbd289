#!/usr/bin/env bash
# What the shared library exports is what its headers declare and its manual names, to the name.
#
#     interface.sh PREFIX WORK
set -euo pipefail
prefix=$1 work=$2
mkdir -p "$work"
library=$(find "$prefix" -name libnimbl.so)
headers=$prefix/include/nimbl
same() { diff "$1" "$2" || { echo "$3" >&2; exit 1; }; }

nm -D --defined-only "$library" | sed -n 's/.* T \([A-Za-z0-9_]*\)@@NIMBL_0.1$/\1/p' |
    sort >"$work/exported"
[ "$(wc -l <"$work/exported")" -gt 300 ]
# Nothing else but data and the version's own name: no C++.
nm -D --defined-only "$library" | awk '$2 != "T" && $2 != "B" && $2 != "D" && $3 != "NIMBL_0.1"' \
    >"$work/others"
same "$work/others" /dev/null "neither functions nor settings: cmake/nimbl.map.in has to keep them inside"

# The compiler's own list of prototypes.
echo '#include <nimbl.h>' >"$work/all.c"
cc -std=c11 -pedantic-errors -I"$headers" -fsyntax-only -aux-info "$work/prototypes" "$work/all.c"
sed -n "s|^/\* $headers.* extern .*[ *]\([A-Za-z0-9_]*\) (.*|\1|p" "$work/prototypes" |
    grep -v '^nbp[A-Z]' | sort -u >"$work/declared"
same "$work/exported" "$work/declared" "exported (<) against declared (>)"

nm -D --defined-only "$library" | sed -n 's/.* [BD] \(.*\)@@NIMBL_0.1$/\1/p' | sort >"$work/data"
while read -r name; do
    grep -rqE "^extern .*[ *]${name}[;[]" "$headers" ||
        { echo "$name is exported and not declared" >&2; exit 1; }
done <"$work/data"

page=$(find "$prefix" -name nimbl.3.gz)
zcat "$page" | sed -n 's/^\\fB[^(]*[ *]\([A-Za-z0-9_]\+\)(.*/\1/p' | sort -u >"$work/documented"
same "$work/exported" "$work/documented" "exported (<) against the manual (>)"
