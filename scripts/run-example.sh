#!/usr/bin/env bash
# Installs the dependencies, builds TESSEL (the command line and the desktop window) and
# analyses the bundled example network. Results go to example-output/ (override with the
# first argument).
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-example-output}
network=examples/omnipath_signed.sig

bash scripts/install-deps.sh
cmake --preset default >/dev/null
targets=(tessel)
# The window is built when Qt was found (-DTESSEL_BUILD_GUI=OFF leaves it out).
if grep -q '^TESSEL_BUILD_GUI:BOOL=ON' build/default/CMakeCache.txt; then targets+=(tessel-gui); fi
cmake --build --preset default -j "$(nproc)" --target "${targets[@]}"

tessel=build/default/bin/tessel
# The web site is built offline: PubMed records come from the local cache only, so on a
# fresh machine the references show their ids and links to PubMed. Drop --offline to fetch
# them (about 3,000 records, in batches of 200, three requests a second).
"$tessel" website --offline -o "$out" "$network"
"$tessel" validate -o "$out" "$network"
"$tessel" motifs -o "$out" "$network"
echo
echo "Open $out/TESSEL_website/index.htm (the web site, with stats.htm), $out/validation.htm"
echo "and $out/TESSEL_motifs/motifs.htm in a browser."
echo
echo "The programs: $PWD/$tessel (command line: $tessel --help)"
if [[ -x build/default/bin/tessel-gui ]]; then
  echo "              $PWD/build/default/bin/tessel-gui (the desktop window; needs a display)"
fi
