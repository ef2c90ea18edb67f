# shellcheck shell=bash
# Sourced by the scripts beside it.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

# Rebuilds are cheap where ccache happens to be installed.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi

say() {
    printf '\n== %s\n' "$*"
}

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# need PACKAGE...: installs those of the Debian packages that are missing.
need() {
    local package sudo=() missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if ! command -v apt-get >/dev/null; then
        echo "No apt-get here: this needs what Debian calls ${missing[*]}" >&2
        return 0
    fi
    ((EUID == 0)) || sudo=(sudo)
    say "Installing ${missing[*]}"
    "${sudo[@]}" apt-get update -qq
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [CMAKE OPTION...] [-- BUILD OPTION...]: configures and builds in build/PRESET.
build() {
    local preset=$1 options=()
    shift
    while (($#)) && [[ $1 != -- ]]; do
        options+=("$1")
        shift
    done
    (($#)) && shift
    cmake --preset "$preset" "${options[@]}"
    cmake --build --preset "$preset" "$@"
}
