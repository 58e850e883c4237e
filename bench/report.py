#!/usr/bin/env python3
"""One table of all benchmarks, ours beside the yardsticks, with what was to be reached.

    report.py RESULTS JSON [--whole] [--record DOCUMENT]

RESULTS is a folder of result files: *.json as the benchmark programs write them, *.callgrind as `work/who N` lines.
The table goes to standard output and, with all numbers behind it, to JSON. --whole complains of rows that are
missing; --record puts the table into DOCUMENT between its markers.

Only ratios of medians of one run of one program are compared. What missed its target and has no line in the document
that begins with its name ("- `work/yardstick`") is named at the end: a miss wants an explanation.
"""
import argparse
import datetime
import fnmatch
import json
import math
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys

FASTER = "faster"  # the yardstick's time over ours, at least so much
COSTS = "costs"  # our time over the yardstick's, at most so much

# title, work (a pattern: the worst of all that match counts), yardstick, direction, reach, stretch
TARGETS = [
    ("whole refresh, live frames", "refresh_streaming_640", "plain", FASTER, 7, None),
    ("whole refresh, live frames", "refresh_streaming_640", "libyuv", FASTER, 2.6, None),
    ("whole refresh, live frames", "refresh_streaming_640", "swscale", FASTER, 4.8, None),
    ("whole refresh, live frames", "refresh_streaming_640", "lines", FASTER, 0.60, 0.75),
    ("whole refresh, cached", "refresh_cached_640", "plain", FASTER, 10, 13),
    ("whole refresh, cached", "refresh_cached_640", "libyuv", FASTER, 2.4, None),
    ("whole refresh, cached", "refresh_cached_640", "swscale", FASTER, 6, None),
    ("panes 500 wide, live frames", "refresh_streaming_500", "plain", FASTER, 5.3, None),
    ("panes 500 wide, cached", "refresh_cached_500", "plain", FASTER, 5.3, None),
    ("one pane of any width", "pane_width_*", "plain", FASTER, 5.3, None),
    ("one pane of any width, live frames", "pane_live_width_*", "plain", FASTER, None, None),
    ("motion log, blobs in 10 %", "motion_log_10", "plain", FASTER, 3.8, None),
    ("motion log, blobs in 40 %", "motion_log_40", "plain", FASTER, 4.5, None),
    ("motion log, blobs in 100 %", "motion_log_100", "plain", FASTER, 4.4, 6),
    ("motion log, blobs in 10 %", "motion_log_10", "grep", FASTER, 1, None),
    ("motion log, blobs in 40 %", "motion_log_40", "grep", FASTER, 1, None),
    ("motion log, blobs in 100 %", "motion_log_100", "grep", FASTER, None, None),
    ("motion log, blobs in 10 %", "motion_log_10", "memchr", FASTER, None, None),
    ("motion log, blobs in 40 %", "motion_log_40", "memchr", FASTER, None, 0.5),
    ("motion log, blobs in 100 %", "motion_log_100", "memchr", FASTER, None, None),
    ("settings.txt, load", "settings_load", "plain", FASTER, 15, None),
    ("settings.txt, format", "settings_format", "plain", FASTER, 5, None),
    ("pixel_frames.txt, load", "pixel_frames_load", "plain", FASTER, 8, None),
    ("pixel_frames.txt, format", "pixel_frames_format", "plain", FASTER, 7.8, None),
    ("settings.txt, durable save", "settings_save", "bare", COSTS, 1.3, 1.15),
    ("pixel_frames.txt, durable save", "pixel_frames_save", "bare", COSTS, 1.3, 1.15),
    ("whole refresh under Wine", "wine_refresh", "bare", COSTS, 1.25, None),
    ("lock plus unlock", "lock_pair", "bare", COSTS, 1.1, None),
    ("init and close of the sync objects", "sync_init_close", "bare", COSTS, 1.2, None),
    ("event 14 to the posted message", "event_to_message", "bare", COSTS, 1.5, None),
    ("start to first paint", "first_paint", "empty", COSTS, 1.5, None),
]

# title, work: whose instructions callgrind counts
COUNTS = [
    ("whole refresh (three 640 x 180, one 640 x 360)", "refresh"),
    ("motion log of 2 MB, blobs in 10 %", "motion_log_10"),
    ("motion log of 2 MB, blobs in 40 %", "motion_log_40"),
    ("motion log of 2 MB, blobs in 100 %", "motion_log_100"),
]

BEGIN = "<!-- bench: written by ./dev bench --record -->"
END = "<!-- bench: end -->"
# Behind work/who Google Benchmark says how it measured.
ROW_NAME = re.compile(r"(.*?)(?:/(?:iterations|repeats|min_time):[^/]*)*(?:/(real|manual)_time)?")
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


# ------------------------------------------------------------------------------------------------------- reading


def read_rows(folder):
    """{(work, who): {"ns": of each repetition, "median", "error": of the median, relative}} of all result files."""
    times = {}
    for path in sorted(folder.glob("*.json")):
        for entry in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
            if entry.get("run_type", "iteration") != "iteration":
                continue
            if entry.get("error_occurred"):
                print(f"{entry['name']}: {entry.get('error_message')}", file=sys.stderr)
                continue
            name, clock = ROW_NAME.fullmatch(entry.get("run_name", entry["name"])).groups()
            work, _, who = name.rpartition("/")
            time = entry["real_time" if clock or "cpu_time" not in entry else "cpu_time"]
            row = times.setdefault((work, who), {"program": path.stem, "clock": clock, "ns": []})
            if row["program"] != path.stem or row["clock"] != clock:
                sys.exit(f"{name} comes twice, from {row['program']} and {path.stem}")
            row["ns"].append(time * NANOSECONDS[entry["time_unit"]])
    rows = {}
    for key, row in times.items():
        median = statistics.median(row["ns"])
        rows[key] = dict(row, median=median, error=error_of_median(row["ns"]) / median)
    return rows


def error_of_median(values):
    """The standard error, from the quartiles, which a few disturbed repetitions do not move."""
    if len(values) < 2:
        return 0
    low, _, high = statistics.quantiles(values, n=4, method="inclusive")
    return 1.253 * (high - low) / 1.349 / len(values) ** 0.5


def read_counts(folder):
    counts = {}
    for path in sorted(folder.glob("*.callgrind")):
        for line in path.read_text(encoding="utf-8").splitlines():
            name, number = line.split()
            counts[tuple(name.rsplit("/", 1))] = int(number)
    return counts


# ------------------------------------------------------------------------------------------------------ comparing


def compare(target, work, rows):
    title, _, yardstick, direction, reach, stretch = target
    ours, theirs = rows[work, "ours"], rows[work, yardstick]
    if (ours["program"], ours["clock"]) != (theirs["program"], theirs["clock"]):
        sys.exit(f"{work}: ours and {yardstick} come from different programs or clocks")
    ratio = theirs["median"] / ours["median"]
    if direction == COSTS:
        ratio = 1 / ratio
    noise = 2 * math.hypot(ours["error"], theirs["error"])

    def met(bound):
        if bound is None:
            return None
        return ratio >= bound if direction == FASTER else ratio <= bound

    def doubtful(bound):
        return bound is not None and abs(ratio / bound - 1) < noise

    return {
        "title": title, "work": work, "yardstick": yardstick, "direction": direction,
        "ours_ns": ours["median"], "yardstick_ns": theirs["median"],
        "ratio": ratio, "noise": noise,
        "reach": reach, "reached": met(reach), "reach_doubtful": doubtful(reach),
        "stretch": stretch, "stretch_reached": met(stretch), "stretch_doubtful": doubtful(stretch),
    }  # fmt: skip


def compare_all(rows):
    """The lines of the table, the names of the rows that no program made, and of those that no line asks for."""
    lines, missing = [], []
    for target in TARGETS:
        pattern, yardstick, direction = target[1], target[2], target[3]
        works = [work for work, who in rows if who == "ours" and fnmatch.fnmatchcase(work, pattern)]
        pairs = [compare(target, work, rows) for work in works if (work, yardstick) in rows]
        if not pairs:
            missing += [f"{pattern}/{who}" for who in ("ours", yardstick) if who == yardstick or not works]
            continue
        worst = (min if direction == FASTER else max)(pairs, key=lambda line: line["ratio"])
        if "*" in pattern:
            worst["title"] += f" (worst of {len(pairs)}: {worst['work'].removeprefix(pattern.rstrip('*'))})"
            worst["pattern"] = pattern
            worst["all"] = {line["work"]: line["ratio"] for line in pairs}
        lines.append(worst)
    asked = set()
    for line in lines:
        for work in line.get("all", [line["work"]]):
            asked |= {(work, "ours"), (work, line["yardstick"])}
    return lines, sorted(set(missing)), sorted("/".join(key) for key in rows if key not in asked)


# --------------------------------------------------------------------------------------------------------- telling


def tell_time(ns):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{ns / size:.3g} {unit}" if ns < 1000 * size else f"{ns / size:.0f} {unit}"
    return f"{ns:.3g} ns"


def tell_bound(bound, direction):
    if bound is None:
        return ""
    return f"{bound:g}x" if direction == FASTER else f"at most {bound:g}x"


def table(head, lines):
    widths = [max(len(line[i]) for line in [head, *lines]) for i in range(len(head))]
    text = []
    for line in [head, ["-" * width for width in widths], *lines]:
        text.append("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |")
    return "\n".join(text)


def tell_all(lines, counts):
    def said(reached, doubtful):
        return "" if reached is None else ("yes" if reached else "no") + ("?" if doubtful else "")

    cells = [
        [
            line["title"], line["yardstick"], tell_time(line["ours_ns"]), tell_time(line["yardstick_ns"]),
            f"{line['ratio']:.2f}x", f"{100 * line['noise']:.0f} %",
            tell_bound(line["reach"], line["direction"]), said(line["reached"], line["reach_doubtful"]),
            tell_bound(line["stretch"], line["direction"]), said(line["stretch_reached"], line["stretch_doubtful"]),
        ]
        for line in lines
    ]  # fmt: skip
    head = ["work", "yardstick", "ours", "yardstick's", "ratio", "noise", "reach", "reached", "stretch", "reached"]
    tables = [table(head, cells)] if cells else []
    counted = []
    for title, work in COUNTS:
        for who in sorted({other for name, other in counts if name == work}):
            share = counts[work, who] / counts[work, "plain"] if (work, "plain") in counts else 0
            counted.append([title, who, f"{counts[work, who]:,}", f"{share:.3f}" if share else ""])
    if counted:
        tables.append(table(["instructions (callgrind)", "who", "count", "of plain"], counted))
    return "\n\n".join(tables)


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"))
    commit = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True, check=False)
    return {
        "date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d"),
        "processor": model.group(1) if model else platform.processor(),
        "processors": os.cpu_count(),
        "system": f"{platform.system()} {platform.release()}",
        "compiler": f"g++ {compiler.stdout.strip()}",
        "commit": commit.stdout.strip(),
        "load": os.getloadavg()[1],
    }


def record(document, text, where):
    old = document.read_text(encoding="utf-8")
    before, begin, rest = old.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        sys.exit(f"{document} has no place for the table: {BEGIN} ... {END}")
    line = (
        f"{where['date']}, commit {where['commit']}: {where['processor']}, {where['processors']} processors, "
        f"{where['system']}, {where['compiler']}; load of the last five minutes {where['load']:.1f}."
    )
    document.write_text(f"{before}{BEGIN}\n{line}\n\n{text}\n{END}{after}", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("json", type=pathlib.Path)
    parser.add_argument("--whole", action="store_true")
    parser.add_argument("--record", action="store_true")
    parser.add_argument("--document", type=pathlib.Path, default="doc/performance.md")
    arguments = parser.parse_args()

    rows, counts, where = read_rows(arguments.results), read_counts(arguments.results), machine()
    lines, missing, unasked = compare_all(rows)
    text = tell_all(lines, counts)
    print(text)
    arguments.json.write_text(
        json.dumps(
            {
                "machine": where, "table": lines, "missing": missing,
                "instructions": {"/".join(key): count for key, count in counts.items()},
                "rows": {"/".join(key): row for key, row in rows.items()},
            }, indent=1,
        ) + "\n", encoding="utf-8",
    )  # fmt: skip
    if arguments.record:
        record(arguments.document, text, where)

    if arguments.whole:
        for name in missing:
            print(f"no such row: {name}")
    for name in unasked:
        print(f"in no line of the table: {name}")
    notes = arguments.document.read_text(encoding="utf-8") if arguments.document.exists() else ""
    for line in lines:
        name = f"{line.get('pattern', line['work'])}/{line['yardstick']}"
        if False in (line["reached"], line["stretch_reached"]) and f"- `{name}`" not in notes:
            print(f"missed, and nothing said about it in {arguments.document}: {name}")


if __name__ == "__main__":
    main()
