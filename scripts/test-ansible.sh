#!/usr/bin/env bash
# Tests the Ansible collection vk.storage against a build's programs:
#   ansible-test sanity and units (offline, on Debian's packages);
#   the integration playbook on a fresh simulated estate, twice (the second
#   run changes nothing), then whole in check mode (the estate stays as it is);
#   the collection README's playbook on 20 simulated hosts with 10 forks,
#   twice (no failures; the second run changes nothing on any host).
# Usage: scripts/test-ansible.sh [BIN_DIR]   (default: build/default/bin)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=$(cd "${1:-$root/build/default/bin}" && pwd)
for p in vkreport vkconfig kvda; do
  [ -x "$bin/$p" ] || { echo "test-ansible: $bin/$p is missing; build first" >&2; exit 2; }
done

"$root/scripts/install-deps.sh" ansible

# Debian's Python carries the packages installed above; put it before any other.
export PATH=/usr/bin:/bin:$PATH
export ANSIBLE_COLLECTIONS_PATH=$root/ansible ANSIBLE_NOCOLOR=1 ANSIBLE_RETRY_FILES_ENABLED=0
export ANSIBLE_LOCALHOST_WARNING=0 ANSIBLE_INVENTORY_UNPARSED_WARNING=0 ANSIBLE_PIPELINING=1
export ANSIBLE_PYTHON_INTERPRETER=/usr/bin/python3 KVDA_TIME_SCALE=0
coll=$root/ansible/ansible_collections/vk/storage
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

started=$SECONDS
stage() {
  local name=$1 t=$SECONDS
  shift
  echo "=== $name"
  "$@"
  echo "=== $name: passed in $((SECONDS - t)) s"
}

# Fails unless every host of the recap in file $1 has failed=0 (and, with
# $2 = unchanged, changed=0), and the recap lists $3 hosts.
recap() {
  local log=$1 want=${2:-} hosts=$3
  awk -v want="$want" -v hosts="$hosts" '
    /^PLAY RECAP/ { on = 1; next }
    on && /: ok=/ {
      n++
      if ($0 !~ /failed=0 / || $0 !~ /unreachable=0 /) { print "failed: " $0; bad = 1 }
      if (want == "unchanged" && $0 !~ /changed=0 /) { print "changed: " $0; bad = 1 }
    }
    END {
      if (n != hosts) { print "recap lists " n " hosts, not " hosts; bad = 1 }
      exit bad
    }' "$log"
}

playbook() {
  local log=$1
  shift
  if ! ansible-playbook "$@" >"$log" 2>&1; then
    cat "$log"
    return 1
  fi
}

sanity() {
  (cd "$coll" && python3 "$root/ansible/tools/ansible_test_offline.py" sanity --python 3.11)
}

units() {
  (cd "$coll" && python3 "$root/ansible/tools/ansible_test_offline.py" units --python 3.11)
}

integration() {
  local state=$work/estate.db args
  KVDA_STATE=$state "$bin/kvda" init --force >/dev/null
  args=(-i localhost, -c local -e "vk_bin=$bin" -e "kvda_state=$state" "$coll/tests/playbooks/integration.yml")
  playbook "$work/first.log" -e first_run=true "${args[@]}"
  recap "$work/first.log" "" 1
  playbook "$work/second.log" -e first_run=false "${args[@]}"
  recap "$work/second.log" unchanged 1 || { cat "$work/second.log"; return 1; }
  KVDA_STATE=$state "$bin/kvda" show >"$work/before.txt"
  playbook "$work/check.log" --check -e first_run=false "${args[@]}"
  recap "$work/check.log" unchanged 1
  KVDA_STATE=$state "$bin/kvda" show >"$work/after.txt"
  diff -u "$work/before.txt" "$work/after.txt" || { echo "check mode changed the estate" >&2; return 1; }
  tail -n 3 "$work/second.log"
}

fleet() {
  local hosts=20 h state
  # The README's playbook, as written there.
  awk '/<!-- raid5-playbook/ { f = 1; next } f && /^```yaml/ { on = 1; next } on && /^```/ { exit } on' \
    "$coll/README.md" >"$work/raid5.yml"
  [ -s "$work/raid5.yml" ] || { echo "no playbook found in the README" >&2; return 1; }
  echo "[storage_servers]" >"$work/hosts"
  for h in $(seq -f 'web%02g' 1 "$hosts"); do
    state=$work/$h.db
    KVDA_STATE=$state "$bin/kvda" init --force >/dev/null
    printf '%s ansible_connection=local vk_env='\''{"KVDA_STATE": "%s", "PATH": "%s:/usr/bin:/bin"}'\''\n' \
      "$h" "$state" "$bin" >>"$work/hosts"
  done
  playbook "$work/fleet1.log" -i "$work/hosts" -f 10 "$work/raid5.yml"
  recap "$work/fleet1.log" "" "$hosts"
  playbook "$work/fleet2.log" -i "$work/hosts" -f 10 "$work/raid5.yml"
  recap "$work/fleet2.log" unchanged "$hosts" || { cat "$work/fleet2.log"; return 1; }
  # Every estate ends the same.
  for h in $(seq -f 'web%02g' 2 "$hosts"); do
    KVDA_STATE=$work/$h.db "$bin/kvda" show >"$work/$h.txt"
    KVDA_STATE=$work/web01.db "$bin/kvda" show | cmp -s - "$work/$h.txt" ||
      { echo "$h ended unlike web01" >&2; return 1; }
  done
  sed -n '/^PLAY RECAP/,$p' "$work/fleet2.log"
}

stage sanity sanity
stage units units
stage integration integration
stage fleet fleet
echo "test-ansible: all passed in $((SECONDS - started)) s"
