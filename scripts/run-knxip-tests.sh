#!/usr/bin/env bash
# The KNXnet/IP stage: lumknx and the routing connection (through the
# knxip-routing-live test program) against knxd's KNXnet/IP server in a
# private network namespace, over a veth pair of its own (10.99.0.0/24).
# Nothing is sent on the host's interfaces: the namespace has none of them.
# Needs root for `unshare -n`; where that is not permitted it says so and
# exits 0.
#
#   scripts/run-knxip-tests.sh [LUMKNX [ROUTING]]
#     (defaults: build/release/tools/lumknx, build/release/tests/bus/knxip-routing-live)
set -euo pipefail
cd "$(dirname "$0")/.."

lumknx="$(realpath "${1:-build/release/tools/lumknx}")"
[ -x "$lumknx" ] || { echo "run-knxip-tests: no lumknx at $lumknx; build the release preset first" >&2; exit 1; }
routing="$(realpath "${2:-build/release/tests/bus/knxip-routing-live}")"
[ -x "$routing" ] || { echo "run-knxip-tests: no knxip-routing-live at $routing; build the release preset first" >&2; exit 1; }
command -v knxtool >/dev/null || { echo "run-knxip-tests: knxtool is missing (scripts/install-deps.sh bus)" >&2; exit 1; }
command -v knxd >/dev/null || { echo "run-knxip-tests: knxd is missing (scripts/install-deps.sh bus)" >&2; exit 1; }

if [ "${KNXIP_INSIDE:-}" != 1 ]; then
  if ! unshare -n true 2>/dev/null; then
    echo "run-knxip-tests: skipped: a private network namespace is not permitted here (needs root: unshare -n)"
    exit 0
  fi
  KNXIP_INSIDE=1 exec timeout 300 unshare -n -- bash "$0" "$lumknx" "$routing"
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
# One whose address a routing case takes away while it is in use.
ip link add v4 type veth peer name v5
ip addr add 10.99.1.1/24 dev v4
ip link set v4 up
ip link set v5 up
# The first packets after the links come up can be lost.
sleep 1

dir="$(mktemp -d /tmp/knxip.XXXX)"
knxd_pid=""
listen_pid=""
cleanup() {
  for pid in $listen_pid $knxd_pid; do
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$dir"
}
trap cleanup EXIT

# knxd's KNXnet/IP server (tunnelling, routing, discovery) on v0, and its
# client socket. -t1 traces the server's datagrams ("Recv(019): 06 10 ..."):
# what routing clients sent, byte for byte.
start_knxd() {
  rm -f "$dir/sock"
  knxd -e 0.0.1 -E 0.0.2:32 -u "$dir/sock" -T -R -D -I v0 -t1 -S -b dummy: >>"$dir/knxd.log" 2>&1 &
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

# lumknx through the tunnel (bytes, monitor, read, serve, a restarted server) and routing.
# shellcheck source=scripts/knxip-lumknx-cases.sh
. "$(dirname "$0")/knxip-lumknx-cases.sh"
if [ -n "${KNXIP_SEND_BENCH:-}" ]; then
  # shellcheck source=scripts/knxip-throughput.sh
  . "$(dirname "$0")/knxip-throughput.sh"
fi

# The routing connection. knxd's group socket shows what reached knxd.
stdbuf -oL knxtool groupsocketlisten "local:$dir/sock" >"$dir/listen" 2>&1 &
listen_pid=$!
sleep 0.3
export sock="$dir/sock" routing

header_only='061005300013'                      # announces 19 bytes, has 6
ind_34='0610053000132900BCE011FA0A030300800C34' # 1.1.250 writes 0C 34 to 1/2/3
ind_req='0610053000131100BCE011FA0A030300800C34' # the same as an L_Data.req
busy_600='06100532000C060002580000'             # routing busy, wait 600 ms
lost_258='06100531000A04000102'                 # routing lost message, 258 lost
counters='counters: sent=%s received=%s own=%s busy=%s lost-frames=%s lost=%s malformed=%s bad-cemi=%s other=%s dropped=%s last=.*'
# shellcheck disable=SC2059  # the format is the counters line above
c() { printf "$counters" "$@"; }

# name | knxip-routing-live arguments | what another program does 0.3 s after it
# started ("" nothing) | exit status | its standard output, lines joined by ";"
# ("" none) | the last line of its standard error | what knxd's group socket
# saw, lines joined by ";" ("-" not checked) | bytes knxd received, in its
# trace's hex ("" not checked) | the least it may take, ms. All but the
# status, the hex and the time are extended regexes, anchored.
routing_cases=(
  "a write reaches knxd byte for byte|ipr:v0 write:1/2/3:0C33||0||$(c 1 0 0 0 0 0 0 0 0 0)|Write from 15\.15\.255 to 1/2/3: 0C 33 ?|06 10 05 30 00 13 29 00 BC E0 FF FF 0A 03 03 00 80 0C 33|0"
  "short-form writes and a read|ipr:v0 write:1/2/4:s01:3 read:1/2/5||0||$(c 4 0 0 0 0 0 0 0 0 0)|Write from 15\.15\.255 to 1/2/4: 01 ?;Write from 15\.15\.255 to 1/2/4: 01 ?;Write from 15\.15\.255 to 1/2/4: 01 ?;Read from 15\.15\.255 to 1/2/5 ?|06 10 05 30 00 11 29 00 BC E0 FF FF 0A 05 01 00 00|0"
  "a source of our own|ipr:v0 --source 1.1.250 write:1/2/3:0C34||0||$(c 1 0 0 0 0 0 0 0 0 0)|Write from 1\.1\.250 to 1/2/3: 0C 34 ?|06 10 05 30 00 13 29 00 BC E0 11 FA 0A 03 03 00 80 0C 34|0"
  "another group and port are not knxd's|ipr:v0@239.1.2.3:3700 write:1/2/3:01||0||$(c 1 0 0 0 0 0 0 0 0 0)|||0"
  "knxd routes its client's write to us|ipr:v0 receive:2000:1|knxtool groupwrite local:\$sock 1/2/6 0C 33 >/dev/null|0|write from 0\.0\.[0-9]+ to 1/2/6: 0C 33|$(c 0 1 0 0 0 0 0 0 0 0)|Write from 0\.0\.[0-9]+ to 1/2/6: 0C 33 ?||0"
  "another routing client, not our echo|ipr:v0 write:1/2/7:01 receive:2000:1|\$routing ipr:v0 --source 1.1.9 write:1/2/8:02|0|write from 1\.1\.9 to 1/2/8: 02|$(c 1 1 1 0 0 0 0 0 0 0)|-||0"
  "a group and port of its own|ipr:v0@239.1.2.3:3700 receive:2000:1|\$routing ipr:v0@239.1.2.3:3700 read:3/1/1|0|read from 15\.15\.255 to 3/1/1:|$(c 0 1 0 0 0 0 0 0 0 0)|||0"
  "a malformed datagram is counted|ipr:v0 receive:2000:1|\$routing ipr:v0 inject:$header_only inject:$ind_34|0|write from 1\.1\.250 to 1/2/3: 0C 34|$(c 0 1 0 0 0 0 1 0 0 0 | sed 's/last=\.\*$//')last=datagram from 10\.99\.0\.1:[0-9]+: truncated: total length 19 but 6 byte\(s\) received|-||0"
  "bad cEMI, lost messages|ipr:v0 receive:2000:1|\$routing ipr:v0 inject:$ind_req inject:$lost_258 inject:$ind_34|0|write from 1\.1\.250 to 1/2/3: 0C 34|$(c 0 1 0 0 1 258 0 1 0 0 | sed 's/last=\.\*$//')last=10\.99\.0\.1:[0-9]+ lost 258 message\(s\)|-||0"
  "a routing busy holds the next write back|ipr:v0 receive:2000:1 write:1/2/9:01|\$routing ipr:v0 inject:$busy_600 inject:$ind_34|0|write from 1\.1\.250 to 1/2/3: 0C 34|$(c 1 1 0 1 0 0 0 0 0 0 | sed 's/last=\.\*$//')last=10\.99\.0\.1:[0-9]+ is busy: wait 600 ms|-||850"
  "51 writes take a second, echoes seen while waiting|ipr:v0 write:1/2/10:01:51||0||$(c 51 0 50 0 0 0 0 0 0 0)|-||1000"
  "a full inbox drops what comes while sending waits|ipr:v0 --inbox 2 write:1/2/10:01:51 receive:300|\$routing ipr:v0 --source 1.1.9 write:1/2/11:01:5|0|write from 1\.1\.9 to 1/2/11: 01;write from 1\.1\.9 to 1/2/11: 01|$(c 51 2 51 0 0 0 0 0 0 3 | sed 's/last=\.\*$//')last=a telegram from 10\.99\.0\.1:[0-9]+ dropped: 2 wait to be received|-||1000"
  "reopened on the same io_context|ipr:v0 receive:100 reopen receive:2000:1|\$routing ipr:v0 --source 1.1.9 write:1/2/12:03|0|write from 1\.1\.9 to 1/2/12: 03|$(c 0 1 0 0 0 0 0 0 0 0)|-||0"
  "the interface loses its address|ipr:v4 write:1/2/3:01 receive:600 write:1/2/3:02|ip addr flush dev v4|1||knxip-routing-live: connection lost: sending to 224\.0\.23\.12:3671 from 10\.99\.1\.1:[0-9]+: .+|-||0"
  "an interface without IPv4|ipr:v2 write:1/2/3:01||1||knxip-routing-live: network interface 'v2' has no IPv4 address|||0"
  "an interface that does not exist|ipr:v9 write:1/2/3:01||1||knxip-routing-live: no network interface 'v9'|||0"
  "a unicast address as the group|ipr:v0@10.99.0.1 write:1/2/3:01||1||knxip-routing-live: 'ipr:v0@10\.99\.0\.1' is no KNXnet/IP routing address \(10\.99\.0\.1 is no multicast group \(224\.0\.0\.0 to 239\.255\.255\.255\); use ipr:INTERFACE or ipr:INTERFACE@GROUP\[:PORT\]\)|||0"
)

for c in "${routing_cases[@]}"; do
  IFS='|' read -r name args meanwhile want_status want_out want_err want_knxd want_hex min_ms <<<"$c"
  listen_before=$(wc -l <"$dir/listen")
  log_before=$(wc -l <"$dir/knxd.log")
  status=0
  started=$(date +%s%N)
  # shellcheck disable=SC2086  # the arguments are words
  timeout 10 "$routing" $args >"$dir/out" 2>"$dir/err" &
  pid=$!
  if [ -n "$meanwhile" ]; then
    sleep 0.3
    timeout 10 bash -c "$meanwhile" >"$dir/meanwhile" 2>&1 || echo "meanwhile failed: $(cat "$dir/meanwhile")" >>"$dir/err.meanwhile"
  fi
  wait "$pid" || status=$?
  took=$((($(date +%s%N) - started) / 1000000))
  sleep 0.2 # for knxd's group socket to pass on what it got
  ok=1
  [ "$status" -eq "$want_status" ] || ok=0
  [ ! -s "$dir/err.meanwhile" ] || ok=0
  if [ -n "$want_out" ]; then
    [[ "$(paste -sd ';' "$dir/out")" =~ ^($want_out)$ ]] || ok=0
  else
    [ ! -s "$dir/out" ] || ok=0
  fi
  tail -n 1 "$dir/err" | grep -Eqx "$want_err" || ok=0
  if [ "$want_knxd" != "-" ]; then
    seen="$(tail -n +"$((listen_before + 1))" "$dir/listen" | paste -sd ';')"
    if [ -n "$want_knxd" ]; then [[ "$seen" =~ ^($want_knxd)$ ]] || ok=0; else [ -z "$seen" ] || ok=0; fi
  fi
  if [ -n "$want_hex" ]; then
    tail -n +"$((log_before + 1))" "$dir/knxd.log" | grep -Fq "): $want_hex" || ok=0
  fi
  [ "$took" -ge "$min_ms" ] || ok=0
  if [ "$ok" -eq 1 ]; then
    echo "ok      routing: $name (${took} ms)"
    [ -z "${KNXIP_VERBOSE:-}" ] || sed "s/^/        err: /" "$dir/err"
  else
    failed=$((failed + 1))
    echo "FAILED  routing: $name: knxip-routing-live $args exited $status (expected $want_status) after $took ms (at least $min_ms)"
    sed 's/^/        out: /' "$dir/out"
    sed 's/^/        err: /' "$dir/err"
    [ ! -s "$dir/err.meanwhile" ] || sed 's/^/        meanwhile: /' "$dir/err.meanwhile"
    tail -n +"$((listen_before + 1))" "$dir/listen" | sed 's/^/        knxd saw: /'
  fi
  rm -f "$dir/err.meanwhile"
done

if ! kill -0 "$knxd_pid" 2>/dev/null; then
  echo "run-knxip-tests: knxd ended during the tests:" >&2
  cat "$dir/knxd.log" >&2
  exit 1
fi
total=$((${#cases[@]} + lumknx_cases + ${#routing_cases[@]}))
echo "run-knxip-tests: $((total - failed)) of $total cases passed"
[ "$failed" -eq 0 ]
