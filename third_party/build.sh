#!/bin/bash
# build.sh [--offline] [windows] [native]
#
# Builds the third-party libraries as static libraries, for the named platforms or for both, and links them at
# build/third_party/<platform>. A result is kept in the user's cache under a key of recipe, versions and compiler,
# and is never built twice; so are the downloads. --offline uses downloads of an earlier run alone.
#
# Needs no rights and no other network than apt's own package sources. Tools: cmake/setup.sh installs them.
#
# XDG_CACHE_HOME            where caches stand, ~/.cache if unset
# TARVIK_THIRD_PARTY_CACHE  this script's own cache, tarvik-plugin-scanner/third_party below the former if unset
# JOBS                      compilers at a time, one per processor if unset
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname "$here")
cache=${TARVIK_THIRD_PARTY_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvik-plugin-scanner/third_party}
downloads=$cache/downloads
jobs=${JOBS:-$(nproc)}
offline=0
platforms=()
for argument; do
  case $argument in
    --offline) offline=1 ;;
    windows | native) platforms+=("$argument") ;;
    *) sed -n '2,12s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 2 ;;
  esac
done
[ ${#platforms[@]} -gt 0 ] || platforms=(windows native)
. "$here/fetch.sh"
. "$here/recipes.sh"

# Nothing of the caller's surroundings may find its way into the libraries.
unset CPATH C_INCLUDE_PATH CPLUS_INCLUDE_PATH LIBRARY_PATH CFLAGS CXXFLAGS LDFLAGS CC CXX DESTDIR
unset CMAKE_PREFIX_PATH CMAKE_TOOLCHAIN_FILE CMAKE_GENERATOR CMAKE_BUILD_TYPE
export CC=gcc CXX=g++ PKG_CONFIG_LIBDIR=/nonexistent PKG_CONFIG_PATH= LC_ALL=C

mkdir -p "$downloads"
work=$(mktemp -d "$cache/.work.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP

compiler() { # PLATFORM
  case $1 in
    windows) echo x86_64-w64-mingw32-g++-posix ;;
    native) echo g++ ;;
  esac
}

key() { # PLATFORM: names everything that the result depends on
  {
    (cd "$root" && sha256sum third_party/{build.sh,recipes.sh,packages.txt} cmake/mingw-w64.cmake)
    "$(compiler "$1")" --version | head -1
    echo "$1"
  } | sha256sum | cut -c1-16
}

packages() { grep -Ev '^(#|[[:space:]]*$)' "$here/packages.txt"; }

build_platform() { # PLATFORM PREFIX
  platform=$1 prefix=$2 stage=$work/$1
  # Sections for the product's --gc-sections; no path of this machine in what assertions print.
  flags="-ffunction-sections -fdata-sections -fstack-protector-strong -ffile-prefix-map=$work=third_party"
  flags="$flags -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2"
  [ "$platform" = native ] || flags="$flags -D_WIN32_WINNT=0x0A00"
  mkdir -p "$stage$prefix" "$work/source"
  local kind package pinned sha256 version source object recipe began=$SECONDS
  while read -r kind package pinned sha256; do
    fetch "$kind" "$package" "$pinned" "$sha256"
    source=$work/source/$package object=$work/object/$platform/$package
    [ -d "$source" ] || unpack "$kind" "$package" "$version" "$source"
    recipe=build_$package
    [ "$kind" = source ] || recipe=build_headers
    began=$SECONDS
    # In a shell of its own, whose -e no surrounding condition switches off.
    set +e
    (set -e; "$recipe") >"$work/$package.log" 2>&1 </dev/null
    local status=$?
    set -e
    if [ $status != 0 ]; then
      cp "$work/$package.log" "$cache/failed-$platform-$package.log"
      tail -20 "$work/$package.log" >&2
      echo "third_party: $package does not build for $platform; all of it: $cache/failed-$platform-$package.log" >&2
      return 1
    fi
    printf '%s %s\n' "$package" "$version" >>"$stage$prefix/versions.txt"
    echo "third_party: $platform: $package $version, $((SECONDS - began)) s"
  done < <(packages)
}

# What was built when the mirror no longer had a pinned version says so each time that it is used.
tell_stand_ins() { # PREFIX
  local kind package pinned sha256
  while read -r kind package pinned sha256; do
    grep -qxF "$package $pinned" "$1/versions.txt" ||
      echo "third_party: not the pinned $package $pinned, but $(grep "^$package " "$1/versions.txt")" >&2
  done < <(packages)
}

for platform in "${platforms[@]}"; do
  command -v "$(compiler "$platform")" >/dev/null ||
    { echo "third_party: no $(compiler "$platform"); cmake/setup.sh installs it" >&2; exit 1; }
  link=$root/build/third_party/$platform
  if [ -e "$link" ] && [ ! -L "$link" ]; then
    echo "third_party: $link is not a link of this script; leaving it alone" >&2
    continue
  fi
  prefix=$cache/$(key "$platform")/$platform
  if [ ! -d "$prefix" ]; then
    # One builder at a time; who waited finds the result there.
    exec 9>"$cache/lock"
    flock --nonblock 9 || { echo "third_party: another build is under way, waiting for it"; flock 9; }
    if [ ! -d "$prefix" ]; then
      build_platform "$platform" "$prefix"
      mkdir -p "$(dirname "$prefix")"
      mv "$work/$platform$prefix" "$prefix"
    fi
    exec 9>&-
  fi
  tell_stand_ins "$prefix"
  mkdir -p "$(dirname "$link")"
  ln -sfn "$prefix" "$link"
done
