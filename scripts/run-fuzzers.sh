#!/usr/bin/env bash
# Builds the libFuzzer targets (ASan + UBSan) and runs each for a bounded time
# on its seed corpus. Any crash, leak or undefined behaviour fails the run.
#   scripts/run-fuzzers.sh [seconds per target, default 60]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"

bash scripts/install-deps.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
status=0
summary=""
for target in FromKnxValue GroupValueToOruValue StringToKnxValue ByteArrayToOruValue LoadAppHostConfigXML LoadConfigurationFile TraceLine KnxdPacket KnxIpFrame Cemi GroupAddressPlan; do
  # Failing inputs are kept beside the build, to be replayed with the binary.
  artifacts="build/fuzz/artifacts/$target"
  rm -rf "$artifacts"
  mkdir -p "$work/$target" "$artifacts"
  echo "== Fuzz$target for ${seconds}s"
  # New inputs go to the scratch folder; the shipped seeds stay as they are.
  if ! ./build/fuzz/fuzz/Fuzz$target -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -artifact_prefix="$artifacts/" -print_final_stats=1 \
      "$work/$target" "fuzz/corpus/$target" > "$work/$target.log" 2>&1; then
    status=1
    tail -n 60 "$work/$target.log"
    for artifact in "$artifacts"/*; do
      [ -f "$artifact" ] && { echo "-- input that failed (replay: ./build/fuzz/fuzz/Fuzz$target $artifact):"; od -A x -t x1z "$artifact" | head -20; }
    done
  fi
  grep -E '^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "$work/$target.log" || true
  summary+="$(awk -v t="Fuzz$target" '/^stat::number_of_executed_units/ {n = $2} /^stat::average_exec_per_sec/ {r = $2}
    END {printf "%-28s %12s %10s\n", t, (n == "" ? "-" : n), (r == "" ? "-" : r)}' "$work/$target.log")"$'\n'
done
echo "== Summary (${seconds}s per target; load average: $(cut -d' ' -f1-3 /proc/loadavg))"
printf '%-28s %12s %10s\n' target executions exec/s
printf '%s' "$summary"
exit $status
