#!/usr/bin/env bash
# Every script says with --help what it is for, and refuses what it does not know before it does anything. They run in a
# folder where one that goes on finds nothing to work on.
#   run.sh SCRATCH_FOLDER
set -euo pipefail

scripts=$(cd "$(dirname "$0")/../../scripts" && pwd)
rm -rf "$1"
mkdir -p "$1"
cp -r "$scripts" "$1"
cd "$1"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

for script in scripts/*; do
    [[ $script == */common.sh ]] && continue
    [[ $("$script" --help) == [A-Z]*. ]] || fail "$script --help must print its head"
    for arguments in --chek '--quick --bogus' '60 60 --brief'; do
        status=0
        # shellcheck disable=SC2086
        "$script" $arguments >said.txt 2>&1 || status=$?
        [[ $status == 2 && $(<said.txt) == *"$arguments"* ]] || fail "$script $arguments: status $status: $(<said.txt)"
    done
done
