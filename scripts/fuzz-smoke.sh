#!/usr/bin/env bash
# Builds the libFuzzer targets (CMake preset "fuzz": clang with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each one for a short fixed time on its seed corpus.
# Exits non-zero when a target finds a crash, a sanitizer report or an escaping exception;
# the input that did it is kept under build/fuzz/findings/<target>/.
#
#   scripts/fuzz-smoke.sh [SECONDS_PER_TARGET] [TARGET...]
#
# Seeds come from fuzz/corpus/<target>/ and are not modified; what the run adds goes into
# build/fuzz/corpus/<target>/, which later runs reuse.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-8}"
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(sig pairs psimi_xml mitab table sif signor omnipath graphml autodetect colours
    pubmed_xml pipeline)
fi

declare -A dict=(
  [sig]=sig [pairs]=sig [pipeline]=sig [psimi_xml]=xml [mitab]=mitab [table]=table [sif]=table
  [signor]=table [omnipath]=table [graphml]=graphml [autodetect]=autodetect [colours]=colours
  [pubmed_xml]=pubmed
)

cd "$root"
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
start=$SECONDS
cmake --preset fuzz "${launcher[@]}" >/dev/null
cmake --build --preset fuzz
echo "fuzz-smoke: build took $((SECONDS - start)) s"

bin="$root/build/fuzz/bin"
failed=()
for t in "${targets[@]}"; do
  [ -x "$bin/fuzz_$t" ] || { echo "fuzz-smoke: no target fuzz_$t" >&2; exit 2; }
  work="$root/build/fuzz/corpus/$t"
  findings="$root/build/fuzz/findings/$t"
  mkdir -p "$work" "$findings"
  options=(-max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1
    -artifact_prefix="$findings/")
  [ -n "${dict[$t]:-}" ] && options+=(-dict="$root/fuzz/dict/${dict[$t]}.dict")
  echo "fuzz-smoke: fuzz_$t for ${seconds} s"
  log="$root/build/fuzz/findings/$t.log"
  if ! "$bin/fuzz_$t" "${options[@]}" "$work" "$root/fuzz/corpus/$t" >"$log" 2>&1; then
    failed+=("$t")
    tail -n 40 "$log" >&2
  fi
  grep -E '^stat::number_of_executed_units|cov: ' "$log" | tail -n 2 | sed 's/^/  /'
done

echo "fuzz-smoke: total $((SECONDS - start)) s"
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz-smoke: failures in ${failed[*]} (inputs under build/fuzz/findings/)" >&2
  exit 1
fi
echo "fuzz-smoke: no failures"
