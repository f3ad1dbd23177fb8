#!/usr/bin/env bash
# Runs the README's scripted story as written and compares every command's
# output with the output the README shows, so the README stays true.
# Usage: story_test.sh README BINDIR SHAREDIR [RUNNER]
# With RUNNER (the Windows build's Wine runner) the programs are BINDIR's
# .exe files run through it, and paths are given to them as Windows paths.
set -euo pipefail
readme=$1 bindir=$2 sharedir=$3 runner=${4:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Wine shows the Unix root as drive Z:.
native() { if [ -n "$runner" ]; then local p=${1//\//\\}; echo "Z:$p"; else echo "$1"; fi; }
if [ -n "$runner" ]; then
  mkdir "$work/bin"
  for program in kvda vkreport vkconfig; do
    printf '#!/bin/sh\nexec "%s" "%s/%s.exe" "$@"\n' "$runner" "$bindir" "$program" \
      > "$work/bin/$program"
    chmod +x "$work/bin/$program"
  done
  bindir=$work/bin
fi

# The fenced block that follows the story's heading.
awk '/^## A scripted story/ {s=1} s && /^```$/ {n++; next} s && n==1 {print}' "$readme" > "$work/block"
[ -s "$work/block" ] || { echo "no story block in $readme"; exit 1; }

export PATH="$bindir:$PATH" VK_SHARE_DIR="$(native "$sharedir")" SystemRoot="$(native "$work/log")"
mkdir -p "$work/log"
expected="$work/expected" actual="$work/actual"
: > "$expected"; : > "$actual"
while IFS= read -r line; do
  if [[ $line == '$ '* ]]; then
    cmd=${line#'$ '}
    echo "$line" >> "$actual"
    echo "$line" >> "$expected"
    # The story's own state file goes to the scratch folder.
    cmd=${cmd//\/tmp\/vk-story.db/$(native "$work/story.db")}
    cmd=${cmd//'$PWD/build/default/bin'/$bindir}
    eval "$cmd" >> "$actual" 2>&1 || echo "(exit $?)" >> "$actual"
  else
    echo "$line" >> "$expected"
  fi
done < "$work/block"
if ! diff -u "$expected" "$actual"; then
  echo "the README's story no longer runs as written"
  exit 1
fi
echo "story: $(grep -c '^\$ ' "$work/block") commands as written"
