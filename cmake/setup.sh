#!/bin/bash
# setup.sh [--check]
#
# Installs the tools that building and testing need, on Debian 12 and as root, and only those that are missing.
# --check installs nothing: it names what is missing and fails if anything is.
set -euo pipefail
packages=(
  # builds of both platforms
  cmake ninja-build ccache g++ g++-mingw-w64-x86-64-posix
  # third_party/build.sh and third_party/real-plugins.sh
  ca-certificates dpkg-dev make patch xz-utils bzip2
  # lint, format, fuzz targets
  clang-19 clang-tidy-19 clang-format-19 libclang-rt-19-dev
  # tests: Wine runs the Windows ones, the scanner's peer is written in Python, one sample library is of 32 bits
  wine wine64 python3 python3-zmq python3-msgpack g++-mingw-w64-i686-posix
  # tests: sound files of other programs
  libsndfile1 sox ffmpeg
  # tests: what Wine's media library reads MP3 with, and Windows Media files
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-ugly gstreamer1.0-libav
  # benchmarks: peers to measure against, linked into nothing else
  libfftw3-dev libsndfile1-dev
  # the scripts themselves, and a locale with a decimal comma for the tests
  git util-linux procps locales
)
missing=()
for package in "${packages[@]}"; do
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0
if [ "${1:-}" = --check ] || [ "$(id -u)" != 0 ]; then
  echo "setup.sh: not installed: ${missing[*]}" >&2
  echo "setup.sh: as root, cmake/setup.sh installs them" >&2
  exit 1
fi
echo "setup.sh: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A repository of somebody else that does not answer must not keep Debian's packages from being installed.
apt-get -q -o Acquire::Retries=3 update >/dev/null ||
  echo "setup.sh: some package lists could not be updated; going on with what there is" >&2
apt-get -q -y -o Acquire::Retries=3 -o Dpkg::Use-Pty=0 install --no-install-recommends "${missing[@]}" >/dev/null
