#!/usr/bin/python3
"""Turns results of objectpath-benchmark into tables and pictures.

    report.py [--publish] DIRECTORY RESULTS.json...
    report.py --compare BEFORE.json... -- AFTER.json...

Writes results.md, ratios.svg, real-paths.svg and growth.svg to DIRECTORY, which may hold instructions.txt, made by
count-instructions. With --publish, also puts tables and pictures into README.md, SECURITY.md and docs/. With --compare,
prints what changed between two libraries.
Every figure is the best of all repetitions, and a ratio is one of two such figures.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

import matplotlib

matplotlib.use("svg")
# Text stays text, and the same figures give the same file.
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "objectpath", "font.size": 9,
                            "axes.spines.top": False, "axes.spines.right": False, "axes.grid": True,
                            "grid.color": "#d8dee4", "axes.axisbelow": True, "legend.frameon": False})
from matplotlib import pyplot  # noqa: E402
from matplotlib.ticker import FuncFormatter  # noqa: E402

PEERS = {
    "ours": "ours",
    "by_hand": "hand-written",
    "by_hand_flat": "hand-written, flat map",
    "flyweight": "flyweight",
    "string": "string",
}
RATIOS = ["by_hand", "string"]
MARKS = {"ours": ("#0550ae", "D"), "by_hand": ("#bc4c00", "o"), "flyweight": ("#6e7781", "^"),
         "string": ("#1a7f37", "s")}
STEPS = {
    "first_load": "parse all, on new memory",
    "faults": "page faults on new memory",
    "stream": "parse and drop",
    "stream_kept": "parse, keep the last",
    "load": "parse all",
    "bytes": "memory (bytes)",
    "again": "parse again, in order",
    "shuffled": "parse again, shuffled",
    "copy": "copy",
    "insert": "insert into hash set",
    "look_up": "look up in hash set",
    "sort": "sort",
    "match": "match 3 patterns",
    "print": "print",
    "release": "release",
}
REAL_PATHS = "files_attributes"
SPEED_UP = "speed-up with two threads"
NOT_CHARTED = re.compile(r"^(files|kept|among|threads|pauses)")


def figures(benchmark):
    """The work, the peer and the figures of one repetition by measure; lower is better."""
    work, peer, *details = benchmark["name"].split("/")
    if "load" in benchmark:
        suffix = ", 2 threads" if work.endswith("_2_threads") else ""
        return work.removesuffix("_2_threads"), peer, {step + suffix: benchmark[step] for step in STEPS
                                                       if step in benchmark}
    if work == "pauses":
        return work, peer, {entries: benchmark[entries] for entries in benchmark if entries.isdigit()}
    if work == "floor":
        return work, peer, {"ns": 1e9 / benchmark["items_per_second"]}
    if "threads:2" in details:
        return work, peer, {"ns, 2 threads": 1e9 / benchmark["items_per_second"]}
    return work, peer, {"ns": benchmark["cpu_time"]}


def benchmarks_of(runs):
    return [dict(benchmark, family_index=(number, benchmark["family_index"]))
            for number, run in enumerate(runs) for benchmark in run["benchmarks"]]


def best_figures(benchmarks):
    """The best figure of every peer, by work and measure, in the order of registration, which interleaving shuffles."""
    table = {}
    for benchmark in sorted(benchmarks, key=lambda each: (each["family_index"], each["per_family_instance_index"])):
        if benchmark["run_type"] == "iteration":
            work, peer, measured = figures(benchmark)
            for measure, figure in measured.items():
                row = table.setdefault((work, measure), {})
                row[peer] = min(figure, row.get(peer, figure))
    order = list(dict.fromkeys(work for work, _ in table))
    return dict(sorted(table.items(), key=lambda row: order.index(row[0][0])))


def floors(benchmarks, steps):
    """The sum of steps, such as "2 hash + 4 atomic", that each piece of work is labelled with."""
    labels = {figures(each)[0]: each["label"] for each in benchmarks if each.get("label")}
    terms = {work: [term.split() for term in label.split(" + ")] for work, label in labels.items()}
    return {work: sum(float(count) * steps[step] for count, step in sum_) for work, sum_ in terms.items()}


def with_speed_up(table):
    """Adds how many times as much two threads do as one."""
    rows = {}
    for (work, measure), row in table.items():
        rows[work, measure] = row
        one = table.get((work, "ns"))
        if one and measure == "ns, 2 threads":
            rows[work, SPEED_UP] = {peer: one[peer] / row[peer] for peer in row if peer in one}
    return rows


def ratio(row, peer):
    return row["ours"] / row[peer] if "ours" in row and row.get(peer) else None


def cell(figure):
    if figure is None or isinstance(figure, str):
        return figure or ""
    if figure < 0.1:
        return f"{figure:.3f}"
    return f"{figure:.2f}" if figure < 10 else f"{figure:,.0f}"


def markdown(head, rows):
    """A table. The columns whose first cell is a string are aligned left."""
    rows = list(rows)
    aligns = ["---" if isinstance(first, str) else "---:" for first in rows[0]] if rows else ["---"] * len(head)
    return "".join("| " + " | ".join(map(cell, line)) + " |\n" for line in [head, aligns, *rows])


def step_name(measure):
    step, comma, rest = measure.partition(",")
    return STEPS.get(step, step) + comma + rest


def main_table(table):
    head = ["work", "measure", *PEERS.values(), *(f"ours : {PEERS[peer]}" for peer in RATIOS)]
    return markdown(head, ([work, step_name(measure), *map(row.get, PEERS),
                            *(None if measure == SPEED_UP else ratio(row, peer) for peer in RATIOS)]
                           for (work, measure), row in table.items() if work not in ("floor", "pauses")))


def floor_table(table, benchmarks):
    steps = table.get(("floor", "ns"), {})
    rows = [[work, floor, table[work, "ns"]["ours"], table[work, "ns"]["ours"] / floor]
            for work, floor in floors(benchmarks, steps).items() if (work, "ns") in table] if steps else []
    return [markdown(["ns", "floor", "ours", "ours : floor"], rows), markdown(["step of a floor", "ns"], steps.items())]


def real_path_table(table):
    return markdown(["ns per path", *PEERS.values()], ([name, *map(table[REAL_PATHS, step].get, PEERS)]
                    for step, name in STEPS.items() if (REAL_PATHS, step) in table))


def pauses(table):
    """A sentence on the smallest and the largest table that was measured."""
    rows = [(int(entries), row["ours"]) for (work, entries), row in table.items() if work == "pauses"]
    (few, short), (many, long) = rows[0], rows[-1]
    return f"On one computer, that took {short:.2f} seconds for {few:,} entries and {long:.2f} seconds for {many:,}.\n"


def instruction_table(path):
    rows = ([work, *map(float, counts)] for work, *counts in map(str.split, path.read_text().splitlines()))
    return markdown(["instructions, under callgrind", "ours", "hand-written"], rows)


def provenance(context):
    """Where the results come from: compiler, flags, commit, processor, date."""
    commit = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    processor = next((line.split(":")[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                      if line.startswith("model name")), "unknown")
    return "".join(f"- {name}: {text}\n" for name, text in {
        "compiler": context["compiler"],
        "flags": " ".join(flag for flag in context["flags"].split() if not flag.startswith("-W")),
        "commit": commit.stdout.strip() or "unknown",
        "processor": f"{processor}, {context['num_cpus']} × {context['mhz_per_cpu']} MHz",
        "date": context["date"][:10],
    }.items())


def ratio_picture(title, rows):
    """A line for each row, with a mark for each peer: to the left of 1 where ours is faster or smaller."""
    figure, axes = pyplot.subplots(figsize=(7, 1.2 + 0.21 * len(rows)), layout="constrained")
    for peer in ["flyweight", "string", "by_hand"]:
        color, mark = MARKS[peer]
        points = [(ratio(row, peer), index) for index, (_, row) in enumerate(rows) if ratio(row, peer)]
        if points:
            axes.plot(*zip(*points), mark, color=color, markersize=5, label=f"relative to {PEERS[peer]}")
    axes.axvline(1, color="#1f2328", linewidth=1)
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))
    axes.set_yticks(range(len(rows)), [label for label, _ in rows])
    axes.set_ylim(len(rows) - 0.4, -0.6)
    axes.set_xlabel("cost of ours : cost of the peer (left of 1: ours costs less)")
    axes.legend(loc="lower right", bbox_to_anchor=(1, 1), ncols=3)
    figure.suptitle(title, weight="bold")
    return figure


def growth_picture(table):
    """What a path costs by the number of living paths."""
    figure, panels = pyplot.subplots(1, 2, figsize=(7, 3.4), sharex=True, sharey=True, layout="constrained")
    titles = {"load": "parse new paths, in order", "shuffled": "parse them again, shuffled"}
    for axes, (step, title) in zip(panels, titles.items()):
        for peer, (color, mark) in MARKS.items():
            points = [(int(work.removeprefix("among_")), row[peer]) for (work, measure), row in table.items()
                      if work.startswith("among_") and measure == step and peer in row]
            if points:
                axes.plot(*zip(*points), mark + "-", color=color, markersize=4, label=PEERS[peer])
        axes.set(title=title, xscale="log", yscale="log", xlabel="living paths")
        axes.set_xticks([10**power for power in range(3, 7)], ["1,000", "10,000", "100,000", "1 million"])
        ticks = [20, 50, 100, 200, 500, 1000, 2000, 5000]
        axes.set_yticks(ticks, [f"{tick:,}" for tick in ticks])
        axes.tick_params(which="minor", left=False)
    panels[0].set_ylabel("nanoseconds")
    panels[0].legend()
    figure.suptitle("Cost of a path by the number of living paths", weight="bold")
    return figure


def pictures(table):
    real = [(STEPS[measure], row) for (work, measure), row in table.items()
            if work == REAL_PATHS and measure in STEPS and measure != "faults" and ratio(row, "by_hand")]
    rest = [(work, row) for (work, _), row in table.items() if not NOT_CHARTED.match(work) and ratio(row, "by_hand")]
    if real:
        yield "real-paths.svg", ratio_picture("Cost of real paths", real)
    if rest:
        yield "ratios.svg", ratio_picture("Cost of one operation", rest)
    if ("among_1000", "load") in table:
        yield "growth.svg", growth_picture(table)


def publish(path, text):
    """Replaces the text between the markers of a page, and indents it as these are."""
    start, end = "<!-- Written by scripts/benchmark -->\n", "<!-- End -->\n"
    before, _, rest = path.read_text().partition(start)
    old, found, after = rest.partition(end)
    if not found:
        sys.exit(f"{path} has no markers")
    indent = old.rpartition("\n")[2]
    path.write_text(f"{before}{start}{indent}{text}{indent}{end}{after}")


def read(names):
    return [json.loads(Path(name).read_text()) for name in names]


def compare(names):
    middle = names.index("--")
    before, after = (best_figures(benchmarks_of(read(part))) for part in (names[:middle], names[middle + 1:]))
    print(markdown(["work", "measure", "before", "after", "after : before"],
                   ([work, step_name(measure), row["ours"], after[work, measure]["ours"],
                     after[work, measure]["ours"] / row["ours"]]
                    for (work, measure), row in before.items() if "ours" in row and (work, measure) in after)))


def main():
    if sys.argv[1] == "--compare":
        compare(sys.argv[2:])
        return
    publishes = sys.argv[1] == "--publish"
    directory, *names = sys.argv[1 + publishes:]
    directory = Path(directory)
    runs = read(names)
    benchmarks = benchmarks_of(runs)
    table = with_speed_up(best_figures(benchmarks))

    sections = [provenance(runs[0]["context"]), main_table(table), *floor_table(table, benchmarks)]
    if (directory / "instructions.txt").exists():
        sections.append(instruction_table(directory / "instructions.txt"))
    results = "\n".join(sections)
    (directory / "results.md").write_text(results)
    for name, picture in pictures(table):
        for folder in [directory, Path("docs")][:1 + publishes]:
            picture.savefig(folder / name, metadata={"Date": None, "Creator": None})
    if publishes:
        publish(Path("docs/performance.md"), f"\n{results}\n")
        publish(Path("README.md"), f"\n{real_path_table(table)}\n")
        publish(Path("SECURITY.md"), pauses(table))


if __name__ == "__main__":
    main()
