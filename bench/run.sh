#!/bin/bash
# bench/run.sh [NAME...]
#
# Builds the benchmarks optimised and runs all of them, or those named (FFTBench, scan, ...): natively what is
# portable, under Wine what is about Windows, and the scan of a plug-in as a whole. Each prints its table: the minima
# of interleaved repetitions and the ratio to a peer or a physical limit of the same run. Use a machine that does
# nothing else.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
jobs=${JOBS:-$(nproc)}
log=$PWD/build/logs/bench.log
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
mkdir -p build/logs
: >"$log"
quietly() { "$@" >>"$log" 2>&1 </dev/null || { tail -40 "$log" >&2; exit 1; }; }
quietly cmake/setup.sh
quietly third_party/build.sh
for preset in native windows; do
  quietly cmake --preset $preset -Wno-dev
  quietly ninja -C build/$preset -j "$jobs"
done

wanted() { # NAME, of all when none was named
  [ ${#names[@]} = 0 ] || [[ " ${names[*]} " = *" $1 "* ]]
}
names=("$@")
for program in build/native/bin/*Bench; do
  name=$(basename "$program")
  wanted "$name" || continue
  echo "== $name"
  "$program"
done
. cmake/wine-env.sh
wine_start
trap wine_stop EXIT
for program in build/windows/bin/*Bench.exe; do
  name=$(basename "$program" .exe)
  [ ! -e "build/native/bin/$name" ] && wanted "$name" || continue
  echo "== $name, under Wine"
  wine "$program"
done
if wanted scan; then
  echo "== scan, under Wine"
  bench/scan_bench.py
fi
