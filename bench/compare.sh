#!/usr/bin/env bash
# Times TESSEL against python3-igraph (Debian's, whose work is done by igraph's C core) on
# the same generated networks, and prints a table with both figures and their ratio.
#
#   bench/compare.sh [BUILD]        BUILD: tessel build folder (default build/bench)
#   RUNS=5 bench/compare.sh         runs per figure, median taken (default 3)
#   IGRAPH_RUNS=1 bench/compare.sh  runs of igraph's statistics (default RUNS): its path
#                                   lengths take minutes on the 50,000-molecule networks
#   ONLY="load-100k one-10k" bench/compare.sh   only the networks named (load-100k-table:
#                                   the million rows of load-100k as a four-column table)
#
# Loading: `tessel validate -q` as a process (start, load, validation report), the
# in-process load (tessel::LoadNetwork, timed by tessel-time; all cores and one thread), igraph's Read_Edgelist on
# the same pairs as integer ids and Read_Ncol on the name pairs (reader call only).
# Statistics: `tessel stats --json -q -o DIR` as a process (start, load, every number of
# the page, stats.htm), tessel::ComputeStatistics in-process (all cores and one thread),
# and igraph's connected_components + transitivity_local_undirected +
# average_path_length(unconn=True) on the undirected simple graph (library calls only;
# the same work: islands, per-molecule clustering, path lengths within islands).
# Ratio: igraph's time divided by TESSEL's in-process time; above 1, TESSEL is faster.
#
# When BUILD has no tessel yet, it is configured and built in Release mode as run.sh does.
# Networks and the pair files go to BUILD/compare-data; nothing is downloaded.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build/bench}
build=$(cd "$(dirname "$build")" && pwd)/$(basename "$build")
runs=${RUNS:-3}
igraph_runs=${IGRAPH_RUNS:-$runs}
jobs=${JOBS:-2}
data=$build/compare-data
bin=$build/bin
py=/usr/bin/python3
mkdir -p "$data"

section() { printf '\n== %s ==\n' "$*"; }

if [[ ! -x $bin/tessel || ! -x $bin/tessel-generate || ! -x $bin/tessel-time ]]; then
  section "Configure and build (Release, $build)"
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESSEL_BUILD_TESTS=OFF \
    -DTESSEL_BUILD_BENCH=ON -DTESSEL_BUILD_GUI=OFF >/dev/null
  ninja -C "$build" -j "$jobs" tessel tessel-generate tessel-time >"$data/build.log" 2>&1 || {
    echo "build failed (see $data/build.log)" >&2
    exit 1
  }
fi

have_igraph=1
if [[ ! -x $py ]] || ! "$py" -c 'import igraph' 2>/dev/null; then
  have_igraph=0
  echo "python3-igraph is not installed (Debian package python3-igraph, for $py):" \
    "igraph columns are left empty"
fi

section "Generate networks ($data)"
# generate NAME MOLECULES INTERACTIONS [--connected]
generate() {
  [[ -s $data/$1.sig ]] && return
  "$bin/tessel-generate" --molecules "$2" --interactions "$3" --seed 1 "${@:4}" \
    --out "$data/$1.sig" >/dev/null
}
# islands NAME COUNT MOLECULES INTERACTIONS [BIG_MOLECULES BIG_INTERACTIONS]: COUNT
# connected islands of the given size (and one big island first), molecules renamed per
# island and rows shuffled, so that molecule ids mix the islands as real files do.
islands() {
  [[ -s $data/$1.sig ]] && return
  local name=$1 count=$2 i parts=()
  local tmp
  tmp=$(mktemp -d)
  if [[ $# -ge 6 ]]; then
    "$bin/tessel-generate" --molecules "$5" --interactions "$6" --seed 1000 --connected \
      --out "$tmp/big.sig" >/dev/null
    parts+=("$tmp/big.sig")
  fi
  for ((i = 1; i <= count; i++)); do
    "$bin/tessel-generate" --molecules "$3" --interactions "$4" --seed "$i" --connected \
      --out "$tmp/$i.sig" >/dev/null
    parts+=("$tmp/$i.sig")
  done
  for i in "${!parts[@]}"; do
    awk -v p="I$i" 'BEGIN { OFS = "\t" } { $1 = p $1; $6 = p $6; print }' "${parts[$i]}"
  done | shuf --random-source=<(yes) >"$data/$name.sig"
  rm -rf "$tmp"
}
# chain NAME MOLECULES: one chain, the shape where searching from many sources at once
# gains least (the sources' frontiers do not overlap).
chain() {
  [[ -s $data/$1.sig ]] && return
  awk -v n="$2" 'BEGIN {
    for (i = 1; i < n; i++)
      printf "C%d\tP%d\tNA\tKinase\tCytosol\tC%d\tP%d\tNA\tKinase\tCytosol\t+\tphosphorylation\t%d\n",
        i, 100000 + i, i + 1, 100001 + i, 10000000 + i
  }' >"$data/$1.sig"
}
generate one-10k 10000 40000 --connected
generate several-10k 10000 40000
islands many-10k 100 100 400
chain chain-10k 10000
generate one-50k 50000 200000 --connected
generate several-50k 50000 200000
islands big-and-small-50k 250 100 400 25000 100000
generate load-100k 100000 1000000

# The same pairs for igraph, written once and not timed: names (Read_Ncol) and integer
# ids in order of first appearance (Read_Edgelist).
for sig in "$data"/*.sig; do
  base=${sig%.sig}
  [[ -s $base.ncol && -s $base.edges ]] && continue
  awk '{ print $1, $6 }' "$sig" >"$base.ncol"
  awk '{ if (!($1 in id)) id[$1] = n++; if (!($6 in id)) id[$6] = n++; print id[$1], id[$6] }' \
    "$sig" >"$base.edges"
done

# The million rows again as a table with a title line, for the table reader.
if [[ ! -s $data/load-100k.tsv ]]; then
  awk 'BEGIN { OFS = "\t"; print "source", "target", "effect", "pubmed" }
       { print $1, $6, ($11 == "+" ? "activation" : ($11 == "_" ? "inhibition" : "binding")), $13 }' \
    "$data/load-100k.sig" >"$data/load-100k.tsv"
fi

igraph_script=$(mktemp)
out=$(mktemp -d)
trap 'rm -rf "$igraph_script" "$out"' EXIT
cat >"$igraph_script" <<'PY'
import sys, time
import igraph

what, path = sys.argv[1], sys.argv[2]
if what == "edgelist":
    start = time.perf_counter()
    igraph.Graph.Read_Edgelist(path, directed=False)
    print(f"{time.perf_counter() - start:.3f}")
elif what == "ncol":
    start = time.perf_counter()
    igraph.Graph.Read_Ncol(path, names=True, directed=False)
    print(f"{time.perf_counter() - start:.3f}")
else:
    g = igraph.Graph.Read_Ncol(path, names=True, directed=False)
    g.simplify()
    start = time.perf_counter()
    g.connected_components()
    g.transitivity_local_undirected(mode="zero")
    g.average_path_length(directed=False, unconn=True)
    print(f"{time.perf_counter() - start:.3f}")
PY

# median N COMMAND...: runs COMMAND (which prints seconds on its first line) N times and
# prints the median.
median() {
  local n=$1 i
  shift
  for ((i = 0; i < n; i++)); do "$@" | head -n 1; done | sort -g | sed -n "$(((n + 1) / 2))p"
}
# wall COMMAND...: the wall time of a process, in seconds.
wall() {
  local start end
  start=$(date +%s.%N)
  "$@" >/dev/null
  end=$(date +%s.%N)
  awk -v a="$start" -v b="$end" 'BEGIN { print b - a }'
}
igraph_time() {
  ((have_igraph)) || {
    echo "-"
    return
  }
  median "$1" "$py" "$igraph_script" "$2" "$3"
}
# ONLY="name ..." limits the tables to those networks.
wanted() { [[ -z ${ONLY:-} || " $ONLY " == *" $1 "* ]]; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "-" || b <= 0) print "-"; else printf "%.1f\n", a / b }'; }
molecules() { "$bin/tessel-time" load "$1" | sed -n 2p | cut -d' ' -f1; }

section "Loading (seconds, median of $runs)"
printf '%-18s %9s %14s %11s %13s %10s %13s %11s %10s\n' network molecules "tessel-process" \
  "tessel-load" "tessel-load-1" "igraph-ids" "igraph-names" "ratio-ids" "ratio-names"
for name in several-10k several-50k load-100k load-100k-table; do
  wanted "$name" || continue
  # load-100k-table: the same rows as a four-column table (source, target, effect, PubMed).
  pairs=$data/${name%-table}
  sig=$pairs.sig
  [[ $name == *-table ]] && sig=$pairs.tsv
  process=$(median "$runs" wall "$bin/tessel" validate --json -q -o "$out" "$sig")
  load=$(median "$runs" "$bin/tessel-time" load "$sig")
  load1=$(median "$runs" "$bin/tessel-time" load "$sig" 1)
  ids=$(igraph_time "$runs" edgelist "$pairs.edges")
  names=$(igraph_time "$runs" ncol "$pairs.ncol")
  printf '%-18s %9s %14.3f %11.3f %13.3f %10s %13s %11s %10s\n' "$name" "$(molecules "$sig")" \
    "$process" "$load" "$load1" "$ids" "$names" "$(ratio "$ids" "$load")" \
    "$(ratio "$names" "$load")"
done

section "Statistics (seconds; TESSEL median of $runs, igraph median of $igraph_runs)"
printf '%-18s %9s %14s %11s %11s %10s %8s %9s\n' network molecules "tessel-process" \
  "tessel-all" "tessel-1" igraph ratio "ratio-1"
for name in one-10k several-10k many-10k chain-10k one-50k several-50k big-and-small-50k; do
  wanted "$name" || continue
  sig=$data/$name.sig
  process=$(median "$runs" wall "$bin/tessel" stats --json -q -o "$out" "$sig")
  all=$(median "$runs" "$bin/tessel-time" stats "$sig" 0)
  one=$(median "$runs" "$bin/tessel-time" stats "$sig" 1)
  ig=$(igraph_time "$igraph_runs" stats "$data/$name.ncol")
  printf '%-18s %9s %14.3f %11.3f %11.3f %10s %8s %9s\n' "$name" "$(molecules "$sig")" \
    "$process" "$all" "$one" "$ig" "$(ratio "$ig" "$all")" "$(ratio "$ig" "$one")"
done
echo
echo "ratio: igraph / TESSEL in-process (all cores; ratio-1: one thread); above 1, TESSEL is faster"
