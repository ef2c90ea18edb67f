#!/usr/bin/env bash
# Compares what a shared library offers to its clients with what is kept beside this script; fails on any difference,
# additions too.
#   check.sh symbols|types LIBRARY [--renew]
# symbols.txt has the soname and the exported names, types.abi what their debug information tells: layouts, enumerators,
# results, the order of virtual functions. With --renew the file is written anew instead.
set -euo pipefail
export LC_ALL=C

what=$1
library=$2
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)

symbols() {
    readelf --dynamic "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p'
    nm --dynamic --defined-only --without-symbol-versions --demangle "$library" | cut -d ' ' -f 3- | sort -u
}

types() {
    abidw --exported-interfaces-only --headers-dir "$source/include/taro25d" --drop-private-types \
        --suppressions "$here/suppressions.ini" \
        --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed --no-parameter-names --type-id-style hash \
        "$library" | sed "s|path='$source/|path='|"
}

case $what in
    symbols) kept=$here/symbols.txt compare=(diff --unified) ;;
    types) kept=$here/types.abi compare=(abidiff --harmless --leaf-changes-only) ;;
esac
if [[ ${3-} == --renew ]]; then
    $what >"$kept"
    exit
fi
now=$(mktemp --suffix=".${kept##*.}")
trap 'rm "$now"' EXIT
$what >"$now"
"${compare[@]}" "$kept" "$now" || {
    echo "FAILED: the interface is not what ${kept#"$source"/} has; RELEASING.md tells when it may change, and how" >&2
    exit 1
}
