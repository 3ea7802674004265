"""Reads the exchange files written by tessel with outside readers and checks them against
the SIG files they were made from.

usage: exchange_readback.py WRITER WORK_DIR NETWORK.sig...

WRITER loads a network file and writes STEM.graphml, STEM.csv, STEM.sif and STEM.cx2. The
expected network is worked out here from the SIG rows alone: a molecule takes the fields of
its first row, with "NA" fields filled by later rows; an interaction (an ordered pair) takes
the fields of its first row and the distinct PubMed ids of all its rows. GraphML is read by
networkx and python-igraph, the edge table by pandas and the csv module, CX2 by the json
module, and the signed SIF line by line.
"""

import csv
import json
import os
import re
import subprocess
import sys

import igraph
import networkx
import pandas

FIELDS = ["accession", "extra_id", "type", "location"]
END = ["source", "target"]
COLUMNS = (
    "source,source_accession,source_extra_id,source_type,source_location,target,"
    "target_accession,target_extra_id,target_type,target_location,effect,interaction_type,pubmed"
).split(",")
CX2_TYPES = {"string": str, "long": int, "integer": int, "double": (int, float), "boolean": bool}


def relation(effect):
    return {"+": "activates", "_": "inhibits", "0": "binds"}.get(effect, effect)


def read_sig(path):
    """Returns ({name: [accession, extra id, type, location]}, {(source, target): row})."""
    molecules, interactions = {}, {}
    with open(path, encoding="utf-8") as f:
        for fields in (line.split() for line in f):
            if not fields:
                continue
            assert len(fields) == 13, f"{path}: a row of {len(fields)} fields"
            if "na" in (fields[0], fields[5]):
                break
            for at in (0, 5):
                if fields[at][0].isdigit():
                    fields[at] = "P" + fields[at]
                kept = molecules.setdefault(fields[at], fields[at + 1 : at + 5])
                kept[:] = [o if k == "NA" else k for k, o in zip(kept, fields[at + 1 : at + 5])]
            row = interactions.setdefault((fields[0], fields[5]), {"fields": fields[:12]})
            row.setdefault("pubmed", [])
            pmid = int(re.match(r"\d*", fields[12]).group() or 0)
            if pmid not in row["pubmed"]:
                row["pubmed"].append(pmid)
    return molecules, interactions


def check_graph(same, reader, node_attrs, edges, molecules, interactions):
    """node_attrs: {name: attrs}; edges: [(source name, target name, attrs)]."""
    same(f"{reader}: molecules", sorted(node_attrs), sorted(molecules))
    for name, attrs in node_attrs.items():
        if name in molecules:
            same(f"{reader}: fields of {name}", [attrs.get(k) for k in FIELDS], molecules[name])
            drawn = bool(attrs.get("color") and attrs.get("shape"))
            same(f"{reader}: {name} has colour and shape", drawn, True)
    same(f"{reader}: interaction count", len(edges), len(interactions))
    for source, target, attrs in edges:
        row = interactions.get((source, target))
        if row is None:
            same(f"{reader}: interaction {source} -> {target}", "present", "absent")
            continue
        f = row["fields"]
        keys = ["effect", "interaction_type"] + [f"{e}_{k}" for e in END for k in FIELDS]
        got = [attrs.get(k) for k in keys]
        same(f"{reader}: fields of {source} -> {target}", got, [f[10], f[11]] + f[1:5] + f[6:10])
        pubmed = [int(p) for p in str(attrs.get("pubmed")).split(";")]
        same(f"{reader}: PubMed ids of {source} -> {target}", pubmed, row["pubmed"])


def check_graphml(same, path, molecules, interactions):
    g = networkx.read_graphml(path)
    same("networkx: directed", g.is_directed(), True)
    names = {node: attrs["name"] for node, attrs in g.nodes(data=True)}
    node_attrs = {attrs["name"]: attrs for _, attrs in g.nodes(data=True)}
    same("networkx: distinct names", len(node_attrs), g.number_of_nodes())
    edges = [(names[s], names[t], attrs) for s, t, attrs in g.edges(data=True)]
    check_graph(same, "networkx", node_attrs, edges, molecules, interactions)

    ig = igraph.Graph.Read_GraphML(path)
    same("igraph: directed", ig.is_directed(), True)
    node_attrs = {v["name"]: v.attributes() for v in ig.vs}
    edges = [(ig.vs[e.source]["name"], ig.vs[e.target]["name"], e.attributes()) for e in ig.es]
    check_graph(same, "igraph", node_attrs, edges, molecules, interactions)


def check_table(same, path, molecules, interactions):
    want = [r["fields"] + [";".join(map(str, r["pubmed"]))] for r in interactions.values()]
    frame = pandas.read_csv(path, dtype=str, keep_default_na=False, encoding="utf-8")
    same("pandas: columns", list(frame.columns), COLUMNS)
    same("pandas: rows", frame.values.tolist(), want)
    with open(path, newline="", encoding="utf-8") as f:
        same("csv: header and rows", list(csv.reader(f)), [COLUMNS] + want)


def check_sif(same, path, molecules, interactions):
    with open(path, encoding="utf-8") as f:
        lines = [line.rstrip("\n").split("\t") for line in f]
    want = [[s, relation(r["fields"][10]), t] for (s, t), r in interactions.items()]
    same("signed SIF: interaction lines", [l for l in lines if len(l) == 3], want)
    linked = {n for pair in interactions for n in pair}
    alone = {l[0] for l in lines if len(l) == 1}
    same("signed SIF: lone molecules", alone, set(molecules) - linked)
    same("signed SIF: lines of 1 or 3 fields", all(len(l) in (1, 3) for l in lines), True)


def has_type(value, declared):
    if declared.startswith("list_of_"):
        return isinstance(value, list) and all(has_type(v, declared[8:]) for v in value)
    return isinstance(value, CX2_TYPES.get(declared, ())) and (
        isinstance(value, bool) == (declared == "boolean"))


def check_cx2(same, path, molecules, interactions):
    with open(path, encoding="utf-8") as f:
        cx = json.load(f)
    same("CX2: descriptor", cx[0].get("CXVersion"), "2.0")
    same("CX2: status", cx[-1], {"status": [{"error": "", "success": True}]})
    blocks = [list(aspect.items()) for aspect in cx[1:-1]]
    same("CX2: one aspect per block", [len(b) for b in blocks], [1] * len(blocks))
    aspects = dict(b[0] for b in blocks)
    same("CX2: distinct aspects", len(aspects), len(blocks))
    counts = {m["name"]: m.get("elementCount") for m in aspects["metaData"]}
    same("CX2: metaData counts", counts, {k: len(v) for k, v in aspects.items() if k != "metaData"})

    declarations = aspects["attributeDeclarations"][0]
    for block, elements in (("networkAttributes", aspects["networkAttributes"]),
                            ("nodes", [n["v"] for n in aspects["nodes"]]),
                            ("edges", [e["v"] for e in aspects["edges"]])):
        declared = {k: d.get("d", "string") for k, d in declarations.get(block, {}).items()}
        unknown = {d for d in declared.values() if d.removeprefix("list_of_") not in CX2_TYPES}
        same(f"CX2: types declared for {block}", unknown, set())
        for values in elements:
            for name, value in values.items():
                same(f"CX2: {block}.{name} = {value!r} has its declared type",
                     has_type(value, declared.get(name, "undeclared")), True)

    names = {n["id"]: n["v"]["name"] for n in aspects["nodes"]}
    ids = [n["id"] for n in aspects["nodes"]]
    same("CX2: distinct integer node ids", (len(names), {type(i) for i in ids}), (len(ids), {int}))
    edge_ids = [e["id"] for e in aspects["edges"]]
    same("CX2: distinct edge ids", len(set(edge_ids)), len(edge_ids))
    edges = []
    for e in aspects["edges"]:
        attrs = dict(e["v"], pubmed=";".join(map(str, e["v"]["pubmed"])))
        same(f"CX2: interaction of edge {e['id']}", attrs["interaction"], relation(attrs["effect"]))
        edges.append((names.get(e["s"]), names.get(e["t"]), attrs))
    node_attrs = {n["v"]["name"]: n["v"] for n in aspects["nodes"]}
    check_graph(same, "CX2", node_attrs, edges, molecules, interactions)


def check(writer, work_dir, sig):
    molecules, interactions = read_sig(sig)
    stem = os.path.join(work_dir, os.path.splitext(os.path.basename(sig))[0])
    checks = {".graphml": check_graphml, ".csv": check_table, ".sif": check_sif, ".cx2": check_cx2}
    for suffix in checks:
        if os.path.exists(stem + suffix):
            os.remove(stem + suffix)
    subprocess.run([writer, sig, stem], check=True)
    errors = []

    def same(what, got, want):
        if got != want:
            errors.append(f"{what}: read {got!r}, expected {want!r}")

    for suffix, run in checks.items():
        try:
            run(same, stem + suffix, molecules, interactions)
        except Exception as e:  # a reader that fails outright is one more finding
            errors.append(f"{suffix}: {type(e).__name__}: {e}")
    print(f"{sig}: {len(molecules)} molecules, {len(interactions)} interactions: "
          + ("FAILED" if errors else "ok"))
    for e in errors[:40]:
        print("  " + e)
    return not errors


def main():
    if len(sys.argv) < 4:
        raise SystemExit(__doc__)
    os.makedirs(sys.argv[2], exist_ok=True)
    results = [check(sys.argv[1], sys.argv[2], sig) for sig in sys.argv[3:]]
    sys.exit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
