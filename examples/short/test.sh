#!/usr/bin/env bash
# Runs the short programs: each must print the lines that stand at the end of its source.
#   test.sh PROGRAM_FOLDER SCRATCH_FOLDER
set -euo pipefail

programs=$1
sources=$(cd "$(dirname "$0")" && pwd)
rm -rf "$2"
mkdir -p "$2"
cd "$2"

for source in "$sources"/*.cpp; do
    name=$(basename "$source" .cpp)
    sed '1,/^\/\/ It prints:$/d; s/^\/\/   //' "$source" >"$name.expected"
    "$programs/$name" >"$name.printed" 2>&1 || {
        echo "FAILED: $name ended with $?: $(cat "$name.printed")" >&2
        exit 1
    }
    diff "$name.expected" "$name.printed" || {
        echo "FAILED: $name prints something else than its source says" >&2
        exit 1
    }
done

# Other programs read the file with contours: each line that was counted is in it, at its height.
if command -v ogrinfo >/dev/null; then
    printed=$(awk '/ lines, / {num += $3} END {print num}' contours_to_file.printed)
    read=$(ogrinfo -al contours.dxf | grep -c 'LINESTRING Z')
    [[ $printed == "$read" ]] || {
        echo "FAILED: contours.dxf holds $read lines, not $printed" >&2
        exit 1
    }
fi
