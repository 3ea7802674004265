"""Loads Pajek files written by tessel with python-igraph and checks them against the SIG files.

usage: pajek_igraph.py WRITER WORK_DIR NETWORK.sig...

WRITER loads a network file and writes its Pajek export. The expected molecules and arcs are
worked out here from the SIG rows alone: the distinct names, and the distinct ordered pairs
whose first row has the effect "+", "_" or "0".
"""

import os
import re
import subprocess
import sys

import igraph

# Colour names that Pajek knows (the dvips palette plus its grey steps).
PAJEK_COLOURS = set(
    """GreenYellow Yellow Goldenrod Dandelion Apricot Peach Melon YellowOrange Orange
    BurntOrange Bittersweet RedOrange Mahogany Maroon BrickRed Red OrangeRed RubineRed
    WildStrawberry Salmon CarnationPink Magenta VioletRed Rhodamine Mulberry RedViolet Fuchsia
    Lavender Thistle Orchid DarkOrchid Purple Plum Violet RoyalPurple BlueViolet Periwinkle
    CadetBlue CornflowerBlue MidnightBlue NavyBlue RoyalBlue Blue Cerulean Cyan ProcessBlue
    SkyBlue Turquoise TealBlue Aquamarine BlueGreen Emerald JungleGreen SeaGreen Green
    ForestGreen PineGreen LimeGreen YellowGreen SpringGreen OliveGreen RawSienna Sepia Brown
    Tan Gray Black White LightYellow LightCyan LightMagenta LightPurple LightGreen LightOrange
    Canary LFadedGreen Pink LSkyBlue""".split()
) | {"Gray%02d" % step for step in range(5, 100, 5)}

VERTEX_LINE = re.compile(r'^(\d+)  "([^"]*)" (ellipse|box|diamond) ic (\S+)$')
ARC_COLOUR = {"+": "PineGreen", "_": "Red", "0": "Blue"}


def read_sig(path):
    """Returns (names in order of first appearance, {(source, target): first effect})."""
    names = {}
    pairs = {}
    with open(path, encoding="utf-8", errors="surrogateescape") as f:
        for number, line in enumerate(f, 1):
            fields = line.split()
            if not fields:
                continue
            if len(fields) != 13:
                raise SystemExit(f"{path}:{number}: expected 13 fields, found {len(fields)}")
            if fields[0] == "na" or fields[5] == "na":
                break
            source, target = (("P" + n) if n[0].isdigit() else n for n in (fields[0], fields[5]))
            names.setdefault(source, None)
            names.setdefault(target, None)
            pairs.setdefault((source, target), fields[10])
    return list(names), pairs


def label(name):
    return name.replace('"', "'")


def check(writer, work_dir, sig):
    names, pairs = read_sig(sig)
    arcs = [(label(s), label(t), ARC_COLOUR[e]) for (s, t), e in pairs.items() if e in ARC_COLOUR]

    out = os.path.join(work_dir, os.path.splitext(os.path.basename(sig))[0] + ".net")
    if os.path.exists(out):
        os.remove(out)
    subprocess.run([writer, sig, out], check=True)

    with open(out, encoding="utf-8", errors="surrogateescape") as f:
        lines = f.read().split("\n")
    errors = []
    # Every vertex line has the shape, then the colour, which must be a Pajek colour name.
    vertex_count = int(lines[0].split()[1]) if lines[0].startswith("*Vertices") else -1
    for line in lines[1 : 1 + vertex_count]:
        m = VERTEX_LINE.match(line)
        if not m:
            errors.append(f"vertex line not in the expected form: {line!r}")
        elif m.group(4) not in PAJEK_COLOURS:
            errors.append(f"not a Pajek colour: {m.group(4)!r} in {line!r}")

    g = igraph.Graph.Read_Pajek(out)
    if not g.is_directed():
        errors.append("graph read as undirected")
    if g.vcount() != len(names):
        errors.append(f"{g.vcount()} vertices, expected {len(names)}")
    if g.ecount() != len(arcs):
        errors.append(f"{g.ecount()} arcs, expected {len(arcs)}")
    if sorted(g.vs["name"]) != sorted(label(n) for n in names):
        errors.append("vertex names differ from the SIG names")
    read_arcs = [(g.vs[e.source]["name"], g.vs[e.target]["name"], e["color"]) for e in g.es]
    if read_arcs != arcs:
        for want, got in zip(arcs, read_arcs):
            if want != got:
                errors.append(f"first differing arc: expected {want}, read {got}")
                break
        errors.append("arcs differ from the SIG pairs")

    status = "FAILED" if errors else "ok"
    print(f"{sig}: {g.vcount()} vertices, {g.ecount()} arcs: {status}")
    for e in errors:
        print("  " + e)
    return not errors


def main():
    if len(sys.argv) < 4:
        raise SystemExit(__doc__)
    writer, work_dir, sigs = sys.argv[1], sys.argv[2], sys.argv[3:]
    os.makedirs(work_dir, exist_ok=True)
    results = [check(writer, work_dir, sig) for sig in sigs]
    sys.exit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
