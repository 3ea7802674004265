#!/usr/bin/env bash
# Runs tessel and tessel-mpi on 2 and 3 ranks with the same seed and checks that the files,
# pages and JSON are the same (the pages' context line, which holds the command and the
# minute, is left out of the comparison); then that a failure on one rank ends the run with
# the one-process message and exit status 1.
#
#   tests/mpi_compare.sh TESSEL TESSEL_MPI NETWORK WORKDIR
#
# Exits 77 (skipped) when mpirun is missing.
set -euo pipefail
tessel=$(realpath "$1") tessel_mpi=$(realpath "$2") network=$(realpath "$3") work=$4

command -v mpirun >/dev/null || { echo "mpirun is missing: skipped"; exit 77; }
mpirun_args=(--oversubscribe)
[[ $(id -u) -eq 0 ]] && mpirun_args+=(--allow-run-as-root)

rm -rf "$work"
mkdir -p "$work"
cd "$work"

# run NAME RANKS ARGS...: RANKS 0 runs tessel itself. Output goes to NAME/out, JSON to
# NAME/out.json, stderr to NAME/err; prints the exit status.
run() {
  local name=$1 ranks=$2
  shift 2
  mkdir -p "$name"
  local status=0
  if [[ $ranks -eq 0 ]]; then
    (cd "$name" && timeout 300 "$tessel" "$@" -o out >out.json 2>err) || status=$?
  else
    (cd "$name" && timeout 300 mpirun "${mpirun_args[@]}" -np "$ranks" "$tessel_mpi" "$@" -o out \
      >out.json 2>err) || status=$?
  fi
  # Pages without their context line.
  find "$name/out" -name '*.htm' -exec sed -i '/class="tessel-context"/d' {} +
  echo "$status"
}

failed=0
check_same() {
  if ! diff -r "$1/out" "$2/out" >/dev/null || ! diff "$1/out.json" "$2/out.json" >/dev/null; then
    echo "FAIL: $1 and $2 differ:"
    diff -r "$1/out" "$2/out" | head -20
    diff "$1/out.json" "$2/out.json" | head -20
    failed=1
  fi
}

shuffle=(shuffle -q --json --seed 11 --count 7 --analyze clustering,motifs34,motifs5 --threads 2
  "$network")
significance=(motifs -q --json --significance 9 --seed 5 --no-drawings --threads 2 "$network")
for ranks in 0 2 3; do
  [[ $(run "shuffle$ranks" "$ranks" "${shuffle[@]}") -eq 0 ]] || { echo "FAIL: shuffle on $ranks ranks"; cat "shuffle$ranks/err"; failed=1; }
  [[ $(run "significance$ranks" "$ranks" "${significance[@]}") -eq 0 ]] || { echo "FAIL: significance on $ranks ranks"; cat "significance$ranks/err"; failed=1; }
done
for ranks in 2 3; do
  check_same shuffle0 "shuffle$ranks"
  check_same significance0 "significance$ranks"
done
grep -q '"significance"' significance0/out.json || { echo "FAIL: no significance in the JSON"; failed=1; }
[[ $(ls shuffle0/out/TESSEL_shuffled_nets/random_milo_*.sig | wc -l) -eq 7 ]] ||
  { echo "FAIL: shuffle wrote $(ls shuffle0/out/TESSEL_shuffled_nets | wc -l) files"; failed=1; }

# Random networks of one island cannot all be found in one try: the failing network is on a
# rank other than 0 with 3 ranks, and every rank stops.
island=(shuffle -q --seed 3 --count 6 --threads 1 --kind er --one-island --island-tries 1 "$network")
status=$(run island0 0 "${island[@]}")
message=$(grep 'tessel: error' island0/err || true)
[[ $status -eq 1 && -n $message ]] || { echo "FAIL: one process gave $status: $message"; failed=1; }
status=$(run island3 3 "${island[@]}")
[[ $status -eq 1 ]] || { echo "FAIL: 3 ranks gave exit status $status"; failed=1; }
[[ $(grep -c 'tessel: error' island3/err) -eq 1 ]] && grep -qF "$message" island3/err ||
  { echo "FAIL: 3 ranks reported:"; cat island3/err; failed=1; }

[[ $failed -eq 0 ]] && echo "tessel-mpi gives the files, pages and JSON of tessel"
exit "$failed"
