#!/usr/bin/env bash
# Installs the Debian 12 packages a task needs: the build and its tests by
# default, more when groups are named (scripts/install-deps.sh ansible ...).
set -euo pipefail

declare -A groups=(
  [build]="build-essential cmake ninja-build pkg-config git ccache
           libxml2-dev libxslt1-dev libsqlite3-dev nlohmann-json3-dev libssl-dev
           libgtest-dev libgmock-dev googletest libbenchmark-dev clang-format
           bash-completion groff-base"
  [package]="dpkg-dev file"
  [ansible]="ansible-core python3-pytest python3-pytest-xdist python3-pytest-forked
             python3-venv python3-voluptuous python3-pycodestyle pylint yamllint"
  [windows]="g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
             mingw-w64-x86-64-dev wine wine64 dpkg-dev autoconf automake libtool tcl make xz-utils perl"
  [fuzz]="clang libclang-rt-14-dev"
  [stress]="sqlite3 procps"
  [coverage]="gcovr python3"
  [bench]="python3 strace"
)

want=(build "$@")
pkgs=()
for g in "${want[@]}"; do
  [ -n "${groups[$g]+x}" ] || { echo "install-deps: unknown group '$g' (known: ${!groups[*]})" >&2; exit 2; }
  read -r -a more <<<"${groups[$g]//$'\n'/ }"
  pkgs+=("${more[@]}")
done

missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
