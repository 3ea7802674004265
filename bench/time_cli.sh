#!/usr/bin/env bash
# Times a command end to end with /usr/bin/time -v: wall time and peak memory (max RSS).
#
#   bench/time_cli.sh RUNS LABEL COMMAND [ARGS...]
#
# Runs COMMAND RUNS times and prints one line per run and a summary with the best and the
# median wall time and the largest max RSS. Exits non-zero if a run fails.
set -euo pipefail

if [[ $# -lt 3 ]]; then
  echo "usage: $0 RUNS LABEL COMMAND [ARGS...]" >&2
  exit 2
fi
runs=$1
label=$2
shift 2

if [[ ! -x /usr/bin/time ]]; then
  echo "$label: /usr/bin/time is missing (Debian package 'time')" >&2
  exit 1
fi

report=$(mktemp)
trap 'rm -f "$report"' EXIT
walls=()
peak_kb=0
for ((run = 1; run <= runs; run++)); do
  if ! /usr/bin/time -v -o "$report" "$@" >/dev/null 2>"$report.err"; then
    echo "$label: run $run failed:" >&2
    cat "$report.err" "$report" >&2 || true
    rm -f "$report.err"
    exit 1
  fi
  rm -f "$report.err"
  # "Elapsed (wall clock) time (h:mm:ss or m:ss): 0:01.23"
  wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {
           n = split($2, p, ":"); s = 0; for (i = 1; i <= n; i++) s = s * 60 + p[i]; print s }' \
           "$report")
  rss_kb=$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$report")
  walls+=("$wall")
  ((rss_kb > peak_kb)) && peak_kb=$rss_kb
  printf '%s: run %d: wall %.2f s, max RSS %.1f MiB\n' "$label" "$run" "$wall" \
    "$(awk -v k="$rss_kb" 'BEGIN { print k / 1024 }')"
done

sorted=$(printf '%s\n' "${walls[@]}" | sort -g)
best=$(head -n 1 <<<"$sorted")
median=$(sed -n "$(((runs + 1) / 2))p" <<<"$sorted")
printf '%s: best %.2f s, median %.2f s, max RSS %.1f MiB (%d runs)\n' "$label" "$best" "$median" \
  "$(awk -v k="$peak_kb" 'BEGIN { print k / 1024 }')" "$runs"
