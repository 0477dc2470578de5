#!/usr/bin/python3
"""Turns results of objectpath-benchmark into tables and pictures.

    report.py [--publish] DIRECTORY RESULTS.json...
    report.py --compare BEFORE.json... -- AFTER.json...

Writes results.md and pictures to DIRECTORY, which may hold instructions.txt, made by count-instructions. With
--publish, also puts tables, sentences and pictures into README.md, SECURITY.md and docs/; the working tree must be as
its commit. With --compare, prints what changed between two libraries.
Every figure is the best of all repetitions, and a ratio is one of two such figures.
"""

import json
import re
import subprocess
import sys
import textwrap
from pathlib import Path

import pictures

PEERS = {
    "ours": "ours",
    "by_hand": "hand-written",
    "by_hand_flat": "hand-written, flat map",
    "flyweight": "flyweight",
    "string": "string",
}
RATIOS = ["by_hand", "string"]
REAL_PATHS = "files_attributes"
COSTS = ["load", "again", "copy", "look_up", "sort", "match", "print", "release"]
THREADS = "files_threads"
# Variants of a measure.
TWO_THREADS = "2 threads"
SPEED_UP = "speed-up with two threads"
NOT_CHARTED = re.compile(r"^(files|kept|among|threads|pauses)")


def titles_of(runs):
    """The titles of all steps by their keys, which the program writes beside its results."""
    return dict(step.split("=") for step in runs[0]["context"]["steps"].split(";") if step)


def title_of(step, variant, titles):
    return ", ".join(filter(None, [titles.get(step, step), variant]))


def figures(benchmark, titles):
    """The work, the peer and the figures of one repetition by step and variant; lower is better."""
    work, peer, *details = benchmark["name"].split("/")
    if "load" in benchmark:
        keys = {(step, variant): step + suffix for step in titles
                for variant, suffix in {"": "", TWO_THREADS: "_2_threads"}.items()}
        return work, peer, {measure: benchmark[key] for measure, key in keys.items() if key in benchmark}
    if work == "pauses":
        return work, peer, {(key, ""): benchmark[key] for key in benchmark if re.match("growth_|turnover", key)}
    if work == "floor":
        return work, peer, {("ns", ""): 1e9 / benchmark["items_per_second"]}
    if "threads:2" in details:
        return work, peer, {("ns", TWO_THREADS): 1e9 / benchmark["items_per_second"]}
    return work, peer, {("ns", ""): benchmark["cpu_time"]}


def benchmarks_of(runs):
    return [dict(benchmark, family_index=(number, benchmark["family_index"]))
            for number, run in enumerate(runs) for benchmark in run["benchmarks"]]


def best_figures(runs):
    """The best figure of every peer, by work, step and variant, in the order of registration, which interleaving
    shuffles."""
    table = {}
    titles = titles_of(runs)
    for benchmark in sorted(benchmarks_of(runs),
                            key=lambda each: (each["family_index"], each["per_family_instance_index"])):
        if benchmark["run_type"] == "iteration":
            work, peer, measured = figures(benchmark, titles)
            for measure, figure in measured.items():
                row = table.setdefault((work, *measure), {})
                row[peer] = min(figure, row.get(peer, figure))
    order = list(dict.fromkeys(work for work, *_ in table))
    return dict(sorted(table.items(), key=lambda row: order.index(row[0][0])))


def floors(runs, steps):
    """The sum of steps, such as "2 hash + 4 atomic", that each piece of work is labelled with."""
    labels = {each["name"].split("/")[0]: each["label"] for each in benchmarks_of(runs) if each.get("label")}
    terms = {work: [term.split() for term in label.split(" + ")] for work, label in labels.items()}
    return {work: sum(float(count) * steps[step] for count, step in sum_) for work, sum_ in terms.items()}


def with_speed_up(table):
    """Adds how many times as much two threads do as one."""
    rows = {}
    for (work, step, variant), row in table.items():
        rows[work, step, variant] = row
        if variant == TWO_THREADS and (work, step, "") in table:
            one = table[work, step, ""]
            rows[work, step, SPEED_UP] = {peer: one[peer] / row[peer] for peer in row if peer in one}
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


def main_table(table, titles):
    head = ["work", "measure", *PEERS.values(), *(f"ours : {PEERS[peer]}" for peer in RATIOS)]
    return markdown(head, ([work, title_of(step, variant, titles), *map(row.get, PEERS),
                            *(None if variant == SPEED_UP else ratio(row, peer) for peer in RATIOS)]
                           for (work, step, variant), row in table.items() if work not in ("floor", "pauses")))


def floor_tables(table, runs):
    steps = {peer: figure for (work, *_), row in table.items() if work == "floor" for peer, figure in row.items()}
    sums = floors(runs, steps) if steps else {}
    rows = [[work, sums[work], row["ours"], row["ours"] / sums[work]] for (work, _, variant), row in table.items()
            if work in sums and variant == ""]
    return [markdown(["ns", "floor", "ours", "ours : floor"], rows), markdown(["step of a floor", "ns"], steps.items())]


def real_path_table(table, titles):
    rows = ([title, *map(table[REAL_PATHS, step, ""].get, PEERS)] for step, title in titles.items()
            if (REAL_PATHS, step, "") in table)
    return markdown(["ns per path", *PEERS.values()], rows)


def sentence(text):
    return textwrap.fill(text, 120) + "\n"


def pattern_sentence(table):
    works = ["files_patterns_1000", "files_patterns_1000_loop"]
    microseconds = [table[work, "ns", ""]["ours"] / 1000 for work in works]
    return sentence("Of 1,000 patterns for the files of a Debian system, the set finds those that select a path in "
                    "{:.1f} µs; trying them one by one takes {:.0f} µs.".format(*microseconds))


def pause_sentence(table):
    """On the smallest and the largest table that was measured, and on paths that come and go."""
    pause = {kind: 1000 * row["ours"] for (work, kind, _), row in table.items() if work == "pauses"}
    few, *_, many = (int(kind.removeprefix("growth_")) for kind in pause if kind.startswith("growth_"))
    text = (f"On one computer, that took {pause[f'growth_{few}']:.0f} ms for {few:,} entries and "
            f"{pause[f'growth_{many}']:.0f} ms for {many:,}. Where paths come and go while 800,000 are alive, the "
            f"longest of a million operations took {pause['turnover']:.2g} ms, that of the next million "
            f"{pause['turnover_later']:.2g} ms")
    if "turnover_reserved" in pause:
        reserved = max(pause["turnover_reserved"], pause["turnover_reserved_later"])
        text += f", and with room reserved for twice as many nodes, that of both {reserved:.2g} ms"
    return sentence(text + ".")


def instruction_table(path):
    rows = ([work, *map(float, counts)] for work, *counts in map(str.split, path.read_text().splitlines()))
    return markdown(["instructions, under callgrind", "ours", "hand-written"], rows)


def commit():
    """The commit of the working tree; ends in "-dirty" if files differ from it."""
    described = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    return described.stdout.strip() or "unknown"


def provenance(context):
    """Where the results come from: compiler, flags, commit, processor, date."""
    processor = next((line.split(":")[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                      if line.startswith("model name")), "unknown")
    return "".join(f"- {name}: {text}\n" for name, text in {
        "compiler": context["compiler"],
        "flags": " ".join(flag for flag in context["flags"].split() if not flag.startswith("-W")),
        "commit": commit(),
        "processor": f"{processor}, {context['num_cpus']} × {context['mhz_per_cpu']} MHz",
        "date": context["date"][:10],
    }.items())


def growth_panels(table):
    titles = {"load": "parse new paths, in order", "shuffled": "parse them again, shuffled"}
    panels = {title: {} for title in titles.values()}
    for (work, step, _), row in table.items():
        if work.startswith("among_") and step in titles:
            for peer, figure in row.items():
                panels[titles[step]].setdefault(peer, []).append((int(work.removeprefix("among_")), figure))
    return panels


def pictures_of(table, titles):
    real = {step: row for (work, step, _), row in table.items() if work == REAL_PATHS and ratio(row, "by_hand")}
    if "string" in real.get("load", {}):
        yield "costs.svg", pictures.costs([(titles[step], real[step]) for step in COSTS], PEERS)
        times = [(titles[step], row) for step, row in real.items() if step != "faults"]
        yield "real-paths.svg", pictures.ratios("Cost of real paths", times, PEERS)
    rest = [(title_of(work, variant, {}), row) for (work, _, variant), row in table.items()
            if not NOT_CHARTED.match(work) and ratio(row, "by_hand")]
    if rest:
        yield "ratios.svg", pictures.ratios("Cost of one operation", rest, PEERS)
    two_threads = [(titles[step], row) for (work, step, variant), row in table.items()
                   if work == THREADS and variant == SPEED_UP]
    if two_threads:
        yield "threads.svg", pictures.threads(two_threads, PEERS)
    if ("among_1000", "load", "") in table:
        yield "growth.svg", pictures.growth(growth_panels(table), PEERS)


def publish(path, block, text):
    """Replaces the text between the markers of a block of a page, and indents it as these are."""
    path = Path(path)
    start, end = f"<!-- Written by scripts/benchmark: {block} -->\n", "<!-- End -->\n"
    marked = re.compile(f"^( *){start}.*?^ *{end}", re.DOTALL | re.MULTILINE)
    found = marked.search(path.read_text())
    if not found:
        sys.exit(f"{path} has no block {block}")
    lines = (start + text + end).splitlines(True)
    indented = "".join(found[1] + line if line.strip() else line for line in lines)
    path.write_text(marked.sub(lambda _: indented, path.read_text()))


def read(names):
    return [json.loads(Path(name).read_text()) for name in names]


def compare(names):
    middle = names.index("--")
    runs = [read(part) for part in (names[:middle], names[middle + 1:])]
    before, after = map(best_figures, runs)
    titles = titles_of(runs[1])
    print(markdown(["work", "measure", "before", "after", "after : before"],
                   ([measure[0], title_of(*measure[1:], titles), row["ours"], after[measure]["ours"],
                     after[measure]["ours"] / row["ours"]]
                    for measure, row in before.items() if "ours" in row and measure in after)))


def main():
    if sys.argv[1] == "--compare":
        compare(sys.argv[2:])
        return
    publishes = sys.argv[1] == "--publish"
    if publishes and commit().endswith("-dirty"):
        sys.exit("report.py: the figures of a working tree that differs from its commit are not published")
    directory, *names = sys.argv[1 + publishes:]
    directory = Path(directory)
    runs = read(names)
    titles = titles_of(runs)
    table = with_speed_up(best_figures(runs))

    sections = [provenance(runs[0]["context"]), main_table(table, titles), *floor_tables(table, runs)]
    if (directory / "instructions.txt").exists():
        sections.append(instruction_table(directory / "instructions.txt"))
    results = "\n".join(sections)
    (directory / "results.md").write_text(results)
    for name, picture in pictures_of(table, titles):
        pictures.save(picture, directory / name)
        if publishes:
            (Path("docs") / name).write_bytes((directory / name).read_bytes())
    if publishes:
        publish("docs/performance.md", "all figures", f"\n{results}\n")
        publish("docs/performance.md", "real paths", f"\n{real_path_table(table, titles)}\n")
        publish("README.md", "patterns", pattern_sentence(table))
        publish("SECURITY.md", "pauses", pause_sentence(table))


if __name__ == "__main__":
    main()
