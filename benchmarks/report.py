#!/usr/bin/env python3
"""Turns results of objectpath-benchmark into tables and pictures.

    report.py [--publish] DIRECTORY RESULTS.json...

Writes results.md, ratios.svg and real-paths.svg to DIRECTORY, which may hold instructions.txt, made by
count-instructions. With --publish, also puts tables and pictures into README.md and docs/.
Every figure is the best of all repetitions, and a ratio is one of two such figures.
"""

import json
import math
import re
import subprocess
import sys
from pathlib import Path

PEERS = {
    "ours": "ours",
    "by_hand": "by hand",
    "by_hand_flat": "by hand, flat map",
    "flyweight": "flyweight",
}
RATIOS = ["floor", "by_hand", "flyweight"]
STEPS = {
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
SCALING = "two threads : one"
NOT_CHARTED = re.compile(r"^(files|threads)|two threads|, 2 threads")


def figures(benchmark):
    """The work, the peer and the figures of one repetition by measure; less is better."""
    work, peer, *details = benchmark["name"].split("/")
    if "load" in benchmark:
        suffix = ", 2 threads" if work.endswith("_2_threads") else ""
        return work.removesuffix("_2_threads"), peer, {step + suffix: benchmark[step] for step in STEPS
                                                       if step in benchmark}
    if work == "floor":
        return work, peer, {"ns": 1e9 / benchmark["items_per_second"]}
    if "threads:2" in details:
        return work, peer, {"ns, 2 threads": 1e9 / benchmark["items_per_second"]}
    return work, peer, {"ns": benchmark["cpu_time"]}


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


def add_floors(table, benchmarks):
    """Adds up the floor of each row, "2 hash + 4 atomic", or of each of its steps, "load: 2 hash; copy: 2 atomic"."""
    steps = table.pop(("floor", "ns"), {})
    for label, work in {(each["label"], figures(each)[0]) for each in benchmarks if each.get("label")}:
        for part in label.split("; "):
            measure, _, terms = part.rpartition(": ")
            counts = (term.split() for term in terms.split(" + "))
            row = table.get((work, measure or "ns"))
            if row and steps:
                row["floor"] = sum(float(count) * steps[step] for count, step in counts)
    return steps


def with_scaling(table):
    """Adds how many times as much two threads do as one."""
    rows = {}
    for (work, measure), row in table.items():
        rows[work, measure] = row
        one = table.get((work, "ns"))
        if one and measure == "ns, 2 threads":
            rows[work, SCALING] = {peer: one[peer] / row[peer] for peer in row if peer in one}
    return rows


def ratio(row, peer):
    return row["ours"] / row[peer] if "ours" in row and row.get(peer) else None


def cell(figure):
    if figure is None:
        return ""
    if figure < 0.1:
        return f"{figure:.3f}"
    return f"{figure:.2f}" if figure < 10 else f"{figure:,.0f}"


def markdown(head, rows, texts):
    """A table whose first `texts` columns are texts and whose other columns are figures."""
    lines = [head, ["---"] * texts + ["---:"] * (len(head) - texts)]
    lines += [row[:texts] + [cell(figure) for figure in row[texts:]] for row in rows]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)


def step_name(measure):
    step, comma, rest = measure.partition(",")
    return STEPS.get(step, step) + comma + rest


def main_table(table):
    head = ["work", "measure", "floor", *PEERS.values(), *(f"ours : {PEERS.get(peer, peer)}" for peer in RATIOS)]
    rows = [[work, step_name(measure), *map(row.get, ["floor", *PEERS]),
             *(None if measure == SCALING else ratio(row, peer) for peer in RATIOS)]
            for (work, measure), row in table.items()]
    return markdown(head, rows, 2)


def real_path_table(table):
    rows = [[name, *map(table[REAL_PATHS, step].get, PEERS)] for step, name in STEPS.items()
            if (REAL_PATHS, step) in table]
    return markdown(["ns per path", *PEERS.values()], rows, 1)


def instruction_table(path):
    rows = [[work, *map(float, counts)] for work, *counts in map(str.split, path.read_text().splitlines())]
    return markdown(["instructions, under callgrind", "ours", "by hand"], rows, 1)


def provenance(context):
    """Where the results come from: compiler, flags, commit, processor, date."""
    commit = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    processor = next((line.split(":")[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                      if line.startswith("model name")), "unknown")
    return {
        "compiler": context["compiler"],
        "flags": " ".join(flag for flag in context["flags"].split() if not flag.startswith("-W")),
        "commit": commit.stdout.strip() or "unknown",
        "processor": f"{processor}, {context['num_cpus']} × {context['mhz_per_cpu']} MHz",
        "date": context["date"][:10],
    }


def picture(title, bars):
    """An SVG with one bar per ratio, on a logarithmic scale: to the left of 1 where ours is faster or smaller."""
    width, left, right, top, pitch = 420, 172, 376, 64, 22
    lowest, highest = (function(math.log(figure) for _, figure in bars) for function in (min, max))
    lowest, highest = min(lowest, -0.1), max(highest, 0.1)

    def x_of(figure):
        return left + 34 + (right - left - 34) * (math.log(figure) - lowest) / (highest - lowest)

    height = top + pitch * len(bars) + 10
    one = x_of(1)
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
             f'height="{height}" font-family="Helvetica, Arial, sans-serif" font-size="13" fill="#1f2328">',
             f'<rect width="{width}" height="{height}" rx="8" fill="#ffffff"/>',
             f'<text x="14" y="24" font-size="15" font-weight="bold">{title}</text>',
             f'<text x="{one - 6:.0f}" y="48" text-anchor="end" fill="#1a7f5a">◀ less than by hand</text>',
             f'<text x="{one + 6:.0f}" y="48" fill="#b5433a">more ▶</text>']
    for index, (label, figure) in enumerate(bars):
        y = top + pitch * index
        x = x_of(figure)
        color, anchor, gap = ("#1a7f5a", "end", -5) if figure < 1 else ("#b5433a", "start", 5)
        lines += [f'<text x="14" y="{y + 12}">{label}</text>',
                  f'<rect x="{min(x, one):.1f}" y="{y}" width="{abs(x - one):.1f}" height="15" fill="{color}"/>',
                  f'<text x="{x + gap:.1f}" y="{y + 12}" text-anchor="{anchor}">{figure:.2g}</text>']
    lines += [f'<path d="M{one:.1f} {top - 8}V{height - 10}" stroke="#1f2328"/>', "</svg>\n"]
    return "\n".join(lines)


def bars_of(table, selects, name_of):
    return [(name_of(work, measure), ratio(row, "by_hand")) for (work, measure), row in table.items()
            if selects(work, measure) and ratio(row, "by_hand")]


def pictures(table):
    real = bars_of(table, lambda work, measure: work == REAL_PATHS and measure in STEPS,
                   lambda _, measure: STEPS[measure])
    rest = bars_of(table, lambda work, measure: not NOT_CHARTED.search(f"{work}{measure}"),
                   lambda work, measure: work if measure == "ns" else f"{work}, {measure}")
    real.sort(key=lambda bar: -bar[1])
    return {name: picture(title, bars) for name, title, bars in
            (("real-paths.svg", "Real paths: cost relative to by hand", real),
             ("ratios.svg", "Cost of one operation relative to by hand", rest)) if bars}


def publish(path, text):
    """Replaces the text between the markers of a page."""
    start, end = "<!-- Written by scripts/benchmark -->\n", "<!-- End -->\n"
    before, _, rest = path.read_text().partition(start)
    _, found, after = rest.partition(end)
    if not found:
        sys.exit(f"{path} has no markers")
    path.write_text(f"{before}{start}\n{text}\n{end}{after}")


def main():
    publishes = sys.argv[1] == "--publish"
    directory, *names = sys.argv[1 + publishes:]
    directory = Path(directory)
    runs = [json.loads(Path(name).read_text()) for name in names]
    benchmarks = [dict(benchmark, family_index=(number, benchmark["family_index"]))
                  for number, run in enumerate(runs) for benchmark in run["benchmarks"]]
    table = best_figures(benchmarks)
    steps = add_floors(table, benchmarks)
    table = with_scaling(table)

    sections = ["".join(f"- {name}: {text}\n" for name, text in provenance(runs[0]["context"]).items()),
                main_table(table), markdown(["step of a floor", "ns"], list(map(list, steps.items())), 1)]
    instructions = directory / "instructions.txt"
    if instructions.exists():
        sections.append(instruction_table(instructions))
    results = "\n".join(sections)
    (directory / "results.md").write_text(results)
    for name, image in pictures(table).items():
        (directory / name).write_text(image)
        if publishes:
            (Path("docs") / name).write_text(image)
    if publishes:
        publish(Path("docs/performance.md"), results)
        publish(Path("README.md"), real_path_table(table))


if __name__ == "__main__":
    main()
