#!/usr/bin/env bash
# Times `tessel shuffle` on one process against `tessel-mpi shuffle` on 2 ranks (one thread
# each) for swap networks of a generated network of the human signalling example's size,
# analysed for motifs of size 3 and 4, and checks that both wrote the same files.
#
#   bench/mpi_shuffle.sh BUILD_DIR [COUNT]     (COUNT: random networks, default 1000)
#
# BUILD_DIR must hold bin/tessel, bin/tessel-mpi and bin/tessel-generate.
set -euo pipefail
build=$(realpath "$1")
count=${2:-1000}
bin=$build/bin
work=$build/bench-mpi
rm -rf "$work"
mkdir -p "$work"
cd "$work"

"$bin/tessel-generate" --molecules 9000 --interactions 28000 --seed 1 --connected --out net.sig
mpirun_args=(--oversubscribe)
[[ $(id -u) -eq 0 ]] && mpirun_args+=(--allow-run-as-root)
args=(shuffle -q --count "$count" --analyze motifs34 --threads 1 --seed 7)

seconds() {
  local t0 t1
  t0=$(date +%s.%N)
  "$@" >/dev/null
  t1=$(date +%s.%N)
  awk -v a="$t0" -v b="$t1" 'BEGIN { printf "%.1f", b - a }'
}
one=$(seconds "$bin/tessel" "${args[@]}" -o one net.sig)
two=$(seconds mpirun "${mpirun_args[@]}" -np 2 "$bin/tessel-mpi" "${args[@]}" -o two net.sig)
find one two -name '*.htm' -exec sed -i '/class="tessel-context"/d' {} +
diff -r one two >/dev/null && same=yes || same=NO
echo "networks: $count  one process, 1 thread: ${one}s  2 ranks, 1 thread each: ${two}s" \
  " ratio: $(awk -v a="$one" -v b="$two" 'BEGIN { printf "%.2f", a / b }')  same files: $same"
