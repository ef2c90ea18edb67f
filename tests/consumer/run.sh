#!/usr/bin/env bash
# Installs the library and uses it as clients do: the examples through find_package, and the programs in the README and in
# the guide through pkg-config and the plain compiler.
#   run.sh shared|static SCRATCH_FOLDER [BUILD_FOLDER]
# BUILD_FOLDER is an existing build of that linkage; without it the library is built here.
set -euo pipefail

linkage=$1
scratch=$2
source=$(cd "$(dirname "$0")/../.." && pwd)
build=${3-$scratch/library}
prefix=$scratch/prefix
rm -rf "$prefix" "$scratch/examples" "$scratch/pages"
mkdir -p "$scratch/pages"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

if [[ $build == "$scratch/library" ]]; then
    shared=OFF
    [[ $linkage == shared ]] && shared=ON
    # How it links does not depend on the optimisation, and this compiles fastest.
    cmake -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DBUILD_SHARED_LIBS=$shared \
        -DTARO25D_BUILD_TESTS=OFF -DTARO25D_BUILD_EXAMPLES=OFF -DTARO25D_BUILD_BENCH=OFF
    cmake --build "$build"
fi
cmake --install "$build" --prefix "$prefix"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name taro25d.pc)")
version=$(pkg-config --modversion taro25d)

library=$(find "$prefix" -name 'libtaro25d.so' -o -name 'libtaro25d.a')
strip --strip-debug "$(readlink -f "$library")"
grep -r -l -F -e "$source/dt2Library" -e "$source/include" "$prefix" && fail "an installed file tells where it was built"
if [[ $linkage == shared ]]; then
    readelf --dynamic "$library" | grep -q "SONAME.*\[libtaro25d\.so\.${version%%.*}\]" || fail "SONAME"
    foreign=$(nm --dynamic --defined-only --demangle "$library" | grep ' [TDBR] ' |
        grep -v -E ' (vtable for |typeinfo for |typeinfo name for )?LUMO_TARO25D::' || true)
    [[ -z $foreign ]] || fail "exported, but not of the namespace: $foreign"
fi

cmake -S "$source/examples" -B "$scratch/examples" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$scratch/examples"

# programs PAGE.md: each complete program of a page as PAGE1.cpp, PAGE2.cpp, ..., and the text that follows, which it
# prints, as PAGE1.txt, ...
programs() {
    awk -v page="$(basename "$1" .md)" '
        language == "" && /^```./ { language = substr($0, 4); text = ""; next }
        /^```$/ {
            if (language == "cpp" && text ~ /int main/) printf "%s", text >(page (++num) ".cpp")
            if (language == "text" && num) printf "%s", text >(page num ".txt")
            language = ""
        }
        language != "" { text = text $0 "\n" }' "$1"
}
cd "$scratch/pages"
programs "$source/README.md"
read -r -a flags <<<"$(pkg-config --cflags --libs taro25d)"
for program in README1; do
    "${CXX:-g++}" -std=c++17 -Wall -Wextra -Wpedantic -Werror $program.cpp -o $program "${flags[@]}"
    LD_LIBRARY_PATH=$(dirname "$library") ./$program >printed.txt
    diff $program.txt printed.txt || fail "$program.cpp prints something else than its page shows"
done
