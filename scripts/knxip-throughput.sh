# Telegrams per second written through lumknx's tunnel and routing beside
# knxd's own tunnel client, sourced by run-knxip-tests.sh inside its namespace when
# KNXIP_SEND_BENCH names the LumBusSendBench program. A monitor on the first
# knxd's socket counts what arrives: the rate is the receiver's, none may be
# lost. Figures only, no timed assertion. knxd paces its server at about the
# rate of a TP1 line (50 telegrams per second), so the tunnels meet that limit;
# routing paces itself at 50 per second as the standard asks of routers.
bench_count="${KNXIP_BENCH_COUNT:-300}"

# knxd's own tunnel client: a second knxd whose bus is a tunnel to the first.
knxd -e 0.0.50 -E 0.0.51:8 -u "$dir/sock2" -b ipt:10.99.0.1 >"$dir/knxd2.log" 2>&1 &
knxd2_pid=$!
for _ in $(seq 50); do
  [ -S "$dir/sock2" ] && break
  sleep 0.1
done

throughput() { # name URL: prints the rate at the receiver, sets $rate
  local name="$1" send_url="$2" status=0 received
  rate=0
  timeout 120 "$lumknx" monitor "$local_url" --count "$bench_count" --timeout 60000 --csv >/dev/null \
    2>"$dir/rate" &
  local monitor=$!
  sleep 0.5
  timeout 100 "$KNXIP_SEND_BENCH" "$send_url" "$bench_count" >"$dir/sent" 2>&1 || true
  wait "$monitor" || status=$?
  received="$(sed -n 's/^telegrams: \([0-9]*\).*/\1/p' "$dir/rate")"
  rate="$(sed -n 's/^telegrams per second: \([0-9]*\)/\1/p' "$dir/rate")"
  lumknx_cases=$((lumknx_cases + 1))
  if [ "$status" -eq 0 ] && [ "${received:-0}" -eq "$bench_count" ]; then
    echo "ok      throughput: $name: $received of $bench_count telegrams arrived, $rate per second"
  else
    failed=$((failed + 1))
    echo "FAILED  throughput: $name: ${received:-0} of $bench_count telegrams arrived (monitor exit $status)"
    sed 's/^/        /' "$dir/sent" "$dir/rate" || true
  fi
}

if [ -S "$dir/sock2" ]; then
  throughput "lumknx tunnel ($url)" "$url"
  ours=$rate
  throughput "knxd's tunnel client (knxd -b $url)" "local:$dir/sock2"
  theirs=$rate
  throughput "lumknx routing (ipr:v0)" "ipr:v0"
  routed=$rate
  if [ "${theirs:-0}" -gt 0 ]; then
    awk -v a="$ours" -v r="$routed" -v b="$theirs" 'BEGIN {
      printf "        telegrams per second over knxd'"'"'s tunnel client: lumknx tunnel %.2f, lumknx routing %.2f\n", a / b, r / b }'
  fi
else
  failed=$((failed + 1))
  echo "FAILED  throughput: the second knxd (tunnel client) did not start"
  cat "$dir/knxd2.log"
fi
kill "$knxd2_pid" 2>/dev/null || true
wait "$knxd2_pid" 2>/dev/null || true
