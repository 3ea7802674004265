#!/usr/bin/env bash
# Screenshots of every kind of page the program writes (headless Chromium) and of the window
# after each command (under Xvfb), into docs/screenshots. Needs a build with the window
# (build/default) and the packages chromium, xvfb and xauth.
#   bash scripts/screenshots.sh [NETWORK] [OUT_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
network=${1:-examples/signor_lbc.sig}
out=$(realpath -m "${2:-docs/screenshots}")
bin=build/default/bin
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$out/pages"

run() { "$bin/tessel" "$@" -q -o "$work" "$network" >/dev/null; }
run stats
run validate
# Pathways before the site: the maps then link to molecule pages of their own.
# The default query (ligands to transcription factors), else receptors to them.
run pathways 2>/dev/null || run pathways --source Type=Receptor
run website --offline
run motifs
run shuffle --count 20 --seed 7 --analyze clustering,motifs34
run reduce
run propagate --condition Type=Receptor --steps 4 || true
run draw --force || run draw
"$bin/tessel" matrix -q -o "$work" --to "$work/matrix.png" "$network" >/dev/null

shot() {  # shot NAME PAGE
  local page=$1 name=$2
  if [[ ! -f $page ]]; then
    echo "no $page" >&2
    return
  fi
  chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-sync \
    --user-data-dir="$work/chromium" --hide-scrollbars --window-size=1200,900 \
    --virtual-time-budget=4000 --screenshot="$out/pages/$name.png" "file://$page" 2>/dev/null
  echo "wrote $out/pages/$name.png"
}
first() { find "$work/$1" -maxdepth 1 -name "$2" 2>/dev/null | sort | head -1; }

site=$work/TESSEL_website
shot "$work/stats.htm" stats
shot "$work/validation.htm" validation
shot "$site/index.htm" website_index
shot "$site/list.htm" website_list
shot "$site/central.htm" website_group
shot "$site/colors_and_shapes.htm" website_legend
shot "$(grep -o 'HREF="[^"]*\.htm"' "$site/list.htm" | head -1 | sed 's/HREF="//;s/"$//;s|^|'"$site"'/|')" \
  website_molecule
shot "$work/TESSEL_motifs/motifs.htm" motifs
shot "$(first TESSEL_motifs 'feedback*.htm')" motifs_kind
shot "$work/TESSEL_pg/form.htm" pathways_form
shot "$(first TESSEL_pg '*_TO_*.htm')" pathways_map
shot "$(first TESSEL_pg 'molecule-*.htm')" pathways_molecule
shot "$work/TESSEL_shuffled_nets/shuffled_networks_analysis.htm" shuffled
shot "$work/TESSEL_reduced/stats_for_reduced_networks.htm" reduced
shot "$(first TESSEL_from_sources 'stats_for_steps_networks.htm')" propagate
shot "$(first TESSEL_from_sources 'dips.htm')" dips
shot "$work/network.svg" drawing
shot "$work/matrix.htm" matrix

mkdir -p "$out/window"
QTWEBENGINE_DISABLE_SANDBOX=1 QTWEBENGINE_CHROMIUM_FLAGS=--disable-gpu \
  xvfb-run -a "$bin/tessel_gui_screenshots" "$out/window" "$network" 2>&1 |
  grep -E '^(wrote|could not|no button)' || true
