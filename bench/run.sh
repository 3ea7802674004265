#!/usr/bin/env bash
# Builds the benchmarks in Release mode, generates the synthetic networks, runs the
# benchmarks and times `tessel stats` end to end. Takes a few minutes on two cores.
#
#   bench/run.sh              everything
#   JOBS=1 bench/run.sh       build with one job (default: 2)
#   RUNS=5 bench/run.sh       timed command-line runs (default: 3)
#
# Output: the build in build/bench, networks in build/bench/data, benchmark results
# (JSON) in build/bench/results, and a summary at the end.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/bench
data=$build/data
results=$build/results
jobs=${JOBS:-2}
runs=${RUNS:-3}
mkdir -p "$data" "$results"
rm -f "$results"/*.json "$results/cli.txt"

section() { printf '\n== %s ==\n' "$*"; }

section "Configure and build (Release, $build)"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESSEL_BUILD_TESTS=OFF \
  -DTESSEL_BUILD_BENCH=ON >/dev/null
missing=()
for target in tessel-generate load_bench stats_bench motifs_bench shuffle_bench pathways_bench \
  website_bench genelist_bench drawing_bench tessel; do
  if ! ninja -C "$build" -j "$jobs" "$target" >"$results/build-$target.log" 2>&1; then
    echo "could not build $target (see $results/build-$target.log); skipped"
    missing+=("$target")
  fi
done
built() {
  local target
  for target in "${missing[@]}"; do [[ $target == "$1" ]] && return 1; done
  return 0
}
built tessel-generate || { echo "the generator is needed; stopping" >&2; exit 1; }

section "Generate networks ($data)"
# Names as the benchmarks expect them (see SyntheticFileName in bench/synthetic.cpp).
generate() {  # molecules interactions rows seed [--connected]
  local name="synthetic-m$1-i$2-r$3" flags=()
  if [[ ${5:-} == --connected ]]; then
    name+="-c"
    flags+=(--connected)
  fi
  name+="-s$4.sig"
  "$build/bin/tessel-generate" --molecules "$1" --interactions "$2" --rows "$3" --seed "$4" \
    "${flags[@]}" --out "$data/$name"
}
generate 50000 1000000 1000000 1
generate 50000 250000 1000000 1
generate 2500 10000 12500 42 --connected
generate 5000 20000 25000 42 --connected
generate 10000 40000 50000 42 --connected
stats_file=$data/synthetic-m10000-i40000-r50000-c-s42.sig

export TESSEL_BENCH_DATA=$data
bench_args=(--benchmark_counters_tabular=false)

if built load_bench; then
  section "Loading 1,000,000 SIG rows (load_bench)"
  # One process per benchmark, so that memory the allocator keeps from one benchmark does
  # not count towards the next one's peak.
  for name in BM_GenerateSigText BM_ReadWholeFile BM_ReadSigText BM_LoadSig; do
    "$build/bin/load_bench" "${bench_args[@]}" --benchmark_filter="^$name/" \
      --benchmark_out="$results/load-$name.json" --benchmark_out_format=json
  done
  # Much of a large load goes into page faults on fresh 4 KiB pages; the same load with
  # malloc asking for transparent huge pages (glibc 2.35 and later) shows how much.
  section "BM_LoadSig again with GLIBC_TUNABLES=glibc.malloc.hugetlb=1"
  GLIBC_TUNABLES=glibc.malloc.hugetlb=1 "$build/bin/load_bench" "${bench_args[@]}" \
    --benchmark_filter="^BM_LoadSig/" --benchmark_out="$results/load-hugetlb.json" \
    --benchmark_out_format=json
fi

if built stats_bench; then
  section "Statistics of a 10,000-molecule network (stats_bench)"
  "$build/bin/stats_bench" "${bench_args[@]}" --benchmark_out="$results/stats.json" \
    --benchmark_out_format=json
fi

if built motifs_bench; then
  section "Motif search on the 10,000-molecule network (motifs_bench)"
  "$build/bin/motifs_bench" "${bench_args[@]}" --benchmark_filter='^BM_AllMotifKinds' \
    --benchmark_out="$results/motifs.json" --benchmark_out_format=json
fi

if built shuffle_bench; then
  section "100 swap networks of 2,000 molecules, analysed (shuffle_bench)"
  "$build/bin/shuffle_bench" "${bench_args[@]}" --benchmark_out="$results/shuffle.json" \
    --benchmark_out_format=json
fi

if built pathways_bench; then
  section "Pathway maps on the example network (pathways_bench)"
  "$build/bin/pathways_bench" "${bench_args[@]}" --benchmark_out="$results/pathways.json" \
    --benchmark_out_format=json
fi

if built website_bench; then
  section "Web site of a 1,000-molecule network, offline (website_bench)"
  "$build/bin/website_bench" "${bench_args[@]}" --benchmark_out="$results/website.json" \
    --benchmark_out_format=json
fi

if built drawing_bench; then
  section "Drawing a 3,000-molecule network, SVG and JPEG (drawing_bench)"
  "$build/bin/drawing_bench" "${bench_args[@]}" --benchmark_out="$results/drawing.json" \
    --benchmark_out_format=json
fi

if built genelist_bench; then
  section "Gene list of 50 genes on the 10,000-molecule network (genelist_bench)"
  "$build/bin/genelist_bench" "${bench_args[@]}" --benchmark_out="$results/genelist.json" \
    --benchmark_out_format=json
fi

if built tessel; then
  section "tessel stats end to end ($runs runs)"
  out=$(mktemp -d)
  trap 'rm -rf "$out"' EXIT
  "$root/bench/time_cli.sh" "$runs" "tessel stats -q (10,000 molecules)" \
    "$build/bin/tessel" stats -q -o "$out" "$stats_file" | tee "$results/cli.txt" ||
    echo "tessel stats failed"
fi

section "Summary (medians; targets: load < 3 s and < 1.5 GB, statistics < 5 s, 100 shuffled networks < 60 s, pathways < 10 s, web site < 60 s, gene list < 10 s)"
py=/usr/bin/python3
if [[ -x $py ]]; then
  "$py" - "$results"/load-*.json "$results"/stats.json "$results"/shuffle.json \
    "$results"/pathways.json "$results"/website.json "$results"/genelist.json <<'PY'
import json, os, sys
for path in sys.argv[1:]:
    if not os.path.exists(path):
        continue
    for b in json.load(open(path))["benchmarks"]:
        if b.get("aggregate_name", "median") != "median":
            continue
        if b.get("run_type") == "iteration" and b.get("repetitions", 1) > 1:
            continue
        ms = b["real_time"] * {"ms": 1, "us": 1e-3, "ns": 1e-6, "s": 1e3}[b["time_unit"]]
        rss = b.get("peak_rss_MiB")
        name = b["run_name"].split("/iterations")[0]
        if "hugetlb" in os.path.basename(path):
            name += " (hugetlb)"
        print(f"{name:45s} {ms:10.1f} ms" + (f"  peak RSS {rss:7.1f} MiB" if rss else ""))
PY
else
  echo "(no /usr/bin/python3: see $results/*.json)"
fi
[[ -s $results/cli.txt ]] && tail -n 1 "$results/cli.txt"
for target in "${missing[@]}"; do echo "not measured: $target did not build"; done
