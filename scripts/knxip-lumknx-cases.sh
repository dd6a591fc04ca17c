# The lumknx cases of run-knxip-tests.sh, sourced inside its namespace: lumknx
# over ipt:10.99.0.1 and ipr:v0 against knxd's server, with knxtool and lumknx
# on knxd's client socket on the other side. Uses $lumknx, $dir, $failed, start_knxd and
# stop_knxd; counts its cases in lumknx_cases.
lumknx_cases=0
url=ipt:10.99.0.1
local_url="local:$dir/sock"

lumknx_result() { # name ok [files to show]
  local name="$1" ok="$2"
  shift 2
  lumknx_cases=$((lumknx_cases + 1))
  if [ "$ok" -eq 1 ]; then
    echo "ok      lumknx: $name"
  else
    failed=$((failed + 1))
    echo "FAILED  lumknx: $name"
    for f in "$@"; do sed "s|^|        $(basename "$f"): |" "$f" || true; done
  fi
}

# Every size of value, written through the tunnel (once in NAT mode) and
# through routing, as knxd's bus has it (reference encodings of the standard, not lumknx's own).
timeout 60 knxtool groupsocketlisten "$local_url" >"$dir/listen" 2>&1 &
listener=$!
sleep 0.3
writes=(
  "1/2/1|1.001|1|01"
  "1/2/2|5.010|200|C8"
  "1/2/3|9.001|21.5|0C 33"
  "1/2/4|10.001|Wed 13:23:42|6D 17 2A"
  "1/2/5|12.001|123456|00 01 E2 40"
  "1/2/6|14.056|1000|44 7A 00 00"
  "1/2/7|16.001|KNX is OK|4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00"
  "1/2/8|9.001|21.5|0C 33|iptn:10.99.0.1"
  "1/7/1|1.001|1|01|ipr:v0"
  "1/7/2|5.010|200|C8|ipr:v0"
  "1/7/3|9.001|21.5|0C 33|ipr:v0"
  "1/7/4|10.001|Wed 13:23:42|6D 17 2A|ipr:v0"
  "1/7/5|12.001|123456|00 01 E2 40|ipr:v0"
  "1/7/6|14.056|1000|44 7A 00 00|ipr:v0"
  "1/7/7|16.001|KNX is OK|4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00|ipr:v0"
)
write_status=()
start=$(date +%s%N)
for i in "${!writes[@]}"; do
  IFS='|' read -r ga dpt value bytes through <<<"${writes[$i]}"
  status=0
  timeout 15 "$lumknx" write "${through:-$url}" "$ga" "$value" --dpt "$dpt" >"$dir/out" 2>"$dir/err-$i" || status=$?
  write_status+=("$status")
done
write_ms=$((($(date +%s%N) - start) / 1000000))
sleep 0.5
kill "$listener" 2>/dev/null || true
wait "$listener" 2>/dev/null || true
for i in "${!writes[@]}"; do
  IFS='|' read -r ga dpt value bytes through <<<"${writes[$i]}"
  ok=1
  [ "${write_status[$i]}" -eq 0 ] || ok=0
  grep -Eq "^Write from [0-9.]+ to $ga: $bytes ?\$" "$dir/listen" || ok=0
  lumknx_result "write $dpt '$value' to $ga through ${through:-$url} arrives as $bytes" "$ok" "$dir/err-$i" "$dir/listen"
done
echo "        (${#writes[@]} writes, each with a connection of its own, in $write_ms ms)"

# knxd's writes, decoded by a monitor on the tunnel.
timeout 20 "$lumknx" monitor "$url" --dpt 9.001 --count 2 --timeout 15000 >"$dir/mon" 2>"$dir/mon-err" &
monitor=$!
sleep 1
knxtool groupwrite "$local_url" 1/3/1 0C 33 >/dev/null
knxtool groupwrite "$local_url" 1/3/2 01 F4 >/dev/null
status=0
wait "$monitor" || status=$?
ok=1
[ "$status" -eq 0 ] || ok=0
grep -Eq '1/3/1 +write +9\.001 +21\.5 °C +0C 33' "$dir/mon" || ok=0
grep -Eq '1/3/2 +write +9\.001 +5 °C +01 F4' "$dir/mon" || ok=0
lumknx_result "monitor decodes what knxd's clients write" "$ok" "$dir/mon" "$dir/mon-err"

# A read on one side answered by a virtual device (serve) on the other.
read_served() { # name serve-URL read-URL group-address value
  local name="$1" serve_url="$2" read_url="$3" ga="$4" value="$5" status=0 serve_status=0 ok=1
  printf '%s 9.001 %s\n' "$ga" "$value" >"$dir/values"
  timeout 20 "$lumknx" serve "$serve_url" --values "$dir/values" --count 1 --timeout 15000 >"$dir/serve" 2>&1 &
  local server=$!
  sleep 1
  timeout 15 "$lumknx" read "$read_url" "$ga" --dpt 9.001 >"$dir/out" 2>"$dir/err" || status=$?
  wait "$server" || serve_status=$?
  [ "$status" -eq 0 ] && [ "$serve_status" -eq 0 ] || ok=0
  grep -Eq "^$value	" "$dir/out" || ok=0
  lumknx_result "$name" "$ok" "$dir/out" "$dir/err" "$dir/serve"
}
read_served "read through the tunnel is answered from knxd's socket" "$local_url" "$url" 1/4/1 21.5
read_served "serve on the tunnel answers knxd's client" "$url" "$local_url" 1/4/2 -7.5

# knxd restarts under a running monitor: it makes a new tunnel, or with
# --no-reconnect ends with exit status 2.
for mode in reconnect no-reconnect; do
  extra=()
  [ "$mode" = no-reconnect ] && extra=(--no-reconnect)
  LUMKNX_KNXIP_HEARTBEAT_MS=300 timeout 30 "$lumknx" monitor "$url" --count 1 --timeout 20000 "${extra[@]}" \
    >"$dir/mon" 2>"$dir/mon-err" &
  monitor=$!
  sleep 1
  stop_knxd
  sleep 0.5
  start_knxd
  sleep 3
  knxtool groupwrite "$local_url" 1/5/1 0C 33 >/dev/null 2>&1 || true
  status=0
  wait "$monitor" || status=$?
  ok=1
  if [ "$mode" = reconnect ]; then
    [ "$status" -eq 0 ] || ok=0
    grep -Eq '1/5/1 +write' "$dir/mon" || ok=0
    grep -Eq '^lumknx: bus: .*1 reconnect' "$dir/mon-err" || ok=0
    lumknx_result "a monitor survives a restart of knxd" "$ok" "$dir/mon" "$dir/mon-err"
  else
    [ "$status" -eq 2 ] || ok=0
    grep -Eq '^lumknx: connection lost: ' "$dir/mon-err" || ok=0
    lumknx_result "with --no-reconnect a restart ends the monitor (exit 2)" "$ok" "$dir/mon" "$dir/mon-err"
  fi
done

# Nothing at the port.
status=0
timeout 20 "$lumknx" write ipt:10.99.0.1:3672 1/2/1 1 --dpt 1.001 >"$dir/out" 2>"$dir/err" || status=$?
ok=1
[ "$status" -eq 2 ] || ok=0
grep -qx "lumknx: no KNXnet/IP server answered at 'ipt:10.99.0.1:3672' within 10000 ms" "$dir/err" || ok=0
lumknx_result "a port where no server listens: exit 2 in words" "$ok" "$dir/err"

# Routing: lumknx joins 224.0.23.12 on v0 beside knxd's server.
timeout 30 knxtool groupsocketlisten "$local_url" >"$dir/listen" 2>&1 &
listener=$!
sleep 0.3
status=0
timeout 15 "$lumknx" write ipr:v0 1/6/1 21.5 --dpt 9.001 >"$dir/out" 2>"$dir/err" || status=$?
sleep 0.5
kill "$listener" 2>/dev/null || true
wait "$listener" 2>/dev/null || true
ok=1
[ "$status" -eq 0 ] || ok=0
grep -Eq '^Write from 15\.15\.255 to 1/6/1: 0C 33 ?$' "$dir/listen" || ok=0
lumknx_result "write through routing arrives from 15.15.255 as 0C 33" "$ok" "$dir/err" "$dir/listen"

timeout 20 "$lumknx" monitor ipr:v0 --dpt 9.001 --count 1 --timeout 15000 >"$dir/mon" 2>"$dir/mon-err" &
monitor=$!
sleep 1
knxtool groupwrite "$local_url" 1/6/2 0C 33 >/dev/null
status=0
wait "$monitor" || status=$?
ok=1
[ "$status" -eq 0 ] || ok=0
grep -Eq '1/6/2 +write +9\.001 +21\.5 °C +0C 33' "$dir/mon" || ok=0
lumknx_result "monitor on routing decodes what knxd's clients write" "$ok" "$dir/mon" "$dir/mon-err"

read_served "read through routing is answered from knxd's socket" "$local_url" ipr:v0 1/6/3 21.5
read_served "serve on routing answers knxd's client" ipr:v0 "$local_url" 1/6/4 -7.5
