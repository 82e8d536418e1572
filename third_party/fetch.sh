# fetch.sh, to be sourced: packages of packages.txt into the directory $downloads, and from there unpacked.
#
# What comes from the network is checked twice: by apt against the mirror's signed index, and against the pin.
# What is there already is checked against the pin alone, so that the directory may be copied between machines.
# A pinned version that the mirror no longer carries is stood in for by the release's current one, which apt alone
# vouches for; its hash is noted beside it, and what is built from it says so.

# The file that names a package's version in the download directory. An epoch is not part of file names.
package_file() { # KIND PACKAGE VERSION
  case $1 in
    source) echo "$2_${3#*:}.dsc" ;;
    binary) (cd "$downloads" && ls "$2_${3#*:}"_{amd64,all}.deb 2>/dev/null | head -1) ;;
  esac
}

matches() { # FILE SHA256
  [ -f "$1" ] && echo "$2  $1" | sha256sum --check --status
}

# Whether the package is complete in the download directory.
have() { # KIND PACKAGE VERSION SHA256
  local file
  file=$(package_file "$1" "$2" "$3")
  [ -n "$file" ] && matches "$downloads/$file" "$4" || return 1
  [ "$1" = binary ] || (cd "$downloads" && awk '
    /^Checksums-Sha256:/ { inside = 1; next }
    /^[^ ]/ { inside = 0 }
    inside { print $1 "  " $3 }' "$file" | sha256sum --check --status 2>/dev/null)
}

# Has apt fetch a package, in a directory of its own, so that an interrupted download leaves nothing behind. Sets
# `fetched` to the file that names it.
download() { # KIND PACKAGE[=VERSION]
  local into status=0
  into=$(mktemp -d "$downloads/.partial.XXXXXX")
  (
    cd "$into"
    case $1 in
      source) apt-get -q source --download-only --only-source "$2" ;;
      binary) apt-get -q download "$2" ;;
    esac
  ) >"$work/download.log" 2>&1 || status=1
  fetched=$(find "$into" -name '*.dsc' -printf '%f' -o -name '*.deb' -printf '%f')
  [ $status = 0 ] && [ -n "$fetched" ] && mv -f "$into"/* "$downloads/" || status=1
  rm -rf "$into"
  return $status
}

# Brings the package into the download directory and sets `version` to what is there: the pinned version, or the
# one that stands in for it.
fetch() { # KIND PACKAGE PINNED_VERSION PINNED_SHA256
  local kind=$1 package=$2 pinned=$3 sha256=$4 note=$downloads/$2.stand-in fetched
  version=$pinned
  have "$kind" "$package" "$pinned" "$sha256" && return 0
  if [ "$offline" = 0 ]; then
    [ -n "${APT_CONFIG_READY:-}" ] || {
      APT_CONFIG=$("$here/apt-sources.sh" "$cache/apt")
      export APT_CONFIG APT_CONFIG_READY=1
    }
    if download "$kind" "$package=$pinned"; then
      have "$kind" "$package" "$pinned" "$sha256" && return 0
      echo "third_party: $package $pinned is not the file that packages.txt pins" >&2
      return 1
    fi
    if download "$kind" "$package"; then
      # apt chose the version, which the file's name tells.
      version=${fetched#"${package}_"}
      version=${version%.dsc}
      version=${version%_*.deb}
      echo "$version $(sha256sum <"$downloads/$fetched" | cut -d' ' -f1)" >"$note"
    fi
  fi
  if [ -f "$note" ]; then
    read -r version sha256 <"$note"
    if have "$kind" "$package" "$version" "$sha256"; then
      echo "third_party: $package $version stands in for $pinned, which the mirror no longer carries" >&2
      return 0
    fi
  fi
  echo "third_party: cannot get $package $pinned" >&2
  [ "$offline" = 1 ] && echo "third_party: it is not in $downloads, and --offline fetches nothing" >&2 ||
    tail -5 "$work/download.log" >&2
  return 1
}

unpack() { # KIND PACKAGE VERSION DIRECTORY
  local file=$downloads/$(package_file "$1" "$2" "$3")
  case $1 in
    source) dpkg-source --no-check -x "$file" "$4" >"$work/unpack.log" 2>&1 ||
      { tail -5 "$work/unpack.log" >&2; return 1; } ;;
    binary) dpkg-deb -x "$file" "$4" ;;
  esac
}
