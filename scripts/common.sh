# shellcheck shell=bash
# Sourced by the scripts beside it.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

# Rebuilds are cheap where ccache happens to be installed.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi

# understand PATTERN ARGUMENT...: to be called before anything is done. With --help among the arguments of a script,
# prints what stands at its head. Ends the script then, and where the arguments, a line for each, do not match it.
understand() {
    local pattern=$1
    shift
    (($#)) || return 0
    if [[ " $* " == *" --help "* ]]; then
        sed -n '2,/^[^#]/s/^# \?//p' "scripts/$(basename "$0")"
        exit 0
    fi
    [[ $(printf '%s\n' "$@") =~ ^($pattern)$ ]] && return
    echo "$0 does not know what to do with $*: see --help" >&2
    exit 2
}

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
