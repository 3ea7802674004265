"""Reads the exchange files written by tessel with outside readers and checks them against
the SIG files they were made from.

usage: exchange_readback.py WRITER WORK_DIR NETWORK.sig...

WRITER loads a network file and writes STEM.graphml, STEM.csv, STEM.sif and STEM.cx2. The
expected molecules and interactions are worked out here from the SIG rows alone: a molecule
takes the fields of its first row, with "NA" fields filled by later rows; an interaction (an
ordered pair) takes the fields of its first row and the distinct PubMed ids of all its rows.
GraphML is read by networkx and python-igraph, the edge table by pandas and the csv module,
CX2 by the json module, and the signed SIF line by line.
"""

import csv
import json
import os
import subprocess
import sys

import igraph
import networkx
import pandas

COLUMNS = (
    "source,source_accession,source_extra_id,source_type,source_location,target,"
    "target_accession,target_extra_id,target_type,target_location,effect,interaction_type,"
    "pubmed"
).split(",")
MOLECULE_FIELDS = ["accession", "extra_id", "type", "location"]
END_FIELDS = ["accession", "extra_id", "type", "location"]
RELATION = {"+": "activates", "_": "inhibits", "0": "binds"}
CX2_TYPES = {
    "string",
    "long",
    "integer",
    "double",
    "boolean",
    "list_of_string",
    "list_of_long",
    "list_of_integer",
    "list_of_double",
    "list_of_boolean",
}


def pubmed_id(field):
    digits = ""
    for c in field:
        if not c.isdigit():
            break
        digits += c
    return int(digits) if digits else 0


def read_sig(path):
    """Returns ({name: [accession, extra id, type, location]}, {(source, target): row})."""
    molecules = {}
    interactions = {}
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            fields = line.split()
            if not fields:
                continue
            if len(fields) != 13:
                raise SystemExit(f"{path}:{number}: expected 13 fields, found {len(fields)}")
            if fields[0] == "na" or fields[5] == "na":
                break
            for at in (0, 5):
                if fields[at][0].isdigit():
                    fields[at] = "P" + fields[at]
                name, own = fields[at], fields[at + 1 : at + 5]
                kept = molecules.setdefault(name, list(own))
                for k in range(4):
                    if kept[k] == "NA":
                        kept[k] = own[k]
            key = (fields[0], fields[5])
            row = interactions.setdefault(key, {"fields": fields[:12], "pubmed": []})
            pmid = pubmed_id(fields[12])
            if pmid not in row["pubmed"]:
                row["pubmed"].append(pmid)
    return molecules, interactions


def expected_rows(interactions):
    return [
        row["fields"] + [";".join(str(p) for p in row["pubmed"])] for row in interactions.values()
    ]


class Checker:
    def __init__(self, label):
        self.label = label
        self.errors = []

    def expect(self, condition, message):
        if not condition:
            self.errors.append(message)

    def same(self, what, got, want):
        if got != want:
            self.errors.append(f"{what}: read {got!r}, expected {want!r}")


def check_graph_attributes(c, reader, node_attrs, edges, molecules, interactions):
    """node_attrs: {name: attrs}; edges: [(source name, target name, attrs)]."""
    c.same(f"{reader}: molecules", sorted(node_attrs), sorted(molecules))
    for name, attrs in node_attrs.items():
        if name in molecules:
            c.same(
                f"{reader}: fields of {name}",
                [attrs.get(k) for k in MOLECULE_FIELDS],
                molecules[name],
            )
            c.expect(attrs.get("color") and attrs.get("shape"), f"{reader}: {name} lacks colour")
    c.same(f"{reader}: interaction count", len(edges), len(interactions))
    for source, target, attrs in edges:
        row = interactions.get((source, target))
        if row is None:
            c.errors.append(f"{reader}: unexpected interaction {source} -> {target}")
            continue
        f = row["fields"]
        got = [attrs.get("effect"), attrs.get("interaction_type")]
        got += [attrs.get("source_" + k) for k in END_FIELDS]
        got += [attrs.get("target_" + k) for k in END_FIELDS]
        want = [f[10], f[11]] + f[1:5] + f[6:10]
        c.same(f"{reader}: fields of {source} -> {target}", got, want)
        c.same(
            f"{reader}: PubMed ids of {source} -> {target}",
            [int(p) for p in str(attrs.get("pubmed")).split(";")],
            row["pubmed"],
        )


def check_graphml(c, path, molecules, interactions):
    g = networkx.read_graphml(path)
    c.expect(g.is_directed(), "networkx: graph read as undirected")
    names = {node: attrs["name"] for node, attrs in g.nodes(data=True)}
    node_attrs = {attrs["name"]: attrs for _, attrs in g.nodes(data=True)}
    c.same("networkx: distinct names", len(node_attrs), g.number_of_nodes())
    edges = [(names[s], names[t], attrs) for s, t, attrs in g.edges(data=True)]
    check_graph_attributes(c, "networkx", node_attrs, edges, molecules, interactions)

    ig = igraph.Graph.Read_GraphML(path)
    c.expect(ig.is_directed(), "igraph: graph read as undirected")
    node_attrs = {v["name"]: v.attributes() for v in ig.vs}
    edges = [(ig.vs[e.source]["name"], ig.vs[e.target]["name"], e.attributes()) for e in ig.es]
    check_graph_attributes(c, "igraph", node_attrs, edges, molecules, interactions)


def check_table(c, path, interactions):
    want = expected_rows(interactions)
    frame = pandas.read_csv(path, dtype=str, keep_default_na=False, encoding="utf-8")
    c.same("pandas: columns", list(frame.columns), COLUMNS)
    c.same("pandas: rows", frame.values.tolist(), want)
    with open(path, newline="", encoding="utf-8") as f:
        rows = list(csv.reader(f))
    c.same("csv: header", rows[0] if rows else None, COLUMNS)
    c.same("csv: rows", rows[1:], want)


def check_sif(c, path, molecules, interactions):
    with open(path, encoding="utf-8") as f:
        lines = [line.rstrip("\n").split("\t") for line in f]
    want = [[s, RELATION.get(r["fields"][10], r["fields"][10]), t] for (s, t), r in interactions.items()]
    c.same("signed SIF: interaction lines", [l for l in lines if len(l) == 3], want)
    alone = {l[0] for l in lines if len(l) == 1}
    linked = {n for pair in interactions for n in pair}
    c.same("signed SIF: lone molecules", alone, set(molecules) - linked)
    c.expect(all(len(l) in (1, 3) for l in lines), "signed SIF: a line of 2 or more than 3 fields")


def value_has_type(value, declared):
    if declared.startswith("list_of_"):
        return isinstance(value, list) and all(value_has_type(v, declared[8:]) for v in value)
    if declared == "string":
        return isinstance(value, str)
    if declared in ("long", "integer"):
        return isinstance(value, int) and not isinstance(value, bool)
    if declared == "double":
        return isinstance(value, (int, float)) and not isinstance(value, bool)
    if declared == "boolean":
        return isinstance(value, bool)
    return False


def check_cx2(c, path, molecules, interactions):
    with open(path, encoding="utf-8") as f:
        cx = json.load(f)
    c.expect(isinstance(cx, list) and len(cx) >= 3, "CX2: not an array of aspects")
    c.same("CX2: descriptor", cx[0].get("CXVersion"), "2.0")
    c.same("CX2: status", cx[-1], {"status": [{"error": "", "success": True}]})
    aspects = {}
    for aspect in cx[1:-1]:
        c.same("CX2: keys of one aspect block", len(aspect), 1)
        (name, elements), = aspect.items()
        c.expect(name not in aspects, f"CX2: aspect {name} appears twice")
        c.expect(isinstance(elements, list), f"CX2: aspect {name} is not a list")
        aspects[name] = elements
    counted = set()
    for meta in aspects.get("metaData", []):
        name = meta.get("name")
        counted.add(name)
        c.expect(name in aspects, f"CX2: metaData names missing aspect {name}")
        c.same(f"CX2: metaData count of {name}", meta.get("elementCount"), len(aspects.get(name, [])))
    c.same("CX2: aspects in metaData", counted, set(aspects) - {"metaData"})

    declarations = aspects["attributeDeclarations"][0]
    for block, elements in (
        ("networkAttributes", aspects["networkAttributes"]),
        ("nodes", [n["v"] for n in aspects["nodes"]]),
        ("edges", [e["v"] for e in aspects["edges"]]),
    ):
        declared = declarations.get(block, {})
        for name, d in declared.items():
            c.expect(d.get("d", "string") in CX2_TYPES, f"CX2: {block}.{name}: type {d}")
        for values in elements:
            for name, value in values.items():
                if name not in declared:
                    c.errors.append(f"CX2: {block} attribute {name} is not declared")
                    continue
                if not value_has_type(value, declared[name].get("d", "string")):
                    c.errors.append(f"CX2: {block}.{name} = {value!r} is not {declared[name]}")

    ids = [n["id"] for n in aspects["nodes"]]
    c.expect(all(isinstance(i, int) for i in ids), "CX2: node id that is not an integer")
    c.same("CX2: distinct node ids", len(set(ids)), len(ids))
    edge_ids = [e["id"] for e in aspects["edges"]]
    c.same("CX2: distinct edge ids", len(set(edge_ids)), len(edge_ids))
    names = {n["id"]: n["v"]["name"] for n in aspects["nodes"]}
    for e in aspects["edges"]:
        c.expect(e["s"] in names and e["t"] in names, f"CX2: edge {e['id']} names no node")
    node_attrs = {n["v"]["name"]: n["v"] for n in aspects["nodes"]}
    edges = []
    for e in aspects["edges"]:
        attrs = dict(e["v"])
        attrs["pubmed"] = ";".join(str(p) for p in attrs["pubmed"])
        relation = RELATION.get(attrs["effect"], attrs["effect"])
        c.same(f"CX2: interaction of edge {e['id']}", attrs["interaction"], relation)
        edges.append((names.get(e["s"]), names.get(e["t"]), attrs))
    check_graph_attributes(c, "CX2", node_attrs, edges, molecules, interactions)


def check(writer, work_dir, sig):
    molecules, interactions = read_sig(sig)
    stem = os.path.join(work_dir, os.path.splitext(os.path.basename(sig))[0])
    for suffix in (".graphml", ".csv", ".sif", ".cx2"):
        if os.path.exists(stem + suffix):
            os.remove(stem + suffix)
    subprocess.run([writer, sig, stem], check=True)

    c = Checker(sig)
    for name, run in (
        ("GraphML", lambda: check_graphml(c, stem + ".graphml", molecules, interactions)),
        ("table", lambda: check_table(c, stem + ".csv", interactions)),
        ("signed SIF", lambda: check_sif(c, stem + ".sif", molecules, interactions)),
        ("CX2", lambda: check_cx2(c, stem + ".cx2", molecules, interactions)),
    ):
        try:
            run()
        except Exception as e:  # a reader that fails outright is one more finding
            c.errors.append(f"{name}: {type(e).__name__}: {e}")
    status = "FAILED" if c.errors else "ok"
    print(f"{sig}: {len(molecules)} molecules, {len(interactions)} interactions: {status}")
    for e in c.errors[:40]:
        print("  " + e)
    return not c.errors


def main():
    if len(sys.argv) < 4:
        raise SystemExit(__doc__)
    writer, work_dir, sigs = sys.argv[1], sys.argv[2], sys.argv[3:]
    os.makedirs(work_dir, exist_ok=True)
    results = [check(writer, work_dir, sig) for sig in sigs]
    sys.exit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
