# wine-env.sh, to be sourced: Wine with a prefix of its own below build/, for what is cross-built.
#
#   wine_start   makes the prefix if there is none, and starts its server
#   wine_stop    ends the server and whatever still runs in the prefix
#
# Nothing here needs a display, nor looks for one.
wine_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=$wine_root/build/wine
export WINEDEBUG=${WINEDEBUG:--all}
# winedbg shows a dialog for a crash and waits for somebody to close it. mscoree and mshtml would offer downloads.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winedbg.exe=d;mscoree,mshtml=}
unset DISPLAY WAYLAND_DISPLAY
# Wine takes the names of files by the locale. A machine without one would have it read them as ASCII.
[ "$(locale charmap 2>/dev/null)" = UTF-8 ] || export LC_ALL=C.UTF-8

wine_start() {
  # A prefix that its creator did not finish has no mark, and is made anew.
  if [ ! -f "$WINEPREFIX/.tarvik-ready" ]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    wine wineboot -i </dev/null >/dev/null 2>&1 || return 1
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f </dev/null >/dev/null 2>&1 || return 1
    wineserver -w
    touch "$WINEPREFIX/.tarvik-ready"
  fi
  # A server that a test started would hold the test's output open, as would the services that it starts: both are
  # brought up here, with their output nowhere.
  wineserver -p </dev/null >/dev/null 2>&1 || true
  wine wineboot </dev/null >/dev/null 2>&1
}

wine_stop() {
  wineserver -k </dev/null >/dev/null 2>&1 || true
}
