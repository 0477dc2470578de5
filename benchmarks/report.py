#!/usr/bin/env python3
"""Turns results of objectpath-benchmark into a Markdown table and into a gnuplot program for the chart of ratios.

    report.py DIRECTORY RESULTS.json...

Writes results.md and ratios.gnuplot to DIRECTORY, which may hold instructions.txt, made by count-instructions.
Every figure is the best of all repetitions, and a ratio is one of two such figures.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

PEERS = {
    "ours": "ours",
    "by_hand": "by hand",
    "by_hand_plain": "by hand, plain text",
    "by_hand_flat": "by hand, flat map",
    "flyweight": "flyweight",
    "filesystem": "filesystem",
}
RATIOS = ["by_hand", "by_hand_plain", "flyweight"]
COUNTERS = {"build_ns_each": "build, ns each", "release_ns_each": "release, ns each", "bytes_each": "bytes each"}
THREADS = "threads:"

# What the chart leaves out, as other rows show the same.
NOT_CHARTED = re.compile(r"_names$|_to_3_2$|_10000$|_100000$|^threads_.*1 threads")


def figures(benchmark):
    """The work, the peer and the figures of one repetition, by what they measure; less is better."""
    work, peer, *details = benchmark["name"].split("/")
    if any(counter in benchmark for counter in COUNTERS):
        return work, peer, {name: benchmark[counter] for counter, name in COUNTERS.items()}
    threads = next((detail[len(THREADS):] for detail in details if detail.startswith(THREADS)), None)
    if threads:
        return work, peer, {f"ns a text, {threads} threads": 1e9 / benchmark["items_per_second"]}
    return work, peer, {"ns": benchmark["real_time"]}


def best_figures(benchmarks):
    """The best figure of every peer, by work and measure."""
    table = {}
    for benchmark in benchmarks:
        if benchmark.get("run_type") != "iteration" or benchmark.get("error_occurred"):
            continue
        work, peer, measured = figures(benchmark)
        for measure, figure in measured.items():
            row = table.setdefault((work, measure), {})
            row[peer] = min(figure, row.get(peer, figure))
    return table


def in_order(table, benchmarks):
    """The rows in the order in which the benchmarks are registered, which interleaving shuffles."""
    order = {}
    for benchmark in benchmarks:
        work = benchmark["name"].split("/")[0]
        order[work] = min(benchmark["family_index"], order.get(work, benchmark["family_index"]))
    return dict(sorted(table.items(), key=lambda row: (order[row[0][0]], row[0])))


def with_scaling(table):
    """Adds how much more two threads do than one."""
    rows = {}
    for (work, measure), row in table.items():
        rows[work, measure] = row
        one = table.get((work, "ns a text, 1 threads"))
        if one and measure == "ns a text, 2 threads":
            rows[work, "two threads : one"] = {peer: one[peer] / row[peer] for peer in row if peer in one}
    return rows


def is_scaling(measure):
    return ":" in measure


def ratio(row, peer):
    return row["ours"] / row[peer] if "ours" in row and row.get(peer) else None


def cell(figure):
    if figure is None:
        return ""
    if figure < 0.1:
        return f"{figure:.3f}"
    return f"{figure:.2f}" if figure < 10 else f"{figure:,.0f}"


def markdown_row(cells):
    return "| " + " | ".join(cells) + " |\n"


def main_table(table):
    lines = [markdown_row(["work", "measure", *PEERS.values(), *(f"ours : {PEERS[peer]}" for peer in RATIOS)]),
             markdown_row(["---"] * 2 + ["---:"] * (len(PEERS) + len(RATIOS)))]
    for (work, measure), row in table.items():
        if "floor" in row:
            continue
        ratios = [None if is_scaling(measure) else ratio(row, peer) for peer in RATIOS]
        figures_of_peers = [row.get(peer) for peer in PEERS]
        lines.append(markdown_row([work, measure, *map(cell, figures_of_peers + ratios)]))
    return "".join(lines)


def floor_table(table):
    floors = [(work, row["floor"]) for (work, _), row in table.items() if "floor" in row]
    rows = "".join(markdown_row([work, cell(figure)]) for work, figure in floors)
    return f"\nFloors:\n\n| work | ns |\n| --- | ---: |\n{rows}" if rows else ""


def instruction_table(path):
    if not path.exists():
        return ""
    rows = "".join(markdown_row(line.split()) for line in path.read_text().splitlines())
    return f"\nInstructions an operation, under callgrind:\n\n| work | ours | by hand |\n| --- | ---: | ---: |\n{rows}"


def provenance(context):
    """Where the results come from, by name."""
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


def chart(table, source):
    """A gnuplot program: one bar a row, to the left of 1 where ours is faster or smaller."""
    bars = [(f"{work}, {measure}" if measure != "ns" else work, ratio(row, "by_hand"))
            for (work, measure), row in table.items()
            if ratio(row, "by_hand") and not is_scaling(measure) and not NOT_CHARTED.search(work)
            and not NOT_CHARTED.search(f"{work} {measure}")]
    data = "".join(f'"{label}" {figure:.4f}\n' for label, figure in bars)
    title = f"ours : by hand (less is better)\\n{source['compiler']}, {source['commit']}, {source['processor']}"
    return f"""$bars << END
{data}END
set terminal svg size 900,{110 + 17 * len(bars)} font "sans,11" background "white" noenhanced
set title "{title}" noenhanced
set logscale x
set yrange [{len(bars) - 0.4}:-0.6]
set grid x
set tics nomirror out
set format x "%g"
set style fill solid
unset key
set arrow from 1, graph 0 to 1, graph 1 nohead front
plot $bars using (1):0:(1):2:($0 - 0.35):($0 + 0.35):($2 < 1 ? 0x2a7f62 : 0xc0504d):ytic(1) \\
         with boxxyerror linecolor rgb variable, \\
     $bars using ($2 < 1 ? 1 : $2):0:(sprintf("%.2g", $2)) with labels left offset 0.5,0 font ",9"
"""


def main():
    directory = Path(sys.argv[1])
    runs = [json.loads(Path(name).read_text()) for name in sys.argv[2:]]
    source = provenance(runs[0]["context"])
    table = {}
    for run in runs:
        table.update(with_scaling(in_order(best_figures(run["benchmarks"]), run["benchmarks"])))

    head = "".join(f"- {name}: {text}\n" for name, text in source.items())
    note = "Each figure is the best of all interleaved repetitions in one run; less is better, except two threads : one.\n"
    (directory / "results.md").write_text(
        f"{head}\n{note}\n{main_table(table)}{floor_table(table)}" + instruction_table(directory / "instructions.txt"))
    (directory / "ratios.gnuplot").write_text(
        f'set output "{directory}/ratios.svg"\n' + chart(table, source))


if __name__ == "__main__":
    main()
