"""TESSEL for Python: signalling networks, their statistics, motifs, random networks,
pathways and validation.

    import tessel
    net = tessel.load("examples/signor_lbc.sig")
    print(len(net), net.stats()["clustering"])
    counts = net.motifs(kinds=["fbl3", "ffl3"])

Results are plain dicts and lists; with pandas installed, ``tessel.to_frame(rows)`` (and the
``as_frame=True`` options) turn tables into DataFrames. Long work releases the interpreter
lock, reports to an optional ``progress(done, total, text)`` callable and stops on Ctrl-C
(KeyboardInterrupt). Bad input or settings raise ValueError, files that cannot be written
OSError.
"""

import os
import tempfile

from . import _core

__all__ = ["Network", "load", "to_frame", "formats", "motif_kinds", "__version__"]

__version__ = _core.version

# The five fields of a molecule at each end of a row, as the SIG format orders them.
_END_FIELDS = ("", "accession", "extra_id", "type", "location")


def formats():
    """The names ``load(format=...)`` accepts, "auto" first."""
    return _core.formats()


def motif_kinds():
    """Every motif kind: fbl3, fbl4, fbl5, ffl3, ffl4, bifan, scaffold."""
    return _core.motif_kinds()


def to_frame(rows):
    """A pandas DataFrame of a list of dicts (molecules, interactions, findings, ...)."""
    import pandas

    return pandas.DataFrame(list(rows))


def load(path, format="auto"):
    """Reads a network file (SIG, two-column, PSI-MI XML or TAB, table, SIF, SIGNOR, OmniPath,
    GraphML; "auto" picks from the name and content). What the reader could not use is in
    ``net.warnings``."""
    path = os.fspath(path)
    if not os.path.exists(path):
        raise FileNotFoundError(2, "No such file", path)
    return Network(_core.load(path, format))


def _pubmed_ids(value):
    if value is None:
        return []
    if isinstance(value, (list, tuple)):
        return [int(v) for v in value]
    text = str(value).strip()
    if text in ("", "NA"):
        return []
    return [int(v) for v in text.replace(";", ",").replace("|", ",").split(",") if v.strip()]


def _text(value, default="NA"):
    if value is None:
        return default
    try:
        if value != value:  # NaN from a DataFrame's empty cell
            return default
    except (TypeError, ValueError):
        pass
    text = str(value)
    return text if text else default


def _row_of(row):
    """One row as the core takes it: (source fields, target fields, effect, type, pubmed)."""
    if isinstance(row, dict):
        get = row.get
        if "source" not in row or "target" not in row:
            raise ValueError("a row needs 'source' and 'target': %r" % (row,))
        ends = []
        for end in ("source", "target"):
            fields = [_text(get(end), "")]
            fields += [_text(get(end + "_" + f)) for f in _END_FIELDS[1:]]
            ends.append(fields)
        return (ends[0], ends[1], _text(get("effect"), "+"), _text(get("type")),
                _pubmed_ids(get("pubmed")))
    row = tuple(row)
    if len(row) < 2 or len(row) > 5:
        raise ValueError("a row is (source, target[, effect[, type[, pubmed]]]): %r" % (row,))
    source, target = _text(row[0], ""), _text(row[1], "")
    effect = _text(row[2], "+") if len(row) > 2 else "+"
    kind = _text(row[3]) if len(row) > 3 else "NA"
    pubmed = _pubmed_ids(row[4]) if len(row) > 4 else []
    return ([source, "NA", "NA", "NA", "NA"], [target, "NA", "NA", "NA", "NA"], effect, kind,
            pubmed)


class Network:
    """A signalling network: molecules joined by directed interactions. Immutable; every
    analysis returns its result and leaves the network as it was."""

    def __init__(self, core):
        self._net = core

    # -- construction -------------------------------------------------------------------

    @classmethod
    def from_edges(cls, rows):
        """A network from rows, each a tuple (source, target[, effect[, type[, pubmed]]]) or
        a dict with those keys and optionally the molecule fields source_accession,
        source_extra_id, source_type, source_location and the same for target. Effect
        defaults to "+", missing fields to "NA"; pubmed is an id, a list of ids or a text
        of ids separated by commas. Repeated pairs merge as in a SIG file."""
        return cls(_core.from_rows([_row_of(r) for r in rows]))

    @classmethod
    def from_dataframe(cls, df, source="source", target="target", effect="effect", type="type",
                       pubmed="pubmed", **fields):
        """A network from a DataFrame: the columns named by source, target, effect, type and
        pubmed (effect, type and pubmed may be absent), and molecule fields given as
        keyword arguments, e.g. source_type="src_kind"; columns named like those keys
        (source_type, target_location, ...) are used when present."""
        columns = {"source": source, "target": target, "effect": effect, "type": type,
                   "pubmed": pubmed}
        for end in ("source", "target"):
            for f in _END_FIELDS[1:]:
                key = end + "_" + f
                columns[key] = fields.pop(key, key)
        if fields:
            raise TypeError("unknown fields: " + ", ".join(sorted(fields)))
        for key in ("source", "target"):
            if columns[key] not in df.columns:
                raise ValueError("no column %r in the DataFrame" % (columns[key],))
        present = {key: col for key, col in columns.items() if col in df.columns}
        rows = []
        for record in df[list(present.values())].itertuples(index=False, name=None):
            rows.append({key: value for key, value in zip(present, record)})
        return cls.from_edges(rows)

    # -- contents -----------------------------------------------------------------------

    def __len__(self):
        return len(self._net)

    def __repr__(self):
        where = " from %s" % self._net.file if self._net.file else ""
        return "<tessel.Network%s: %d molecules, %d interactions>" % (
            where, self._net.molecule_count, self._net.interaction_count)

    @property
    def file(self):
        """The file the network was read from; None when built from rows."""
        return self._net.file or None

    @property
    def molecules(self):
        """Molecules in id order (ids 1-based in order of creation): id, name, accession,
        extra_id, type, location and the link counters."""
        return self._net.molecules()

    @property
    def interactions(self):
        """Interactions in creation order: source, target, effect, type, pubmed (list) and
        the fields of both ends as their first row gave them."""
        return self._net.interactions()

    @property
    def warnings(self):
        """What the reader could not use: dicts of file, line, message, count and text."""
        return self._net.warnings()

    def to_frame(self, what="interactions"):
        """The molecules or the interactions as a pandas DataFrame."""
        if what not in ("molecules", "interactions"):
            raise ValueError("what is 'molecules' or 'interactions'")
        return to_frame(getattr(self, what))

    def to_networkx(self):
        """A networkx DiGraph (at most one interaction per ordered pair) with every molecule
        field on the nodes and every interaction field on the edges."""
        import networkx

        graph = networkx.DiGraph()
        for m in self.molecules:
            graph.add_node(m["name"], **{k: v for k, v in m.items() if k != "name"})
        for i in self.interactions:
            graph.add_edge(i["source"], i["target"],
                           **{k: v for k, v in i.items() if k not in ("source", "target")})
        return graph

    # -- analyses -----------------------------------------------------------------------

    def stats(self, progress=None):
        """The figures of ``tessel stats --json``: counts, clustering, grid, cpl, islands,
        tallies and the connectivity histograms."""
        return _core.stats(self._net, progress)

    def motifs(self, kinds=None, lists=True, threads=0, progress=None):
        """Motif counts per kind (default: all but fbl5): total, and positive and negative
        for loops; with lists, "motifs" holds each motif's molecule names and sign."""
        if isinstance(kinds, str):
            kinds = [kinds]
        return _core.motifs(self._net, None if kinds is None else list(kinds), lists, threads,
                            progress)

    def shuffle(self, kind="swap", count=100, seed=None, analyze=("clustering",), output=None,
                passes=10, one_island=False, island_tries=100, threads=0, progress=None,
                as_frame=False):
        """Random networks drawn from this one (kind "swap", "effects" or "er") compared
        with it. analyze: any of "clustering", "motifs34", "motifs5" (or "none"). Returns
        seed, "comparison" (per column: network value, mean, sd, z of the random ones) and
        "random" (one row of figures per random network); files and the analysis page are
        written only when output (a folder) is given."""
        if isinstance(analyze, str):
            analyze = [analyze]
        analyze = list(analyze) if analyze else ["none"]
        if output is None:
            with tempfile.TemporaryDirectory(prefix="tessel-shuffle-") as folder:
                result = _core.shuffle(self._net, kind, count, seed, analyze, folder, passes,
                                       one_island, island_tries, threads, progress)
            for key in ("folder", "page", "files"):
                del result[key]
        else:
            os.makedirs(output, exist_ok=True)
            result = _core.shuffle(self._net, kind, count, seed, analyze, os.fspath(output),
                                   passes, one_island, island_tries, threads, progress)
        if as_frame:
            result["comparison"] = to_frame(result["comparison"]).set_index("column")
            result["random"] = to_frame(result["random"])
        return result

    def pathways(self, sources, targets, max_steps=9, max_size=70, direct_only=False,
                 output=None, routes=50, threads=0, progress=None):
        """Pathway maps from every source to every target. A source or target is a molecule
        name or a condition "Type=Ligand", "Location=Nucleus", "Name=EGF" (one or a list).
        Each map gives source, target, steps, its interactions, positive_paths and
        negative_paths, and (routes > 0) up to that many shortest routes. Pages are written
        only when output (a folder) is given."""
        if isinstance(sources, str):
            sources = [sources]
        if isinstance(targets, str):
            targets = [targets]
        if output is not None:
            output = os.fspath(output)
            os.makedirs(output, exist_ok=True)
        return _core.pathways(self._net, list(sources), list(targets), max_steps, max_size,
                              direct_only, output, routes, threads, progress)

    def validate(self, as_frame=False):
        """The validation findings: kind, message, molecules, interactions (source, target),
        lines and pubmed_ids, in the order of the validation page."""
        findings = _core.validate(self._net)
        return to_frame(findings) if as_frame else findings

    def save(self, path):
        """Writes the network as a SIG file (one row per interaction and PubMed id)."""
        _core.save(self._net, os.fspath(path))
