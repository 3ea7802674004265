#!/usr/bin/python3
"""Times NetworkX's bounded directed-cycle search on a SIG file, for comparison with the
feedback-loop search of motifs_bench (BM_MotifKind kinds fbl3, fbl4 and fbl5).

    /usr/bin/python3 bench/networkx_cycles.py FILE.sig [--bound 5] [--repeat 3]

The graph holds the signed links only (effect other than "0"), one per ordered pair of
molecules (the first row of a pair wins, as when the network is loaded), without
self-interactions. It prints the best time of `simple_cycles(G, length_bound=BOUND)` and,
per length, the number of directed cycles and of distinct molecule sets (the figure the
motif search reports). Needs NetworkX 3.1 or later for `length_bound`.
"""

import argparse
import collections
import sys
import time

import networkx as nx


def read_signed_graph(path):
    graph = nx.DiGraph()
    seen = set()
    with open(path, encoding="utf-8", errors="replace") as sig:
        for number, line in enumerate(sig, 1):
            fields = line.split()
            if not fields:
                continue
            if len(fields) != 13:
                sys.exit(f"{path}:{number}: expected 13 columns, found {len(fields)}")
            source, target, effect = fields[0], fields[5], fields[10]
            if source == "na" or target == "na":
                break
            if (source, target) in seen:
                continue
            seen.add((source, target))
            graph.add_node(source)
            graph.add_node(target)
            if effect != "0" and source != target:
                graph.add_edge(source, target)
    return graph


def count_cycles(graph, bound):
    """Cycles and distinct molecule sets per length; the sets are counted afterwards, so
    that the time is that of the search itself."""
    cycles = collections.Counter()
    sets = collections.defaultdict(set)
    start = time.perf_counter()
    found = list(nx.simple_cycles(graph, length_bound=bound))
    elapsed = time.perf_counter() - start
    for cycle in found:
        cycles[len(cycle)] += 1
        sets[len(cycle)].add(frozenset(cycle))
    return elapsed, cycles, {length: len(s) for length, s in sets.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("sig", help="SIG file (13 columns)")
    parser.add_argument("--bound", type=int, default=5, help="longest cycle (default 5)")
    parser.add_argument("--repeat", type=int, default=3, help="timed runs (default 3)")
    args = parser.parse_args()

    try:
        nx.simple_cycles(nx.DiGraph(), length_bound=1)
    except TypeError:
        sys.exit(
            f"NetworkX {nx.__version__} has no bounded simple_cycles (length_bound came "
            "with 3.1); run this script with an interpreter that has a newer NetworkX"
        )

    start = time.perf_counter()
    graph = read_signed_graph(args.sig)
    read = time.perf_counter() - start
    print(f"NetworkX {nx.__version__}, Python {sys.version.split()[0]}")
    print(
        f"{args.sig}: {graph.number_of_nodes()} molecules, {graph.number_of_edges()} signed "
        f"links (read in {read:.2f} s)"
    )

    times = []
    for _ in range(max(1, args.repeat)):
        elapsed, cycles, sets = count_cycles(graph, args.bound)
        times.append(elapsed)
    print(f"simple_cycles(G, length_bound={args.bound}): best {min(times):.2f} s, "
          f"times {', '.join(f'{t:.2f}' for t in times)} s")
    for length in sorted(cycles):
        print(f"  length {length}: {cycles[length]} cycles, {sets[length]} molecule sets")


if __name__ == "__main__":
    main()
