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
  # Wine's chatter while it makes the prefix is kept, and shown only when
  # making it fails, so that a test never fails without a word.
  flock "$WINEPREFIX.lock" sh -c \
    '[ -f "$WINEPREFIX/system.reg" ] || { wine wineboot --init && wineserver -w; } >"$WINEPREFIX.log" 2>&1' ||
    { echo "wine-run.sh: Wine could not make its prefix $WINEPREFIX:" >&2; cat "$WINEPREFIX.log" >&2; exit 1; }
fi
[ "$1" = "--prepare" ] && exit 0
dll_dir=$(cd "$(dirname "$1")/../lib/vk" 2>/dev/null && pwd) || dll_dir=
WINEPATH="$dll_dir${WINEPATH:+;$WINEPATH}" exec wine "$@"
