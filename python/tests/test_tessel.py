"""The Python module against the command line: the same core must give the same figures."""

import json
import os
import subprocess

import pytest

import tessel

SOURCE = os.environ.get("TESSEL_SOURCE_DIR",
                        os.path.join(os.path.dirname(__file__), "..", ".."))
BINARY = os.environ.get("TESSEL_BINARY", "tessel")
LBC = os.path.join(SOURCE, "examples", "signor_lbc.sig")
EGF = os.path.join(SOURCE, "tests", "data", "formats", "egf.sig")
NETWORKS = [LBC, EGF, os.path.join(SOURCE, "tests", "data", "networks", "signor_il1r.sig")]


def cli(tmp_path, *args):
    out = subprocess.run([BINARY, *args, "--json", "-q", "-o", str(tmp_path)], check=True,
                         capture_output=True, text=True).stdout
    return json.loads(out)


@pytest.fixture(scope="module")
def lbc():
    return tessel.load(LBC)


@pytest.mark.parametrize("path", NETWORKS)
def test_figures_equal_the_command_line(path, tmp_path):
    net = tessel.load(path)
    stats = cli(tmp_path, "stats", path)
    del stats["page"]
    _same(net.stats(), stats)

    motifs = cli(tmp_path, "motifs", "--no-drawings", path)
    found = net.motifs(lists=True)
    for kind, counts in found.items():
        listed = counts.pop("motifs")
        assert len(listed) == counts["total"]
        assert counts == motifs[kind]
        for m in listed:
            assert len(set(m["molecules"])) == len(m["molecules"])

    findings = cli(tmp_path, "validate", path)["findings"]
    mine = net.validate()
    assert len(mine) == len(findings)
    for a, b in zip(mine, findings):
        assert a["kind"] == b["kind"] and a["message"] == b["message"]
        assert [list(i) for i in a["interactions"]] == b["interactions"]
        assert a["lines"] == b["lines"] and a["pubmed_ids"] == b["pubmed_ids"]


def _same(a, b):
    assert a.keys() == b.keys()
    for key in a:
        if isinstance(a[key], float):
            assert a[key] == pytest.approx(b[key], rel=1e-12), key
        else:
            assert a[key] == b[key], key


def test_pathways_and_shuffle_equal_the_command_line(lbc, tmp_path):
    expected = cli(tmp_path, "pathways", "--source", "Type=Receptor", "--target", "Type=TF", LBC)
    got = lbc.pathways("Type=Receptor", "Type=TF")
    assert [(m["source"], m["target"], m["steps"], len(m["interactions"]), m["positive_paths"],
             m["negative_paths"]) for m in got["maps"]] == \
        [(m["source"], m["target"], m["steps"], m["interactions"], m["positive_paths"],
          m["negative_paths"]) for m in expected["maps"]]
    assert got["maps"] and all(r["molecules"][0] == m["source"] and
                               r["molecules"][-1] == m["target"]
                               for m in got["maps"] for r in m["routes"])

    expected = cli(tmp_path, "shuffle", "--count", "5", "--seed", "11", "--analyze",
                   "clustering,motifs34", LBC)
    got = lbc.shuffle(count=5, seed=11, analyze=["clustering", "motifs34"])
    assert got["seed"] == 11 and len(got["random"]) == 5 and "files" not in got
    for row in got["comparison"]:
        want = expected["columns"][row["column"]]
        for key in ("network", "mean", "sd", "z"):
            assert row[key] == (None if want[key] is None else pytest.approx(want[key])), key


def test_outputs_are_written_only_when_asked(lbc, tmp_path):
    result = lbc.shuffle(count=2, seed=1, analyze="none", output=tmp_path / "s")
    assert len(result["files"]) == 2 and all(os.path.exists(f) for f in result["files"])
    maps = lbc.pathways("Type=Receptor", "Type=TF", output=tmp_path / "p", routes=0)
    assert os.path.exists(maps["form"]) and "routes" not in maps["maps"][0]
    lbc.save(tmp_path / "copy.sig")
    assert tessel.load(tmp_path / "copy.sig").interactions == lbc.interactions


def test_built_networks_equal_the_file(lbc):
    again = tessel.Network.from_edges(lbc.interactions)
    assert again.molecules == lbc.molecules and again.interactions == lbc.interactions

    pandas = pytest.importorskip("pandas")
    df = lbc.to_frame().rename(columns={"source": "from", "target": "to"})
    again = tessel.Network.from_dataframe(df, source="from", target="to")
    assert again.molecules == lbc.molecules and again.interactions == lbc.interactions
    assert isinstance(lbc.validate(as_frame=True), pandas.DataFrame)

    small = tessel.Network.from_edges([("A", "B"), ("B", "C", "_", "binding", 123),
                                      ("A", "B", "+", "NA", "7, 8")])
    assert len(small) == 3
    assert [i["pubmed"] for i in small.interactions] == [[0, 7, 8], [123]]


def test_to_networkx(lbc):
    pytest.importorskip("networkx")
    graph = lbc.to_networkx()
    assert graph.number_of_nodes() == len(lbc)
    assert graph.number_of_edges() == len(lbc.interactions)
    i = lbc.interactions[0]
    assert graph.edges[i["source"], i["target"]]["effect"] == i["effect"]


def test_progress_and_cancelling(lbc):
    calls = []
    lbc.stats(progress=lambda done, total, text: calls.append((done, total, text)))
    assert calls and all(done <= total for done, total, _ in calls)

    def stop(done, total, text):
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        lbc.shuffle(count=50, seed=3, progress=stop)

    class Mine(Exception):
        pass

    def fail(*args):
        raise Mine()

    with pytest.raises(Mine):
        lbc.motifs(progress=fail)


def test_errors_map_to_python_exceptions(lbc, tmp_path):
    bad = tmp_path / "bad.sig"
    bad.write_text("A NA NA NA NA B NA NA NA NA + NA 1\nA NA NA NA NA B\n")
    with pytest.raises(ValueError, match="bad.sig:2"):
        tessel.load(bad)
    with pytest.raises(FileNotFoundError):
        tessel.load(tmp_path / "missing.sig")
    with pytest.raises(ValueError, match="format"):
        tessel.load(LBC, format="nonsense")
    with pytest.raises(ValueError, match="did you mean"):
        lbc.pathways("Type=ligand", "Type=TF")
    with pytest.raises(ValueError):
        lbc.motifs(kinds=["fbl9"])
    with pytest.raises(ValueError):
        lbc.shuffle(kind="other")
    (tmp_path / "file").write_text("")
    with pytest.raises(OSError):
        lbc.save(tmp_path / "file" / "x.sig")
