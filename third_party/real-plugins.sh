#!/bin/bash
# real-plugins.sh [--offline] [OUTDIR]
#
# Builds third-party VST 2 libraries for Windows, from Debian source packages, to be scanned by the tests: 34 for
# 64 bits, and two for 32 bits in x86/ below the others. OUTDIR is build/real-plugins unless told.
#
# They are ISC, Expat, LGPL or GPL, each for itself: for tests only, never committed, never shipped.
#
# The result is kept in the user's cache, outside the tree, under a key of this recipe and the compilers, and is never
# built twice; so are the downloads. --offline uses downloads of an earlier run alone.
#
# XDG_CACHE_HOME             where caches stand, ~/.cache if unset
# TARVIK_REAL_PLUGINS_CACHE  this script's own cache, tarvik-plugin-scanner/real-plugins below the former if unset
# TARVIK_OFFLINE             the same as --offline, if not empty
# JOBS                       compilers at a time, one per processor if unset
#
# Needs: apt, dpkg, g++-mingw-w64-x86-64-posix, g++-mingw-w64-i686-posix, make, python3, xz-utils.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
offline=${TARVIK_OFFLINE:+--offline}
if [ "${1:-}" = --offline ]; then offline=--offline; shift; fi
out=${1:-$here/../build/real-plugins}
jobs=${JOBS:-$(nproc)}
cache=${TARVIK_REAL_PLUGINS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvik-plugin-scanner/real-plugins}

# Nothing of the caller's surroundings may find its way into the libraries.
unset CPATH C_INCLUDE_PATH CPLUS_INCLUDE_PATH LIBRARY_PATH CFLAGS CXXFLAGS CPPFLAGS DESTDIR PREFIX MAKEFLAGS
export LC_ALL=C

# Package, version, the file of it that is needed, and that file's SHA-256.
pins='
dpf-plugins 1.6+ds-2 dpf-plugins_1.6+ds.orig.tar.xz 15492ec9693f09e676e6a18e7e35f8861c6340e70ecb53e1404d0b803bf1f98a
dragonfly-reverb 3.2.8-1 dragonfly-reverb_3.2.8.orig.tar.gz 05d07ea58b89d2057ed6ad1cad220e3140e5ebafebb50b440ffd787f065a1e3a
zam-plugins 4.1+ds-1 zam-plugins_4.1+ds.orig.tar.xz 6e5b492a518986b2eeb9f6ca3c984ac1022de369e295884877ff041d02e1ebcf
dpf-source 1.6+ds-2 dpf-source_1.6+ds-2_all.deb 8a7c02ffa823d2d008843c543291b8cc8911a440f413c34048d2ac49594d4738
'
# The libraries by package: what `make` below plugins/ is asked for, and what this package's own makefiles call
# "no file browser" (each names it differently).
dpf_plugins='3BandEQ 3BandSplitter AmplitudeImposer CycleShifter Kars MVerb Nekobi PingPongPan SoulForce
  bitcrush freeverb gigaverb glBars pitchshift'
dragonfly_reverb='dragonfly-early-reflections dragonfly-hall-reverb dragonfly-plate-reverb dragonfly-room-reverb'
zam_plugins='ZamComp ZamCompX2 ZaMultiComp ZamTube ZamEQ2 ZamAutoSat ZamGEQ31 ZaMultiCompX2 ZamGate ZamGateX2
  ZaMaximX2 ZamDelay ZamDynamicEQ ZamPhono ZamGrains ZamSynth'
in_32_bits='Kars freeverb'

for tool in make python3 xz dpkg x86_64-w64-mingw32-g++-posix i686-w64-mingw32-g++-posix; do
  command -v $tool >/dev/null || { echo "real-plugins.sh: $tool is missing" >&2; exit 1; }
done

key=$({ cat "$0"; x86_64-w64-mingw32-g++-posix -dumpfullversion -dumpmachine
  i686-w64-mingw32-g++-posix -dumpfullversion -dumpmachine; } | sha256sum | cut -c1-16)
kept=$cache/$key
downloads=$cache/downloads

# Leaves the package's file in $downloads and prints its name there. The pinned version when the mirror has it (or the
# cache), else this release's current one, whose hashes apt checks against the signed index.
fetch() {
  local package=$1 version=$2 file=$3 sum=$4 found
  if echo "$sum  $downloads/$file" | sha256sum -c --status 2>/dev/null; then echo "$file"; return; fi
  if [ -n "$offline" ]; then echo "real-plugins.sh: offline, and $file is not in the cache" >&2; return 1; fi
  rm -f "$downloads/$file"
  local fetched=$downloads/$package.part
  rm -rf "$fetched"; mkdir -p "$fetched"
  # The packaging's own tarball is missing on some mirrors, and then apt fails at the end of a good download:
  # what counts is the file.
  case $file in
    *.deb) (cd "$fetched" && { apt-get -q download "$package=$version" || apt-get -q download "$package"; }) ;;
    *) (cd "$fetched" && { apt-get -q source --download-only "$package=$version" || [ -e "$file" ] ||
          apt-get -q source --download-only "$package"; }) ;;
  esac >"$downloads/$package.log" 2>&1 || true
  if echo "$sum  $fetched/$file" | sha256sum -c --status 2>/dev/null; then
    found=$file
  else
    found=$(cd "$fetched" && find . -maxdepth 1 \( -name '*.orig.tar.*' -o -name '*.deb' \) ! -name '*.asc' -printf '%f\n' | head -1)
    if [ -z "$found" ] || [ "$found" = "$file" ]; then
      echo "real-plugins.sh: cannot get $file as pinned" >&2; tail -3 "$downloads/$package.log" >&2; return 1
    fi
    echo "real-plugins.sh: $package $version is gone, building from $found" >&2
  fi
  mv "$fetched/$found" "$downloads/$found"; rm -rf "$fetched"
  echo "$found"
}

# Unpacks a tarball of $downloads below the present folder, and prints the folder that came out.
unpack() { tar xf "$downloads/$1"; tar tf "$downloads/$1" | sed -n '1s,/.*,,p'; }

# compile FOLDER NO_FILE_BROWSER GRAPHICS NAMES...: the named plug-ins of an unpacked package, in the present target.
compile() {
  local folder=$1 browser=$2 graphics=$3; shift 3
  make -s -j"$jobs" -C "$folder/dpf/dgl" $browser $graphics
  for name in "$@"; do make -s -j"$jobs" -C "$folder/plugins/$name" vst2; done
}

target() {
  export CC=$1-gcc-posix CXX=$1-g++-posix AR=$1-ar PKG_CONFIG=/bin/false WINDOWS=true CROSS_COMPILING=true
  # Without the time in the file, rebuilding gives the same bytes.
  export LDFLAGS=-Wl,--no-insert-timestamp
}

build() {
  local work=$kept.part deb dpf zam dragonfly package version file sum
  rm -rf "$work"; mkdir -p "$work/result/x86" "$downloads"; cd "$work"
  if [ -z "$offline" ]; then
    APT_CONFIG=$("$here/apt-sources.sh" "$cache/apt"); export APT_CONFIG
  fi
  declare -A got
  while read -r package version file sum; do
    [ -n "$package" ] || continue
    got[$package]=$(fetch "$package" "$version" "$file" "$sum")
  done <<<"$pins"

  deb=$work/dpf; dpkg -x "$downloads/${got[dpf-source]}" "$deb"
  dpf=$(unpack "${got[dpf-plugins]}")
  dragonfly=$(unpack "${got[dragonfly-reverb]}")
  zam=$(unpack "${got[zam-plugins]}")
  # Two of the tarballs have an empty place for the framework.
  for package in "$dragonfly" "$zam"; do rm -rf "$package/dpf"; cp -r "$deb/usr/share/dpf" "$package/dpf"; done
  cp -r "$dpf" "$dpf-32"

  target x86_64-w64-mingw32
  make -s -j"$jobs" -C "$dpf/dpf/dgl" FILE_BROWSER_DISABLED=true opengl3
  compile "$dpf" FILE_BROWSER_DISABLED=true opengl $dpf_plugins
  compile "$dragonfly" FILE_BROWSER_DISABLED=true opengl $dragonfly_reverb
  compile "$zam" X=1 opengl $zam_plugins
  cp "$dpf"/bin/*-vst.dll "$dragonfly"/bin/*-vst.dll "$zam"/bin/*-vst.dll result/

  target i686-w64-mingw32
  compile "$dpf-32" FILE_BROWSER_DISABLED=true opengl $in_32_bits
  cp "$dpf-32"/bin/*-vst.dll result/x86/

  rm -rf "$kept"; mv "$work/result" "$kept"; cd /; rm -rf "$work"
}

if [ ! -d "$kept" ]; then
  mkdir -p "$cache"
  exec 9>"$cache/lock"; flock 9
  if [ ! -d "$kept" ]; then
    # Not "build || ...": that would keep errors inside it from ending it.
    set +e; (set -e; build) >"$cache/build.log" 2>&1; status=$?; set -e
    if [ $status != 0 ]; then tail -20 "$cache/build.log" >&2; exit 1; fi
  fi
fi
mkdir -p "$out"; out=$(cd "$out" && pwd)
cp -Rpu "$kept/." "$out/"
echo "real-plugins.sh: $(find "$out" -maxdepth 1 -name '*.dll' | wc -l) libraries in $out, $(find "$out/x86" -name '*.dll' | wc -l) of 32 bits in x86/"
