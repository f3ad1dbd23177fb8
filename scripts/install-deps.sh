#!/usr/bin/env bash
# Installs the Debian 12 packages the build and the tests need.
set -euo pipefail
pkgs=(build-essential cmake ninja-build pkg-config git
      libxml2-dev libxslt1-dev libsqlite3-dev nlohmann-json3-dev
      libgtest-dev libgmock-dev googletest libbenchmark-dev clang-format)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
