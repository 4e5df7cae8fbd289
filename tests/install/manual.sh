#!/usr/bin/env bash
# The manual pages are well formed, every program has one, and those of nimbex and nimbex-view tell
# each option of the programs' own texts and each keyword of a setup file.
#
#     manual.sh PREFIX SETUP-FILE-SOURCE
set -euo pipefail
prefix=$1 source=$2
man=$(dirname "$(find "$prefix" -name man1)")
for page in "$man"/man[13]/*.gz; do
    zcat "$page" | mandoc -T lint -W warning
done

failed=0
# tell PAGE PATTERN WHAT : the page has a line with the pattern.
tell() { zcat "$man/man1/$1.1.gz" | grep -- "$2" >/dev/null || { echo "$1.1 lacks $3" >&2; failed=1; }; }
for program in "$prefix"/bin/*; do
    tell "$(basename "$program")" '^\.SH NAME' "itself"
done

options=$("$prefix/bin/nimbex" | sed -n 's/.*options : -\([a-z]\).*/\1/p')
[ "$(wc -w <<<"$options")" -ge 16 ]
for letter in $options p w y; do tell nimbex "^\.BI\? \\\\-$letter" "-$letter"; done
keywords=$(sed -n 's/^ *{"\([A-Z0-9]*\)",.*/\1/p' "$source")
[ "$(wc -w <<<"$keywords")" -ge 26 ]
for keyword in $keywords; do tell nimbex "^$keyword	" "$keyword"; done

if [ -x "$prefix/bin/nimbex-view" ]; then
    for command in info png vrt csv diff; do
        options=$("$prefix/bin/nimbex-view" "$command" --help | grep -o -- '--[a-z][a-z]*')
        for option in $(sort -u <<<"$options"); do
            tell nimbex-view "^\.BI\? \\\\-\\\\-${option#--}" "$option"
        done
    done
fi
exit $failed
