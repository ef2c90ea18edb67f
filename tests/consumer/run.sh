#!/usr/bin/env bash
# Installs the library from a build, or unpacks the Debian packages made from it, and uses it as clients do.
#   run.sh shared|static|package BUILD_FOLDER SCRATCH_FOLDER
set -euo pipefail

how=$1
build=$2
scratch=$3
source=$(cd "$(dirname "$0")/../.." && pwd)
prefix=$scratch/prefix
rm -rf "$scratch"
mkdir -p "$scratch"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# unpack RUNTIME_PACKAGE DEVELOPMENT_PACKAGE
unpack() {
    local name version
    name=$(dpkg-deb --field "$1" Package)
    version=$(dpkg-deb --field "$1" Version)
    [[ $(dpkg-deb --field "$2" Depends) == "$name (= $version)" ]] || fail "the one package does not ask for the other"
    [[ $(dpkg-deb --info "$1" shlibs) == "libtaro25d ${name#libtaro25d} $name (>= $version)" ]] || fail "shlibs"
    [[ $(dpkg-deb --field "$1" Depends) == *libgmp10*libstdc++6* ]] || fail "dependencies are missing"
    dpkg-deb --extract "$1" "$scratch/root"
    dpkg-deb --extract "$2" "$scratch/root"
    ln -s root/usr "$prefix"
}

if [[ $how == package ]]; then
    unpack "$build"/packages/libtaro25d[0-9]*.deb "$build"/packages/libtaro25d-dev_*.deb
else
    cmake --install "$build" --prefix "$prefix"
fi
module=$(find "$prefix/" -name taro25d.pc)
libdir=$(dirname "$(dirname "$module")")
export PKG_CONFIG_PATH=${module%/*} LD_LIBRARY_PATH=$libdir

find "$libdir" -name 'libtaro25d.*' -type f -exec strip --strip-debug {} +
grep -r -l -F -e "$source/dt2Library" -e "$source/include" "$prefix/" && fail "an installed file tells where it was built"

# block LANGUAGE: the first block of the README in this language.
block() {
    awk -v fence="\`\`\`$1" 'found && /^```/ { exit } found; $0 == fence { found = 1 }' "$source/README.md"
}
block cpp >"$scratch/main.cpp"
block text >"$scratch/expected.txt"
cd "$scratch"

# prints_what_the_readme_shows PROGRAM
prints_what_the_readme_shows() {
    "$1" | diff expected.txt - || fail "$1 prints something else than the README shows"
}

# compile PROGRAM FLAG...
compile() {
    "${CXX:-g++}" -Wall -Wextra -Wpedantic -Werror main.cpp -o "$@"
    prints_what_the_readme_shows "./$1"
}
read -r -a flags <<<"$(pkg-config --cflags --libs taro25d)"
compile with_pkg_config "${flags[@]}"
export CPATH=$prefix/include LIBRARY_PATH=$libdir
case $how in
    shared) compile plain -ltaro25d ;;
    static) compile plain -ltaro25d -lgmp -pthread ;;
    package)
        compile plain -ltaro25d
        read -r -a flags <<<"$(pkg-config --static --libs taro25d)"
        compile plain_static -static "${flags[@]}"
        ;;
esac
unset CPATH LIBRARY_PATH

# with_cmake SOURCE_FOLDER BUILD_FOLDER [CMAKE OPTION...]
with_cmake() {
    cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" "${@:3}"
    cmake --build "$2"
}
with_cmake "$source/tests/consumer/project" project -DSOURCE_FOLDER="$scratch"
prints_what_the_readme_shows project/consumer
[[ $how != shared ]] || with_cmake "$source/examples" examples
