#!/usr/bin/env bash
# Installs what is missing, builds a preset (default unless named) and runs
# every test of it.
set -euo pipefail
preset=${1:-default}
cd "$(dirname "$0")/.."
scripts/install-deps.sh
# The Windows build also needs mingw-w64, Wine and its libraries built from
# Debian's sources (kept in a cache, so this is quick after the first time).
[ "$preset" != windows ] || scripts/windows-deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
