#!/bin/bash
# apt-sources.sh DIR
#
# Makes a private apt configuration below DIR that can fetch source packages, whatever the machine's own lists
# say, and prints its path: export it as APT_CONFIG. The entries of this Debian release are taken over from the
# machine's own lists, mirror and keys included; only deb-src is added. The machine's configuration and its lists
# stay as they are. Package indices older than a day are fetched anew; when that fails, old ones serve.
#
# --offline as first argument fetches nothing.
set -euo pipefail
offline=0
if [ "${1:-}" = --offline ]; then offline=1; shift; fi
dir=$(mkdir -p "${1:?usage: apt-sources.sh [--offline] DIR}" && cd "$1" && pwd)
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:?}")
mkdir -p "$dir/etc" "$dir/lists/partial" "$dir/cache/archives/partial"

# deb822 stanzas: those whose suites are all of this release, with both types.
# One-line entries: the same, each once as deb and once as deb-src.
# Foreign repositories have other suites, and often no sources at all: they stay out.
shopt -s nullglob
for file in /etc/apt/sources.list.d/*.sources; do
  awk -v release="$codename" '
    function flush(   keep, count, i, words) {
      keep = stanza != "" && suites != ""
      count = split(suites, words, /[ \t]+/)
      for (i = 1; i <= count; i++) if (words[i] !~ "^" release "([-/]|$)") keep = 0
      if (keep && enabled) printf "%s\n", stanza
      stanza = ""; suites = ""; enabled = 1
    }
    BEGIN { enabled = 1 }
    /^#/ { next }
    /^[ \t]*$/ { flush(); next }
    tolower($0) ~ /^types:/ { stanza = stanza "Types: deb deb-src\n"; next }
    tolower($0) ~ /^enabled:[ \t]*no/ { enabled = 0 }
    tolower($0) ~ /^suites:/ { suites = $0; sub(/^[^:]*:[ \t]*/, "", suites); sub(/[ \t]+$/, "", suites) }
    { stanza = stanza $0 "\n" }
    END { flush() }' "$file"
done >"$dir/etc/release.sources"
for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [ -f "$file" ] || continue
  sed -nE "s/#.*//; s/^[[:space:]]*deb[[:space:]]+((\[[^]]*\][[:space:]]+)?[^[:space:]]+[[:space:]]+$codename([-/][^[:space:]]*)?[[:space:]].*)/deb \1\ndeb-src \1/p" "$file"
done >"$dir/etc/release.list"
[ -s "$dir/etc/release.sources" ] || [ -s "$dir/etc/release.list" ] ||
  { echo "apt-sources.sh: no apt entry for $codename on this machine" >&2; exit 1; }

cat >"$dir/apt.conf" <<END
Dir::Etc::sourcelist "/dev/null";
Dir::Etc::sourceparts "$dir/etc";
Dir::State::lists "$dir/lists";
Dir::Cache "$dir/cache";
APT::Sandbox::User "root";
Acquire::Retries "3";
END

export APT_CONFIG=$dir/apt.conf
# Index files carry the mirror's times: the moment of the last fetch stands in a file of its own.
fresh=$(find "$dir" -maxdepth 1 -name updated -mmin -1440 -print -quit)
if [ $offline = 0 ] && [ -z "$fresh" ]; then
  if apt-get -q update >"$dir/update.log" 2>&1; then
    touch "$dir/updated"
  elif ! find "$dir/lists" -name '*_Sources*' -print -quit | grep -q .; then
    tail -5 "$dir/update.log" >&2
    exit 1
  fi
fi
echo "$APT_CONFIG"
