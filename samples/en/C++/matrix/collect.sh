#!/usr/bin/env bash
# Collects the sample result anew: builds the matrix program, runs it under the sampling profiler of
# google-perftools, folds the stacks and imports them.
#
#   collect.sh [PANEDECK]     PANEDECK: the program `panedeck` (default: build/release/bin of this tree)
#
# Needs g++, google-perftools and libgoogle-perftools-dev. The result replaces ../matrix_results/r000hs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
panedeck=$(realpath "${1:-$here/../../../../build/release/bin/panedeck}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Frame pointers give whole stacks; -lprofiler is linked in although nothing calls it.
g++ -std=c++20 -O2 -g -fno-omit-frame-pointer -fno-optimize-sibling-calls "$here/matrix.cpp" \
    -Wl,--no-as-needed -lprofiler -Wl,--as-needed -o "$scratch/matrix"
CPUPROFILE="$scratch/matrix.prof" CPUPROFILE_FREQUENCY=500 "$scratch/matrix" 10 >/dev/null
# The folder's tool marks functions that it knows from two places with an address; the name is enough here.
google-pprof --collapsed "$scratch/matrix" "$scratch/matrix.prof" 2>/dev/null |
    sed 's/<[0-9a-f]\{16\}>//g' >"$scratch/matrix.folded"
test -s "$scratch/matrix.folded"

results=$here/../matrix_results
mkdir -p "$results"
rm -rf "$results/r000hs"
# From within its folder, so that the result keeps no path of this machine.
cd "$scratch"
"$panedeck" import matrix.folded --out "$results"
