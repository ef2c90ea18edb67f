#!/usr/bin/env bash
# Builds the library alone and unoptimised, which takes the least time and has debug information. Below /usr it has the
# folders of Debian's packages.
#   debug_library.sh shared|static FOLDER
set -euo pipefail

shared=OFF
[[ $1 == shared ]] && shared=ON
cmake -S "$(dirname "$0")/../.." -B "$2" -DCMAKE_BUILD_TYPE=Debug -DBUILD_SHARED_LIBS=$shared -DCMAKE_INSTALL_PREFIX=/usr \
    -DTARO25D_BUILD_TESTS=OFF -DTARO25D_BUILD_EXAMPLES=OFF -DTARO25D_BUILD_BENCH=OFF
cmake --build "$2"
