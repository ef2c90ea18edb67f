#!/usr/bin/env bash
# Compiles and runs every C++ program of the pages, and compares what it prints with the text that follows it there. Looks
# for links that lead nowhere, and for names of tests that are not there, too.
#   run.sh SCRATCH_FOLDER LIBRARY [COMPILER FLAG...]
set -euo pipefail

scratch=$(realpath -m "$1")
library=$(realpath "$2")
shift 2
source=$(cd "$(dirname "$0")/../.." && pwd)
cd "$source"
mapfile -t pages < <(find . \( -path './build*' -o -path '*/node_modules' \) -prune -o -name '*.md' -print | sort)

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# PAGE.md becomes PAGE1.cpp, PAGE2.cpp, ... and what these print, PAGE1.txt, PAGE2.txt, ...; links go to a list.
rm -rf "$scratch"
mkdir -p "$scratch"
awk -v scratch="$scratch" '
    function fail(text) {
        print "FAILED: " FILENAME ":" FNR ": " text >"/dev/stderr"
        exit failed = 1
    }
    FNR == 1 {
        page = FILENAME
        gsub(/.*\/|\.md$/, "", page)
        num = 0
    }
    /^```./ && language == "" {
        language = substr($0, 4)
        if (awaited && language != "text") fail("a program, but not what it prints, stands before this")
        name = scratch "/" page num + (language == "cpp")
        if (language == "cpp") {
            if ((getline line <(name ".cpp")) >= 0) fail("two pages have this name")
            printf "#line %d \"%s\"\n", FNR + 1, FILENAME >(name ".cpp")
            ++num
        }
        next
    }
    /^```$/ {
        if (language == "text" && awaited) printf "%s", text >(name ".txt")
        awaited = language == "cpp"
        language = text = ""
        next
    }
    language == "cpp" { print >(name ".cpp") }
    language == "text" { text = text $0 "\n" }
    language == "" {
        folder = FILENAME
        sub(/[^\/]*$/, "", folder)
        while (match($0, /\]\([^)#:]*[)#]/)) {
            print folder substr($0, RSTART + 2, RLENGTH - 3) >(scratch "/links")
            $0 = substr($0, RSTART + RLENGTH)
        }
    }
    END { if (awaited && !failed) fail("the last program has no output here") }' "${pages[@]}"

while read -r link; do
    [[ -e $link ]] || fail "a link to $link, which is not there"
done <"$scratch/links"

# The tests that a page names as its witnesses.
while IFS=. read -r suite name; do
    grep -q -E "^TEST(_F|_P)?\($suite, ${name/\*/[[:alpha:]]*}\)" tests/*/*_test.cpp || fail "no test is called $suite.$name"
done < <(tr '\140' '\n' <docs/robustness.md | grep -x -E '[A-Z][[:alpha:]]+\.([[:alpha:]]+|\*)' | sort -u)

# check PROGRAM.cpp COMPILER FLAG...: each program works in a folder of its own, and writes its files there.
check() {
    local name
    name=$(basename "$1" .cpp)
    shift
    mkdir "$name"
    "${CXX:-g++}" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$name.cpp" -o "$name/program" "$@" || return
    (cd "$name" && ./program 2>&1) | sed 's/\x1b\[[0-9;]*m//g' >"$name.printed" || return
    diff "$name.txt" "$name.printed" || {
        echo "FAILED: program $name prints something else than its page shows" >&2
        return 1
    }
}
export -f check
cd "$scratch"
printf '%s\n' *.cpp | xargs -P "$(nproc)" -I{} bash -o pipefail -c 'check "$@"' - {} \
    -I"$source/include" "$@" "$library" -Wl,-rpath,"$(dirname "$library")" -lgmp -pthread
echo "$(find . -name '*.printed' | wc -l) programs of the pages print what these show"
