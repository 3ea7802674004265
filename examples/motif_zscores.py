"""Motif z-scores of a signalling network against degree-preserving random networks.

    /usr/bin/python3 examples/motif_zscores.py [NETWORK] OUT.png [--count 100] [--seed 1]

Loads the network (default: examples/omnipath_signed.sig), draws random networks that keep
every molecule's in- and out-degree (swapped targets), counts the motifs of size 3 and 4 in
each, and plots how far the network's counts lie from the random ones in standard
deviations. Run it cell by cell in a notebook, or as a script.
"""

# %% Settings
import argparse
import os

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

import tessel  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
parser.add_argument("paths", nargs="+", metavar="[NETWORK] OUT.png")
parser.add_argument("--count", type=int, default=100, help="random networks (default: 100)")
parser.add_argument("--seed", type=int, default=1, help="random seed (default: 1)")
args = parser.parse_args()
if len(args.paths) > 2:
    parser.error("give at most a network and the PNG to write")
network_file = args.paths[0] if len(args.paths) == 2 else os.path.join(HERE, "omnipath_signed.sig")
png = args.paths[-1]

# %% Load the network
net = tessel.load(network_file)
print(net)
for warning in net.warnings:
    print("warning:", warning["text"])

# %% Compare its motif counts with random networks
def show(done, total, text):
    print("\r%-50s" % text, end="", flush=True)


result = net.shuffle(kind="swap", count=args.count, seed=args.seed, analyze=["motifs34"],
                     progress=show)
print()
motif_columns = ["FBL3", "FBL4", "PFBL3", "PFBL4", "NFBL3", "NFBL4", "Scaffolds", "Bifans",
                 "FFL3", "FFL4", "PFFL3", "PFFL4", "NFFL3", "NFFL4"]
rows = {row["column"]: row for row in result["comparison"]}
table = [rows[c] for c in motif_columns if c in rows]
for row in table:
    z = "-" if row["z"] is None else "%.2f" % row["z"]
    print("%-10s network %6d  random %9.1f +- %7.1f  z %s" % (
        row["column"], row["network"], row["mean"], row["sd"] or 0, z))

# %% Plot the z-scores (a kind whose random counts never vary has no z-score: marked
# "no z")
names = [row["column"] for row in table]
scores = [row["z"] if row["z"] is not None else 0.0 for row in table]
colours = ["#c0392b" if z > 0 else "#2471a3" for z in scores]
fig, ax = plt.subplots(figsize=(9, 4.8))
bars = ax.bar(names, scores, color=colours)
for bar, row in zip(bars, table):
    if row["z"] is None:
        ax.annotate("no z", (bar.get_x() + bar.get_width() / 2, 0), xytext=(0, 3),
                    textcoords="offset points", ha="center", fontsize=8, color="grey")
ax.axhline(0, color="black", linewidth=0.8)
ax.set_xlabel("motif kind")
ax.set_ylabel("z-score (network against random)")
ax.set_title("%s: motifs against %d swapped networks (seed %d)" % (
    os.path.basename(network_file), args.count, result["seed"]))
plt.setp(ax.get_xticklabels(), rotation=45, ha="right")
fig.tight_layout()
fig.savefig(png, dpi=120)
print("wrote", png)
