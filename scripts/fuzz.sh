#!/usr/bin/env bash
# Long fuzzing: runs every libFuzzer target of the sanitizer build for FUZZ_SECONDS each (600
# unless set), one after the other, each on a corpus that is kept from run to run, and prints
# the executions and crashes of each. Usage: fuzz.sh BUILD_ROOT
# Per target under BUILD_ROOT/fuzz/<target>/: corpus/ (kept), crashes/ (the inputs that failed),
# and log.txt of the last run. The exit status is 1 when any target crashed.
set -u
root="${1:-build}"
seconds="${FUZZ_SECONDS:-600}"
targets=$(find "$root/asan" -type f -name '*_fuzzer' -perm -u+x | sort)
if [ -z "$targets" ]; then
  echo "fuzz.sh: no fuzz targets under $root/asan (make asan builds them)" >&2
  exit 1
fi

status=0
results=()
for target in $targets; do
  name=$(basename "$target")
  dir="$root/fuzz/$name"
  mkdir -p "$dir/corpus" "$dir/crashes"
  before=$(ls "$dir/crashes" | wc -l)
  echo "== $name: $seconds s"
  ASAN_OPTIONS=detect_leaks=0 "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$dir/crashes/" "$dir/corpus" >"$dir/log.txt" 2>&1
  executions=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$dir/log.txt" | grep -o '[0-9]*$')
  # A run that stopped on a crash prints no final stats: its last status line counts.
  [ -n "$executions" ] || executions=$(grep -o '^#[0-9]*' "$dir/log.txt" | tail -1 | tr -d '#')
  crashes=$(( $(ls "$dir/crashes" | wc -l) - before ))
  [ "$crashes" -eq 0 ] || status=1
  results+=("$(printf '%-24s %12s %8s' "$name" "${executions:-0}" "$crashes")")
done

printf '%-24s %12s %8s\n' target executions crashes
printf '%s\n' "${results[@]}"
exit $status
