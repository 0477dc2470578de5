"""Pictures of the results of objectpath-benchmark. Their ground is white, since no text is legible enough on both a
light and a dark page."""

import matplotlib

matplotlib.use("svg")

TEXT = "#57606a"
# Text stays text, and the same figures give the same file.
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "objectpath", "font.size": 10,
                            "axes.facecolor": "none", "text.color": TEXT, "axes.labelcolor": TEXT,
                            "axes.edgecolor": TEXT, "xtick.color": TEXT, "ytick.color": TEXT,
                            "axes.spines.top": False, "axes.spines.right": False, "axes.grid": True,
                            "grid.color": TEXT, "grid.alpha": 0.25, "axes.axisbelow": True, "legend.frameon": False})
from matplotlib import pyplot  # noqa: E402
from matplotlib.ticker import FuncFormatter  # noqa: E402

MARKS = {"ours": ("#2f81f7", "D"), "by_hand": ("#d2691e", "o"), "flyweight": ("#8b949e", "^"),
         "string": ("#2da44e", "s")}
CHEAPER, DEARER = 0.9, 1.1  # ratios between these are about the same


def save(figure, path):
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    pyplot.close(figure)


def sections(rows):
    """The rows by what they cost relative to the hand-written peer, with a heading for each part that is not empty."""
    ratios = [(row["ours"] / row["by_hand"], title, row) for title, row in rows]
    parts = {
        "cheaper than hand-written": [each for each in ratios if each[0] < CHEAPER],
        "about the same": [each for each in ratios if CHEAPER <= each[0] <= DEARER],
        "dearer than hand-written": [each for each in ratios if each[0] > DEARER],
    }
    return {heading: sorted(part, key=lambda each: each[0]) for heading, part in parts.items() if part}


def costs(rows, names):
    """Three bars for each row, as long as its figures; each row has a scale of its own."""
    peers = ["ours", "by_hand", "string"]
    parts = sections(rows)
    height = sum(0.9 + 1.35 * len(part) for part in parts.values())
    figure, axes = pyplot.subplots(figsize=(5.4, 0.6 + 0.4 * height), layout="constrained")
    place = 0.0
    ticks = []
    for heading, part in parts.items():
        axes.text(-0.03, place + 0.35, heading, weight="bold", ha="right", va="center")
        place += 0.9
        for factor, title, row in part:
            longest = max(row[peer] for peer in peers)
            for index, peer in enumerate(peers):
                y = place + 0.33 * index
                axes.barh(y, row[peer] / longest, 0.3, color=MARKS[peer][0], label=names[peer] if not ticks else None)
                axes.text(row[peer] / longest + 0.015, y, f"{row[peer]:,.0f} ns", va="center", size=8)
            sign = f"÷ {1 / factor:.2g}" if factor < 1 else f"× {factor:.2g}"
            ticks.append((place + 0.33, title if CHEAPER <= factor <= DEARER else f"{title} ({sign})"))
            place += 1.35
    axes.set_yticks(*zip(*ticks))
    axes.set(xlim=(0, 1.16), ylim=(place, -0.2), xticks=[])
    axes.grid(False)
    axes.spines[["left", "bottom"]].set_visible(False)
    axes.tick_params(left=False)
    axes.legend(loc="lower right", bbox_to_anchor=(1, 1), ncols=len(peers), columnspacing=1, handletextpad=0.4)
    return figure


def ratios(title, rows, names):
    """A line for each row, with a mark for each peer: to the left of 1 where ours is faster or smaller."""
    figure, axes = pyplot.subplots(figsize=(7, 1.2 + 0.22 * len(rows)), layout="constrained")
    for peer in ["flyweight", "string", "by_hand"]:
        color, mark = MARKS[peer]
        points = [(row["ours"] / row[peer], index) for index, (_, row) in enumerate(rows)
                  if "ours" in row and row.get(peer)]
        if points:
            axes.plot(*zip(*points), mark, color=color, markersize=5, label=f"relative to {names[peer]}")
    axes.axvline(1, color=TEXT, linewidth=1)
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))
    axes.set_yticks(range(len(rows)), [label for label, _ in rows])
    axes.set_ylim(len(rows) - 0.4, -0.6)
    axes.set_xlabel("cost of ours : cost of the peer (left of 1: ours costs less)")
    axes.legend(loc="lower right", bbox_to_anchor=(1, 1), ncols=3)
    figure.suptitle(title, weight="bold")
    return figure


def threads(rows, names):
    """A bar for each row with what two threads get done, relative to one thread, and a mark for each peer."""
    figure, axes = pyplot.subplots(figsize=(5.4, 1.1 + 0.34 * len(rows)), layout="constrained")
    places = range(len(rows))
    axes.barh(places, [row["ours"] for _, row in rows], 0.55, color=MARKS["ours"][0], label=names["ours"])
    for peer in ["by_hand", "flyweight", "string"]:
        color, mark = MARKS[peer]
        points = [(row[peer], index) for index, (_, row) in enumerate(rows) if peer in row]
        if points:
            axes.plot(*zip(*points), mark, color=color, markersize=5, label=names[peer])
    axes.axvline(1, color=TEXT, linewidth=1)
    axes.axvline(2, color=TEXT, linewidth=1, linestyle=":")
    axes.set_yticks(places, [title for title, _ in rows])
    axes.set(xlim=(0, 2.4), ylim=(len(rows) - 0.4, -0.6), xlabel="times as much as one thread does")
    axes.grid(False, axis="y")
    axes.legend(loc="lower right", bbox_to_anchor=(1, 1), ncols=4, columnspacing=1, handletextpad=0.4)
    return figure


def growth(panels, names):
    """What a path costs by the number of living paths. A panel has a title, and points of each peer."""
    figure, all_axes = pyplot.subplots(1, len(panels), figsize=(7, 3.4), sharex=True, sharey=True, layout="constrained")
    for axes, (title, points_of) in zip(all_axes, panels.items()):
        for peer, points in points_of.items():
            color, mark = MARKS[peer]
            axes.plot(*zip(*points), mark + "-", color=color, markersize=4, label=names[peer])
        axes.set(title=title, xscale="log", yscale="log", xlabel="living paths")
        axes.set_xticks([10**power for power in range(3, 7)], ["1,000", "10,000", "100,000", "1 million"])
        ticks = [20, 50, 100, 200, 500, 1000, 2000, 5000]
        axes.set_yticks(ticks, [f"{tick:,}" for tick in ticks])
        axes.tick_params(which="minor", left=False)
    all_axes[0].set_ylabel("nanoseconds")
    all_axes[0].legend()
    figure.suptitle("Cost of a path by the number of living paths", weight="bold")
    return figure
