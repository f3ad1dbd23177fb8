#!/bin/sh
# Runs a program of the Windows build under Wine; CTest uses it as the
# emulator. The Wine prefix lives outside the clone and is made once
# (serialised, since tests start in parallel). The program finds the DLLs it
# links with in ../lib/vk, where the build tree keeps them.
# usage: wine-run.sh PROGRAM [ARG]...   or   wine-run.sh --prepare
set -eu
WINEPREFIX=${WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/vk/wine}
WINEDEBUG=${WINEDEBUG:--all}
# No browser or .NET runtime to offer to install in a prefix without a screen.
WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  mkdir -p "$(dirname "$WINEPREFIX")"
  flock "$WINEPREFIX.lock" sh -c \
    '[ -f "$WINEPREFIX/system.reg" ] || { wine wineboot --init && wineserver -w; } >/dev/null 2>&1'
fi
[ "$1" = "--prepare" ] && exit 0
dll_dir=$(cd "$(dirname "$1")/../lib/vk" 2>/dev/null && pwd) || dll_dir=
WINEPATH="$dll_dir${WINEPATH:+;$WINEPATH}" exec wine "$@"
