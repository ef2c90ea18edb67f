#!/usr/bin/env bash
# Installs the library from a build, or the Debian packages made from it, and uses it as clients do. Packages are installed
# by dpkg below a scratch folder, and removed in the end, where this runs as root; they are only unpacked elsewhere.
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

# dpkg in a root of its own. The one script that it runs is that of libc-bin, which keeps to the root that it is told.
scratch_dpkg() {
    PATH=$PATH:/usr/sbin:/sbin dpkg --root="$scratch/root" --log=/dev/null --force-script-chrootless "$@"
}

# prepare_root PACKAGE...: a root in which dpkg knows of these packages as this machine does. The trigger of libc-bin is there
# too, which calls ldconfig after libraries.
prepare_root() {
    local own=/var/lib/dpkg database=$scratch/root/var/lib/dpkg name
    mkdir -p "$database"/{info,triggers,updates} "$scratch/root/etc"
    cp -r /etc/ld.so.conf /etc/ld.so.conf.d "$scratch/root/etc"
    dpkg-query --status libc-bin "$@" >"$database/status"
    for name in $(dpkg-query --show --showformat='${binary:Package} ' libc-bin "$@"); do
        touch "$database/info/$name.list"
    done
    cp "$own"/info/libc-bin.{postinst,triggers} "$database/info"
    cp "$own/triggers/ldconfig" "$database/triggers"
}

# install_or_unpack RUNTIME_PACKAGE DEVELOPMENT_PACKAGE
install_or_unpack() {
    local dependencies
    if ((EUID == 0)); then
        read -r -a dependencies <<<"$(dpkg-deb --field "$1" Depends | sed 's/([^)]*)//g; s/,//g')"
        prepare_root "${dependencies[@]}"
        scratch_dpkg --install "$@"
        [[ $(/sbin/ldconfig -r "$scratch/root" --print-cache) == *libtaro25d.so.[0-9]* ]] || fail "ldconfig was not called"
    else
        dpkg-deb --extract "$1" "$scratch/root"
        dpkg-deb --extract "$2" "$scratch/root"
    fi
    ln -s root/usr "$prefix"
}

purge() {
    local left
    scratch_dpkg --purge libtaro25d-dev "$(dpkg-deb --field "${packages[0]}" Package)"
    left=$(find "$scratch/root" -name '*taro*')
    [[ -z $left ]] || fail "dpkg has left $left"
}

# check_fields RUNTIME_PACKAGE DEVELOPMENT_PACKAGE
check_fields() {
    local name version
    name=$(dpkg-deb --field "$1" Package)
    version=$(dpkg-deb --field "$1" Version)
    [[ $(dpkg-deb --field "$2" Depends) == "$name (= $version)" ]] || fail "the one package does not ask for the other"
    [[ $(dpkg-deb --info "$1" shlibs) == "libtaro25d ${name#libtaro25d} $name (>= $version)" ]] || fail "shlibs"
    [[ $(dpkg-deb --field "$1" Depends) == *libgmp10*libstdc++6* ]] || fail "dependencies are missing"
}

if [[ $how == package ]]; then
    packages=("$build"/packages/libtaro25d[0-9]*.deb "$build"/packages/libtaro25d-dev_*.deb)
    check_fields "${packages[@]}"
    install_or_unpack "${packages[@]}"
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
case $how in
    shared) with_cmake "$source/examples" examples ;;
    package) ((EUID != 0)) || purge ;;
esac
