#!/bin/bash
# scan.sh [OPTION...] [FILE|FOLDER...]
#
# Builds the scanner and scans the named libraries, or the sample plug-ins if none is named. Options are those of
# tarvik-scan: see `./scan.sh --help`. As root on Debian 12 it installs what is missing first.
#
# Exit codes are those of tarvik-scan too. The samples alone end with 0 although two of them misbehave, as they are
# made to.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
jobs=${JOBS:-$(nproc)}
log=$here/build/logs/scan-build.log
mkdir -p "$here/build/logs"

# What is built goes to the log: the table alone is for standard output. Who waits at a terminal sees the step.
quietly() {
  [ ! -t 2 ] || printf '\r\033[K%s ... (%s)' "$*" "$log" | cut -c "1-$(tput cols 2>/dev/null || echo 80)" | tr -d '\n' >&2
  "$@" >>"$log" 2>&1 </dev/null || { tail -40 "$log" >&2; echo "scan.sh: failed: $*; all of it: $log" >&2; exit 1; }
}
cd "$here"
export CCACHE_BASEDIR=$here CCACHE_NOHASHDIR=1
: >"$log"
quietly cmake/setup.sh
quietly third_party/build.sh
quietly cmake --preset windows
quietly ninja -C build/windows -j "$jobs" TarvikPluginScanner TarvikScannerLauncher sample_plugins
quietly cmake --preset native
quietly ninja -C build/native -j "$jobs" tarvik-scan
cd - >/dev/null
[ ! -t 2 ] || printf '\r\033[K' >&2

. "$here/cmake/wine-env.sh"
wine_start || { echo "scan.sh: Wine does not start" >&2; exit 1; }
trap wine_stop EXIT
# Without anything to scan, the samples. Options with a value of their own do not name something to scan.
targets=0 skip=0
for argument; do
  if [ $skip = 1 ]; then skip=0; continue; fi
  case $argument in
    --scanner | --known | --vendor | --product | --time-limit) skip=1 ;;
    --identifier | --identifier=* | --directx) targets=1 ;;
    -*) ;;
    *) targets=1 ;;
  esac
done
[ $targets = 1 ] || set -- "$@" "$here/build/windows/bin/plugins/samples"
status=0
"$here/build/native/bin/tarvik-scan" "$@" || status=$?
[ $targets = 1 ] || [ $status != 1 ] || status=0
exit $status
