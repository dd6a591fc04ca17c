#!/usr/bin/env bash
# The KNXnet/IP stage: lumknx against knxd's KNXnet/IP server in a private
# network namespace, over a veth pair of its own (10.99.0.0/24). Nothing is
# sent on the host's interfaces: the namespace has none of them. Needs root
# for `unshare -n`; where that is not permitted it says so and exits 0.
#
#   scripts/run-knxip-tests.sh [LUMKNX]     (default: build/release/tools/lumknx)
set -euo pipefail
cd "$(dirname "$0")/.."

lumknx="$(realpath "${1:-build/release/tools/lumknx}")"
[ -x "$lumknx" ] || { echo "run-knxip-tests: no lumknx at $lumknx; build the release preset first" >&2; exit 1; }
command -v knxd >/dev/null || { echo "run-knxip-tests: knxd is missing (scripts/install-deps.sh bus)" >&2; exit 1; }

if [ "${KNXIP_INSIDE:-}" != 1 ]; then
  if ! unshare -n true 2>/dev/null; then
    echo "run-knxip-tests: skipped: a private network namespace is not permitted here (needs root: unshare -n)"
    exit 0
  fi
  KNXIP_INSIDE=1 exec timeout 300 unshare -n -- bash "$0" "$lumknx"
fi

# From here on inside the namespace.
ip link set lo up
ip link add v0 type veth peer name v1
ip addr add 10.99.0.1/24 dev v0
ip addr add 10.99.0.2/24 dev v1
ip link set v0 up
ip link set v1 up
ip route add 224.0.0.0/4 dev v0
# An interface that is up but has no IPv4 address.
ip link add v2 type veth peer name v3
ip link set v2 up
# The first packets after the links come up can be lost.
sleep 1

dir="$(mktemp -d /tmp/knxip.XXXX)"
knxd_pid=""
cleanup() {
  if [ -n "$knxd_pid" ]; then
    kill "$knxd_pid" 2>/dev/null || true
    wait "$knxd_pid" 2>/dev/null || true
  fi
  rm -rf "$dir"
}
trap cleanup EXIT

# knxd's KNXnet/IP server (tunnelling, routing, discovery) on v0, and its client socket.
start_knxd() {
  rm -f "$dir/sock"
  knxd -e 0.0.1 -E 0.0.2:32 -u "$dir/sock" -T -R -D -I v0 -S -b dummy: >>"$dir/knxd.log" 2>&1 &
  knxd_pid=$!
  for _ in $(seq 50); do
    [ -S "$dir/sock" ] && break
    sleep 0.1
  done
  [ -S "$dir/sock" ] || { echo "run-knxip-tests: knxd did not start:" >&2; cat "$dir/knxd.log" >&2; exit 1; }
}
stop_knxd() {
  kill "$knxd_pid" 2>/dev/null || true
  wait "$knxd_pid" 2>/dev/null || true
  knxd_pid=""
}
start_knxd

# name | lumknx arguments | exit status | the one line of standard output, "" for none |
# the last line of standard error (both extended regexes, anchored)
knxd_line='knxd +0\.0\.1 +10\.99\.0\.1:3671 +TP1 +core, tunnelling, routing'
knxd_json='\{"name":"knxd","address":"0\.0\.1","host":"10\.99\.0\.1","port":3671,"medium":"TP1",.*"services":\[\{"name":"core","version":1\},\{"name":"tunnelling","version":1\},\{"name":"routing","version":1\}\]\}'
cases=(
  "multicast from v0|discover --interface v0 --timeout 1000|0|$knxd_line|lumknx: 1 device\(s\) answered within 1000 ms"
  "multicast from v0 as JSON|discover --interface v0 --timeout 1000 --json|0|$knxd_json|lumknx: 1 device\(s\) answered within 1000 ms"
  "multicast on the route's interface|discover --timeout 1000|0|$knxd_line|lumknx: 1 device\(s\) answered within 1000 ms"
  "unicast to the server|discover --host 10.99.0.1 --timeout 1000|0|$knxd_line|lumknx: 1 device\(s\) answered within 1000 ms"
  "unicast from v0 to the server's port|discover --host 10.99.0.1:3671 --interface v0 --timeout 1000|0|$knxd_line|lumknx: 1 device\(s\) answered within 1000 ms"
  "unicast to a port nobody serves|discover --host 10.99.0.1:3672 --timeout 1000|1||lumknx: no device answered within 1000 ms"
  "an interface without IPv4|discover --interface v2 --timeout 1000|2||lumknx: network interface 'v2' has no IPv4 address"
  "an interface that does not exist|discover --interface v9 --timeout 1000|2||lumknx: no network interface 'v9'"
)

failed=0
for c in "${cases[@]}"; do
  IFS='|' read -r name args want_status want_line want_err <<<"$c"
  status=0
  # shellcheck disable=SC2086  # the arguments are words
  timeout 10 "$lumknx" $args >"$dir/out" 2>"$dir/err" || status=$?
  ok=1
  [ "$status" -eq "$want_status" ] || ok=0
  if [ -n "$want_line" ]; then
    grep -Eqx "$want_line" "$dir/out" || ok=0
    [ "$(wc -l <"$dir/out")" -eq 1 ] || ok=0
  else
    [ ! -s "$dir/out" ] || ok=0
  fi
  tail -n 1 "$dir/err" | grep -Eqx "$want_err" || ok=0
  if [ "$ok" -eq 1 ]; then
    echo "ok      $name"
  else
    failed=$((failed + 1))
    echo "FAILED  $name: lumknx $args exited $status (expected $want_status)"
    sed 's/^/        out: /' "$dir/out"
    sed 's/^/        err: /' "$dir/err"
  fi
done

# The tunnel: bytes, monitor, read, serve, a restarted server.
# shellcheck source=scripts/knxip-tunnel-cases.sh
. "$(dirname "$0")/knxip-tunnel-cases.sh"
if [ -n "${KNXIP_SEND_BENCH:-}" ]; then
  # shellcheck source=scripts/knxip-throughput.sh
  . "$(dirname "$0")/knxip-throughput.sh"
fi

if ! kill -0 "$knxd_pid" 2>/dev/null; then
  echo "run-knxip-tests: knxd ended during the tests:" >&2
  cat "$dir/knxd.log" >&2
  exit 1
fi
total=$((${#cases[@]} + tunnel_cases))
echo "run-knxip-tests: $((total - failed)) of $total cases passed"
[ "$failed" -eq 0 ]
