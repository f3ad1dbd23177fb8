#!/usr/bin/env bash
# Builds the Debian package vk-storage and runs reports through the installed
# programs only: first unpacked into a temporary root (dpkg -x) and run from
# /, then, when run as root, installed (dpkg -i), run from / with the default
# paths, removed (the estate stays) and purged (it goes). The machine is left
# as it was: what /var/lib/vk and /var/log/vk held is put back, and a vkadmin
# group the package made is deleted.
# Usage: scripts/test-package.sh [PRESET]   (the default preset if none)
set -euo pipefail
preset=${1:-default}
cd "$(dirname "$0")/.."
scripts/install-deps.sh package
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
build=$PWD/build/$preset
rm -f "$build"/vk-storage_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
debs=("$build"/vk-storage_*.deb)
deb=${debs[0]}
[ -f "$deb" ] || { echo "test-package: cpack made no package" >&2; exit 1; }

work=$(mktemp -d)
saved=()          # directories moved aside, put back at the end
made_group=0
installed=0
cleanup() {
    [ "$installed" -eq 0 ] || dpkg -P vk-storage >/dev/null 2>&1 || true
    for dir in "${saved[@]}"; do
        rm -rf "$dir"
        mv "$work/saved${dir//\//_}" "$dir"
    done
    [ "$made_group" -eq 0 ] || groupdel vkadmin 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
fail() {
    echo "test-package: $*" >&2
    exit 1
}
# A program of the package with nothing from the caller's environment, from /.
run() {
    (cd / && env -i PATH=/usr/bin:/bin HOME="$work/home" "$@")
}
check_report() {
    grep -q '^ID  *: 0$' <<<"$1" || fail "$2 printed no controller 0:"$'\n'"$1"
}

echo "test-package: $(basename "$deb")"
depends=$(dpkg-deb -f "$deb" Depends)
grep -q 'libxml2' <<<"$depends" || fail "Depends lacks the computed libraries: $depends"

# 1. Unpacked into a temporary root: the programs find their libraries, data
# and profiles relative to themselves, and nothing leads back to the build.
root=$work/root
dpkg -x "$deb" "$root"
if grep -rlF "$build" "$root"; then fail "the files above name the build tree"; fi
mkdir -p "$work/home"
estate=(KVDA_STATE="$work/kvda.db" SystemRoot="$work/log")
out=$(run "${estate[@]}" "$root/usr/bin/vkreport" storage controller) || fail "vkreport failed"
check_report "$out" "vkreport storage controller (unpacked)"
out=$(run "${estate[@]}" "$root/usr/bin/vkconfig" --dry-run storage vdisk action=blink controller=0 vdisk=0)
grep -q '^  vkacmd=setVDBlink$' <<<"$out" || fail "vkconfig --dry-run did not show its request: $out"
out=$(run "$root/usr/bin/kvda" profiles)
grep -q '^default' <<<"$out" || fail "kvda found no profiles: $out"
for page in "$root"/usr/share/man/man*/*.gz; do
    warnings=$(zcat "$page" | groff -z -wall -man 2>&1)
    [ -z "$warnings" ] || fail "$(basename "$page"): $warnings"
done
out=$(tests/docgen/complete.sh "$root/usr/share/bash-completion/completions/vkconfig" "vkconfig storage vd")
[ "$out" = vdisk ] || fail "vkconfig storage vd<Tab> offers '$out', not vdisk"

# 2. Installed, removed and purged: only as root, and only where nothing of
# the package is there already.
if [ "$(id -u)" -ne 0 ]; then
    echo "test-package: not root, so not installed with dpkg -i"
    exit 0
fi
if dpkg-query -W -f='${Status}' vk-storage 2>/dev/null | grep -q 'ok installed'; then
    echo "test-package: vk-storage is installed here already; dpkg -i left out"
    exit 0
fi
while read -r path; do
    path=/${path#./}
    [ -d "$path" ] || [ ! -e "$path" ] || fail "$path exists without the package; not installing over it"
done < <(dpkg-deb --fsys-tarfile "$deb" | tar -t)
getent group vkadmin >/dev/null || made_group=1
for dir in /var/lib/vk /var/log/vk; do
    [ -e "$dir" ] || continue
    mv "$dir" "$work/saved${dir//\//_}"
    saved+=("$dir")
done

installed=1
dpkg -i "$deb" >/dev/null
getent group vkadmin >/dev/null || fail "dpkg -i made no vkadmin group"
for dir in /var/lib/vk /var/log/vk; do
    [ "$(stat -c %U:%G:%a "$dir")" = root:vkadmin:2750 ] ||
        fail "$dir is $(stat -c %U:%G:%a "$dir"), not root:vkadmin:2750"
done
out=$(run vkreport storage controller) || fail "the installed vkreport failed"
check_report "$out" "vkreport storage controller (installed)"
[ -f /var/lib/vk/kvda.db ] || fail "the estate is not in /var/lib/vk"
# bash-completion finds the completion when Tab is first pressed; man the pages.
bash -c 'source /usr/share/bash-completion/bash_completion && __load_completion vkconfig &&
         complete -p vkconfig' >/dev/null || fail "bash-completion does not find the completion"
if command -v man >/dev/null; then
    [ "$(run man -w vkconfig)" = /usr/share/man/man8/vkconfig.8.gz ] || fail "man finds no vkconfig(8)"
fi

dpkg -r vk-storage >/dev/null
[ ! -e /usr/bin/vkreport ] || fail "dpkg -r left /usr/bin/vkreport"
[ -f /var/lib/vk/kvda.db ] || fail "dpkg -r took the estate"
dpkg -P vk-storage >/dev/null
installed=0
[ ! -e /var/lib/vk ] && [ ! -e /var/log/vk ] || fail "dpkg -P left /var/lib/vk or /var/log/vk"
echo "test-package: unpacked, installed, removed and purged"
