#!/usr/bin/env bash
# Installs the dependencies, builds TESSEL and analyses the bundled example network.
# Results go to example-output/ (override with the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-example-output}
network=examples/omnipath_signed.sig

bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target tessel

tessel=build/default/bin/tessel
"$tessel" stats -o "$out" "$network"
"$tessel" validate -o "$out" "$network"
"$tessel" motifs -o "$out" "$network"
"$tessel" draw -o "$out" "$network"
echo
echo "Open $out/stats.htm, $out/validation.htm, $out/TESSEL_motifs/motifs.htm and"
echo "$out/network.svg in a browser."
