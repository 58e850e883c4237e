#!/usr/bin/env python3
"""Works an Auto Setup analysis out a second time, so that the program's numbers have something to agree with.

From three motion logs and the settings it needs, this computes everything the analysis finds: metre tables, blobs,
jumps, alignment, sync offsets, movie timing, gaps, motion bands, noise caps, the settings afterwards, the pixel-frame
tables, and every log line on the way. It was written independently of the program's code and must stay so: when the
two differ, find out by thought which is right, never copy one into the other. Single precision is rounded after every
operation, as the program's own arithmetic is.

    auto_setup_reference.py CASE...         prints what the analysis of a case finds; CASE is a case file, or a folder
                                            with case.txt (settings only) and motion_debug_0.log .. motion_debug_2.log
    auto_setup_reference.py --write DIR...  writes NAME.expected beside every NAME.case in the folders

The committed cases and expectations are made by auto_setup_cases.py (which calls this); Python is needed for that
only, never for running the tests.

A case file holds `key=value` lines as in settings.txt (and `case.` keys: restore, populated[F] and region_end_x[F],
what the run controller decides), then for every log that exists a line `[log F]` followed by
its lines: `r SEQ TS SIZE X Y FIRST LAST YCUM UCUM VCUM` is short for a full record (`-` or nothing leaves a token
out), `=TEXT` is TEXT itself. Lines beginning with `#` are remarks.
"""

import ctypes
import math
import os
import re
import struct
import sys

COLUMNS = 1920
FEEDS = (0, 1, 2)
NAN = float("nan")


# ---------------------------------------------------------------- arithmetic


def f32(value):
    return ctypes.c_float(value).value


def fdiv(a, b):
    if b != 0:
        return f32(a / b)
    if a == 0 or math.isnan(a):
        return NAN
    return math.copysign(float("inf"), a) * math.copysign(1.0, b)


def i32(value):
    return (value + 2**31) % 2**32 - 2**31


def tdiv(a, b):
    """Integer division truncating toward zero."""
    quotient = abs(a) // abs(b)
    return quotient if (a < 0) == (b < 0) else -quotient


def clamp(value, low, high):
    return max(low, min(value, high))


def median(values):
    """Integer median; the mean of the middle two truncates toward zero."""
    ordered = sorted(values)
    n = len(ordered)
    return ordered[n // 2] if n % 2 else tdiv(ordered[n // 2 - 1] + ordered[n // 2], 2)


def mad(values, center):
    return median([abs(v - center) for v in values[:256]])


def robust_median(samples, minimum):
    """(clean samples, median, first median, deviation); the median is None when too few are clean."""
    first = median(samples)
    deviation = mad(samples, first)
    clean = samples if deviation == 0 else [s for s in samples if abs(s - first) <= 3 * deviation]
    return clean, (median(clean) if len(clean) >= minimum else None), first, deviation


# ---------------------------------------------------------------- cases


class Case:
    def __init__(self):
        self.settings = {}
        self.logs = [None, None, None]  # bytes, None for a missing file


def expand_record(feed, words):
    """The log line a motion worker would write for a short record."""
    words = words + ["-"] * (10 - len(words))
    line = "feed %d" % feed
    for key, word in (("seq", words[0]), ("ts", words[1])):
        if word != "-":
            line += " %s=%s" % (key, word)
    line += " type=1 blobs=1"
    keys = ("blob0_sz", "blob0_x", "blob0_y", "blob0_first_y", "blob0_last_y")
    for key, word in zip(keys, words[2:7]):
        if word != "-":
            line += " %s=%s" % (key, word)
    for key, word in zip(("ycum", "ucum", "vcum"), words[7:10]):
        if word != "-":
            line += " %s=0,0,0,%s" % (key, word)
    return line


def read_case(path):
    case = Case()
    if os.path.isdir(path):
        for feed in FEEDS:
            name = os.path.join(path, "motion_debug_%d.log" % feed)
            if os.path.exists(name):
                with open(name, "rb") as log:
                    case.logs[feed] = log.read()
        path = os.path.join(path, "case.txt")
    with open(path, encoding="utf-8", newline="") as file:
        lines = file.read().split("\n")
    feed = None
    texts = {}
    for line in lines:
        line = line.rstrip("\r")
        if line.startswith("#") or (not line and feed is None):
            continue
        if line.startswith("[log "):
            feed = int(line[5])
            texts[feed] = []
        elif feed is None:
            key, value = line.split("=", 1)
            case.settings[key] = value
        elif line.startswith("r "):
            texts[feed].append(expand_record(feed, line.split()[1:]))
        elif line.startswith("="):
            texts[feed].append(line[1:])
    for feed, text in texts.items():
        case.logs[feed] = "".join(line + "\n" for line in text).encode("utf-8")
    return case


# ---------------------------------------------------------------- the record everything works on


class Blob:
    __slots__ = ("size", "x", "y", "first_y", "last_y", "seq", "ts", "meter")


class Align:
    def __init__(self):
        self.valid, self.offset, self.pairs, self.lo, self.hi = 0, 0, 0, 0.0, 0.0


class Run:
    """The workspace, the settings that count, and the log."""

    def __init__(self, case):
        self.case = case
        self.log = []
        get = case.settings.get
        number = lambda key, default=0: int(get(key, default))
        each = lambda key, n=3: [number("%s[%d]" % (key, i)) for i in range(n)]
        self.feed_count = number("feed_count")
        self.pad_before = number("movie_padding_before_frames")
        self.pad_after = number("movie_padding_after_frames")
        self.min_size = number("min_blob_sizes[0]")
        self.line_count, self.line_start = each("meter_line_count"), each("meter_line_start")
        self.line_increment = each("meter_line_increment")
        pair = lambda key: tuple(int(v) for v in get(key, "0,0").split(","))
        self.far = [[pair("@far[%d][%2d]" % (f, l)) for l in range(30)] for f in FEEDS]
        self.near = [[pair("@near[%d][%2d]" % (f, l)) for l in range(30)] for f in FEEDS]
        self.overlay = each("overlay_frame_offsets")
        self.tolerance = number("blob_match_tolerance_us")
        self.pre_pad, self.post_pad = number("pre_movie_padding_frames"), number("post_movie_padding_frames")
        self.fraction = f32(float(get("scene_trigger_f0_fraction", "0")))
        self.saved_range = get("*saved_motion_range", "")
        self.out = {key: each(key) for key in (
            "feed_video_frames", "frames_before_first_blob", "frames_after_last_blob", "motion_start_x",
            "motion_start_y", "motion_end_x", "motion_end_y", "feed_sync_offset", "center_of_blob_scene_trigger")}
        self.out["inter_feed_gap_frames"] = each("inter_feed_gap_frames", 2)
        for key in ("min_type2_frames", "max_blob_size", "max_diff_y", "max_diff_u", "max_diff_v"):
            self.out[key] = number(key)
        self.restore = number("case.restore", 1)
        self.populated = each("case.populated")
        self.tables = None
        self.region_end_x = each("case.region_end_x")

        self.phase = 0
        self.meters = [[0.0] * COLUMNS for _ in FEEDS]
        self.grid = [0, 0, 0]
        self.blobs = [[], [], []]
        self.capacity = [0, 0, 0]
        self.jumps = [[], [], []]
        self.align_01, self.align_12 = [Align() for _ in range(20)], [Align() for _ in range(20)]
        zeros = lambda n=3: [0] * n
        self.region_y0, self.region_y1, self.caps = zeros(), zeros(), zeros(4)
        self.r_video, self.r_before, self.r_after = zeros(), zeros(), zeros()
        self.r_trigger = self.r_type1 = self.r_type2 = 0
        self.sync, self.sync_valid = zeros(), zeros()
        self.c_min, self.c_max, self.b_min, self.b_max = zeros(), zeros(), zeros(), zeros()
        self.size_max, self.cum = zeros(), [zeros(), zeros(), zeros()]
        self.gap, self.gap_valid, self.gap_samples, self.gap_mad = zeros(2), zeros(2), zeros(2), zeros(2)
        self.triggers_01, self.triggers_02, self.gap_alignment = [], [], []
        self.gap_method = [0, 0]
        self.meter_aligned, self.align_median = [0, 0], [0, 0]
        self.verdicts = []
        self.outliers_kept = 0
        self.merged = self.contributing = 0
        self.frame_count = self.scene_x = self.switch2 = 0

    def info(self, text, *args):
        self.log.append("INF " + text % args)

    def warn(self, text, *args):
        self.log.append("WRN " + text % args)

    def error(self, text, *args):
        self.log.append("ERR " + text % args)

    def active(self, feed):
        if self.feed_count == 1:
            return feed == 1
        if self.feed_count == 2:
            return feed != 0
        return True

    def span(self, feed, j):
        """The records of jump j, [] when the feed has no such jump."""
        if j >= len(self.jumps[feed]):
            return []
        start, count = self.jumps[feed][j]
        return self.blobs[feed][start:start + count]


# ---------------------------------------------------------------- metre tables


def interpolate(run):
    for f in FEEDS:
        run.meters[f] = [0.0] * COLUMNS
        points = []
        for l in range(max(0, min(run.line_count[f], 30))):
            far, near = run.far[f][l], run.near[f][l]
            if far == (0, 0) and near == (0, 0):
                continue
            points.append((tdiv(far[0] + near[0], 2), f32(l * run.line_increment[f] + run.line_start[f])))
        points.sort(key=lambda p: p[0])  # stable
        run.grid[f] = 1 if len(points) >= 2 else 0
        if not run.grid[f]:
            continue
        for x in range(COLUMNS):
            run.meters[f][x] = meters_at(points, x)
        run.info("feed %d: %d grid lines, meter range %.1f..%.1f", f, len(points), run.meters[f][0],
                 run.meters[f][COLUMNS - 1])
    if not any(run.grid):
        run.error("auto_setup_interpolate: no feeds have valid grid lines")
        return -1
    return 0


def meters_at(points, x):
    if x <= points[0][0]:
        return extrapolate(points[0], points[1], points[0], x)
    if x >= points[-1][0]:
        return extrapolate(points[-2], points[-1], points[-1], x)
    for a, b in zip(points, points[1:]):
        if a[0] <= x <= b[0]:
            part = fdiv(float(x - a[0]), float(b[0] - a[0]))
            return f32(f32(part * f32(b[1] - a[1])) + a[1])
    return 0.0


def extrapolate(a, b, base, x):
    slope = fdiv(f32(b[1] - a[1]), float(b[0] - a[0]))
    return f32(f32(slope * float(x - base[0])) + base[1])


# ---------------------------------------------------------------- logs


def pieces(data, size):
    """What a reader with a line buffer of `size` bytes sees, one piece at a time."""
    for line in data.split(b"\n"):
        line += b"\n"
        for at in range(0, len(line), size - 1):
            piece = line[at:at + size - 1]
            yield piece.split(b"\0")[0].decode("latin-1")


def behind(line, key):
    at = line.find(key)
    return None if at < 0 else line[at + len(key):]


def integer(text):
    match = re.match(r"[ \t\n\v\f\r]*([+-]?[0-9]+)", text)
    return int(match.group(1)) if match else 0


FOUR = re.compile(r"\s*([+-]?\d+),\s*([+-]?\d+),\s*([+-]?\d+),\s*([+-]?\d+)")


def parse_logs(run):
    for f in FEEDS:
        name = "motion_debug_%d.log" % f
        if run.case.logs[f] is None:
            run.info("auto_setup_parse_logs: %s not found, skipping feed %d", name, f)
            continue
        run.c_min[f], run.c_max[f], run.b_min[f], run.b_max[f], run.size_max[f] = 1080, 0, 1080, 0, 0
        run.capacity[f] = 1024
        for line in pieces(run.case.logs[f], 1024):
            parse_line(run, f, line)
    for f in FEEDS:
        run.info("feed %d: %d blobs parsed, centroid_y %d..%d, bbox_y %d..%d, max_size %d", f, len(run.blobs[f]),
                 run.c_min[f], run.c_max[f], run.b_min[f], run.b_max[f], run.size_max[f])
    if not any(run.blobs):
        run.error("auto_setup_parse_logs: no blobs found in any feed")
        return -1
    return 0


def parse_line(run, f, line):
    size = behind(line, "blob0_sz=")
    if size is None:
        return
    kind, number = behind(line, " type="), behind(line, " blobs=")
    if kind is not None:
        if integer(kind) == 0:
            return
    elif number is not None and integer(number) < 1:
        return
    blob = Blob()
    blob.size = integer(size)
    if blob.size < run.min_size:
        return
    x = behind(line, "blob0_x=")
    if x is None:
        return
    blob.x = integer(x)
    y, first, last = behind(line, "blob0_y="), behind(line, "blob0_first_y="), behind(line, "blob0_last_y=")
    blob.y = integer(y) if y is not None else 0
    blob.first_y = integer(first) if first is not None else blob.y
    blob.last_y = integer(last) if last is not None else blob.y
    seq, feed = behind(line, "seq="), behind(line, "feed ")
    if seq is None or feed is None or integer(feed) != f:
        return
    blob.seq = integer(seq)
    ts = behind(line, " ts=")
    blob.ts = integer(ts) if ts is not None else 0
    blob.meter = run.meters[f][clamp(blob.x, 0, COLUMNS - 1)] if run.grid[f] else 0.0
    if len(run.blobs[f]) == run.capacity[f]:
        run.capacity[f] *= 2
    run.blobs[f].append(blob)
    run.c_min[f], run.c_max[f] = min(run.c_min[f], blob.y), max(run.c_max[f], blob.y)
    run.b_min[f], run.b_max[f] = min(run.b_min[f], blob.first_y), max(run.b_max[f], blob.last_y)
    run.size_max[f] = max(run.size_max[f], blob.size)
    for plane, key in enumerate(("ycum=", "ucum=", "vcum=")):
        text = behind(line, key)
        four = FOUR.match(text) if text is not None else None
        if four:
            run.cum[plane][f] = max(run.cum[plane][f], int(four.group(4)))


def segment(run):
    for f in FEEDS:
        blobs = run.blobs[f]
        starts = [0] if blobs else []
        end = len(blobs)
        for i in range(1, len(blobs)):
            if blobs[i].seq - blobs[i - 1].seq > 60:
                if len(starts) == 20:
                    end = i
                    break
                starts.append(i)
        run.jumps[f] = [(a, b - a) for a, b in zip(starts, starts[1:] + [end])]
    for f in FEEDS:
        run.info("feed %d: %d jumps segmented", f, len(run.jumps[f]))


# ---------------------------------------------------------------- alignment


def align_jump(run, a, b, j, record):
    A, B = run.span(a, j), run.span(b, j)
    if not A or not B:
        return
    low_a, high_a = meter_range(A)
    low_b, high_b = meter_range(B)
    lo, hi = max(low_a, low_b), min(high_a, high_b)
    record.valid = 1
    if lo >= hi:
        record.offset = B[0].seq - A[-1].seq
        run.info("jump %d: feed %d->%d offset=%d, 0 overlap pairs (gap fallback)", j, a, b, record.offset)
        return
    found = []
    for blob in A:
        if len(found) == 500:
            break
        if not lo <= blob.meter <= hi:
            continue
        best, match = 999999.0, None
        for other in B:
            difference = abs(f32(other.meter - blob.meter))
            if difference < best:
                best, match = difference, other
        if match is not None and best <= 1.0:
            found.append(match.seq - blob.seq)
    record.pairs = len(found)
    if found:
        record.offset = sorted(found)[len(found) // 2]
        record.lo, record.hi = lo, hi
    else:
        record.offset = B[0].seq - A[-1].seq
    run.info("jump %d: feed %d->%d offset=%d, %d overlap pairs, meter %.1f..%.1f", j, a, b, record.offset,
             record.pairs, record.lo, record.hi)


def meter_range(blobs):
    low = high = blobs[0].meter
    for blob in blobs[1:]:
        if blob.meter < low:
            low = blob.meter
        if blob.meter > high:
            high = blob.meter
    return low, high


def align_feeds(run):
    run.sync, run.sync_valid = [0, 0, 0], [0, 1, 0]
    if not run.active(2):
        run.info("auto_setup_align_feeds: 1-feed mode — cross-feed alignment skipped; feed_sync_offset[1]=0 "
                 "(reference), [0]/[2] left at settings.txt values")
        return
    counts = [len(jumps) for jumps in run.jumps]
    jumps_01 = min(counts[0], counts[1]) if run.active(0) else 0
    jumps_12 = min(counts[1], counts[2])
    for j in range(jumps_01):
        align_jump(run, 0, 1, j, run.align_01[j])
    for j in range(jumps_12):
        align_jump(run, 1, 2, j, run.align_12[j])
    run.info("auto_setup_align_feeds: feed 0->1: %d/%d valid, feed 1->2: %d/%d valid",
             sum(r.valid for r in run.align_01[:jumps_01]), jumps_01,
             sum(r.valid for r in run.align_12[:jumps_12]), jumps_12)
    sync_offset(run, 0, 0, "0->1", "align_01", run.align_01, -1)
    sync_offset(run, 2, 1, "1->2", "align_12", run.align_12, 1)


def sync_offset(run, feed, index, pair, name, records, sign):
    offsets = sorted(r.offset for r in records if r.valid and r.pairs >= 2)
    run.meter_aligned[index] = len(offsets)
    if len(offsets) < 2:
        run.warn("auto_setup_align_feeds: feed_sync_offset[%d] NOT computed (only %d meter-aligned %s jumps; need "
                 ">=2). Keeping existing settings.txt value.", feed, len(offsets), pair)
        return
    middle = offsets[len(offsets) // 2]
    run.align_median[index] = middle
    value = i32(sign * middle)
    if abs(value) > 60:
        run.warn("auto_setup_align_feeds: feed_sync_offset[%d] REJECTED: computed value %d exceeds sanity limit of "
                 "%d frames (median %s.offset = %d from %d jumps). Keeping existing settings.txt value. Likely "
                 "cause: cross-feed jump_idx misalignment from practice-video loop.", feed, value, 60, name, middle,
                 len(offsets))
        return
    run.sync[feed], run.sync_valid[feed] = value, 1
    run.info("auto_setup_align_feeds: feed_sync_offset[%d] = %d (from %d meter-aligned jumps, median %s.offset = %d)",
             feed, value, len(offsets), name, middle)


# ---------------------------------------------------------------- movie timing


def nearest_column(table, meters):
    best, column = float("inf"), None
    for x in range(COLUMNS):
        difference = abs(f32(table[x] - meters))
        if difference < best:
            best, column = difference, x
    return column, best


def nearest_x(blobs, x):
    return min(blobs, key=lambda b: abs(b.x - x))  # the first of equals


def nearest_seq(blobs, seq):
    return min(blobs, key=lambda b: abs(b.seq - seq))


class Timing:
    """What the movie timing knows while it works."""

    def __init__(self, run):
        self.run = run
        self.trigger = self.bridge_f1 = self.bridge_f2 = None
        self.trigger_meters = 0.0
        self.columns = []  # per-jump triggers, in the order they were found
        self.type1, self.type2 = [], []
        self.frames = {}
        self.before = {}
        self.after = {}


def calculate(run):
    counts = [len(jumps) for jumps in run.jumps]
    run.info("auto_setup_calculate: jump_count[0]=%d, [1]=%d, [2]=%d", *counts)
    if run.active(0):
        n = min(counts[1], counts[2])
        if 1 <= counts[0] < n:
            n = counts[0]
    else:
        n = min(counts[1], counts[2]) if run.active(2) else counts[1]
    if n <= 0:
        no_complete_jumps(run)
    elif measure_timing(run, n) != 0:
        return -1
    motion_regions(run)
    noise_caps(run)
    return 0


def no_complete_jumps(run):
    if run.active(2):
        run.error("auto_setup_calculate: feeds 1 and 2 have no complete jumps")
    else:
        run.error("auto_setup_calculate: feed 1 has no complete jumps")
    run.r_video, run.r_before, run.r_after = [100] * 3, [15] * 3, [15] * 3
    if run.feed_count == 1:
        run.r_before[1], run.r_after[1] = run.pad_before, run.pad_after
    run.r_trigger, run.r_type1, run.r_type2 = 960, 200, 80


def measure_timing(run, n):
    t = Timing(run)
    if run.active(0) and run.grid[0] and run.grid[1]:
        meter_trigger(run, t)
    if run.active(0) and t.trigger is not None and run.grid[1] and run.grid[2]:
        type2_bridge(run, t)
    run.verdicts = [("accepted", "none", 0, 0)] * n
    invalid = reject_spans(run, n)
    if 2 * len(invalid) > n:
        run.error("auto_setup_calculate: too many invalid jumps — %d/%d invalid, need better practice data. Settings "
                  "will NOT be written.", len(invalid), n)
        return -1
    run.info("auto_setup_calculate: %d/%d jumps invalid (hard-rejected)", len(invalid), n)
    valid = [j for j in range(n) if j not in invalid]
    for j in valid:
        measure_jump(run, t, j)
    for j in valid:
        for f in FEEDS:
            blobs = run.span(f, j)
            if len(blobs) >= 2:
                run.info("jump %d feed %d: blobs=%d seq=%d..%d x=%d..%d span=%d", j, f, len(blobs), blobs[0].seq,
                         blobs[-1].seq, blobs[0].x, blobs[-1].x, i32(blobs[-1].seq - blobs[0].seq))
        run.info("jump %d: feed_frames=%d/%d/%d, before=%d/%d/%d, after=%d/%d/%d", j, *t.frames[j], *t.before[j],
                 *t.after[j])
    aggregate(run, t, valid, filter_outliers(run, t, valid, n))
    return 0


def meter_trigger(run, t):
    meters = run.meters[0][1728]
    column, best = nearest_column(run.meters[1], meters)
    if column is not None and best < 5.0:
        t.trigger, t.trigger_meters = column, meters
        run.info("scene trigger: meter-based, f0 x=%d = %.1fm, f1 x=%d (diff=%.2fm)", 1728, meters, column, best)
    else:
        run.info("scene trigger: meter-based failed (f0 x=%d = %.1fm, best f1 diff=%.1fm)", 1728, meters, best)


def type2_bridge(run, t):
    edges = [(run.meters[f][0], run.meters[f][COLUMNS - 1]) for f in FEEDS]
    ends = [(min(pair), max(pair)) for pair in edges]
    lo, hi = max(ends[1][0], ends[2][0]), min(ends[1][1], ends[2][1])
    if not hi > lo:
        run.info("type2 bridge: no f1/f2 meter overlap (f1=%.1f..%.1f, f2=%.1f..%.1f)", *ends[1], *ends[2])
        return
    x1, best1 = nearest_column(run.meters[1], lo)
    x2, best2 = nearest_column(run.meters[2], lo)
    if x1 is not None and x2 is not None and best1 < 3.0 and best2 < 3.0:
        t.bridge_f1, t.bridge_f2 = x1, x2
        run.info("type2 bridge: f1/f2 common meter=%.1fm, f1 x=%d (diff=%.2fm), f2 x=%d (diff=%.2fm), "
                 "overlap=%.1f..%.1fm", lo, x1, best1, x2, best2, lo, hi)
    else:
        run.info("type2 bridge: f1/f2 overlap=%.1f..%.1fm but lookup failed (f1_diff=%.1f, f2_diff=%.1f)", lo, hi,
                 best1, best2)


def reject_spans(run, n):
    invalid = []
    for j in range(n):
        for f in FEEDS:
            blobs = run.span(f, j)
            if len(blobs) < 2:
                continue
            span = blobs[-1].seq - blobs[0].seq
            if span < 10 or span > 520:
                run.info("jump %d: INVALID (feed %d span=%d, first_seq=%d last_seq=%d) — excluded from all "
                         "aggregations", j, f, span, blobs[0].seq, blobs[-1].seq)
                run.verdicts[j] = ("invalid", "span", f, span)
                invalid.append(j)
                break
    return invalid


def measure_jump(run, t, j):
    spans = [run.span(f, j) for f in FEEDS]
    here = [len(s) >= 2 for s in spans]
    first = [s[0].seq if s else 0 for s in spans]
    last = [s[-1].seq if s else 0 for s in spans]
    a01, a12 = run.align_01[j], run.align_12[j]
    off01 = a01.offset if a01.valid else 0
    off12 = a12.offset if a12.valid else 0

    frames = [0, 0, 0]
    for f in FEEDS:
        if here[f]:
            xs, fs = spans[f][-1].x - spans[f][0].x, i32(last[f] - first[f])
            if xs >= 100 and fs >= 10:
                frames[f] = tdiv(fs * COLUMNS, xs)
    t.frames[j] = frames

    before = [0, 0, 0]
    if run.feed_count == 1:
        before[1] = run.pad_before
    else:
        before[0] = 15
        if here[0] and here[1]:
            before[1] = max(15, i32(first[1] - (first[0] + off01) + 15))
        else:
            seen = [frames_of[0] for frames_of in t.frames.values() if frames_of[0] > 0]
            before[1] = (sum(seen) // len(seen) if seen else 130) + 15
        if here[0] and here[2]:
            both = off01 + off12 if a01.valid and a12.valid else 0
            before[2] = max(15, i32(first[2] - (first[0] + both) + 15))
        elif here[1] and here[2]:
            before[2] = i32(first[2] - (first[1] + off12) + before[1])
            if before[2] < 16:
                before[2] = 15
        else:
            before[2] = 300
    t.before[j] = before

    after = [0, 0, 0]
    if not run.active(2):
        after[1] = run.pad_after
    else:
        after = [15, 15, 15]
        if here[0] and here[1]:
            after[0] = max(15, i32(first[1] - (last[0] + off01) + 15))
        if here[1] and here[2]:
            after[1] = max(15, i32(first[2] - (last[1] + off12) + 15))
    t.after[j] = after

    if run.active(0) and t.trigger is None:
        jump_trigger(run, t, j, spans, here, off01, off12)
    if run.active(0) and here[0]:
        sample = None
        if t.trigger is not None and here[1]:
            sample = nearest_x(spans[1], t.trigger).seq - (first[0] + off01)
        elif here[2]:
            sample = first[2] - (first[0] + off01 + off12)
        elif here[1]:
            sample = last[1] - (first[0] + off01)
        if sample is not None and sample > 0:
            t.type1.append(sample)
    if run.active(0) and here[2]:
        type2_sample(run, t, j, spans, here, frames[2])


def align_word(record):
    """Metres decided when any pair of records stands behind the offset; the word has no effect."""
    return "meter" if record.pairs > 0 else "temporal"


def jump_trigger(run, t, j, spans, here, off01, off12):
    if here[0]:
        at = nearest_x(spans[0], 1728)
        if not here[1]:
            run.info("jump %d scene trigger: f0 x=%d at 90%%, no f1 data to map", j, at.x)
            return
        target = at.seq + off01
        hit = nearest_seq(spans[1], target)
        word = align_word(run.align_01[j])
        run.info("jump %d scene trigger (f0->f1): f0 x=%d (90%%=%d), f1 x=%d (align=%s, seq_diff=%d)", j, at.x, 1728,
                 hit.x, word, abs(hit.seq - target))
        t.columns.append(hit.x)
    elif here[1] and here[2]:
        hit = nearest_seq(spans[1], spans[2][0].seq - off12)
        word = align_word(run.align_12[j])
        run.info("jump %d scene trigger (f1+f2): f1 x=%d (align=%s)", j, hit.x, word)
        t.columns.append(hit.x)
    elif here[1]:
        run.info("jump %d scene trigger (f1 only): f1 first_x=%d", j, spans[1][0].x)
        t.columns.append(spans[1][0].x)
    elif here[2]:
        run.info("jump %d scene trigger (f2 only, est): x=%d", j, 1632)
        t.columns.append(1632)


def type2_sample(run, t, j, spans, here, frames):
    if t.bridge_f2 is None:
        if frames > 0:
            t.type2.append(frames)
        return
    gap = 0
    if here[1] and t.bridge_f1 > t.trigger:
        gap = max(0, i32(nearest_x(spans[1], t.bridge_f1).seq - nearest_x(spans[1], t.trigger).seq))
    portion = max(0, i32(spans[2][-1].seq - nearest_x(spans[2], t.bridge_f2).seq))
    if gap + portion > 0:
        t.type2.append(gap + portion)
        run.info("jump %d type2: f1_gap=%d + f2_portion=%d = %d", j, gap, portion, gap + portion)


def filter_outliers(run, t, valid, n):
    spans = []
    for j in valid:
        blobs = run.span(2, j)
        if len(blobs) >= 2:
            spans.append(blobs[-1].seq - blobs[0].seq)
    middle = sorted(spans)[len(spans) // 2] if spans else 0
    kept = []
    for j in valid:
        reason = outlier_reason(run, t, j, middle)
        if reason:
            run.verdicts[j] = ("outlier",) + reason
            run.info("jump %d: OUTLIER (filtered from aggregation)", j)
        else:
            kept.append(j)
    run.info("outlier filter: %d/%d jumps kept", len(kept), n)
    if not kept:
        run.info("outlier filter: all jumps filtered — keeping all")
        run.outliers_kept = 1
        return valid
    return kept


def outlier_reason(run, t, j, middle):
    blobs = run.span(2, j)
    if len(blobs) >= 2 and middle >= 1:
        span = blobs[-1].seq - blobs[0].seq
        if span < tdiv(middle, 2):
            return "short feed 2", 2, span
    for f in FEEDS:
        count = len(run.span(f, j))
        if 1 <= count <= 4:
            return "few records", f, count
    if j < len(t.columns) and t.columns[j] > 1500:
        return "trigger column", -1, t.columns[j]
    return None


def bounded(value):
    return clamp(value, 30, 520)


def aggregate(run, t, valid, kept):
    for f in FEEDS:
        positive = [t.frames[j][f] for j in kept if t.frames[j][f] > 0]
        mean = sum(positive) // len(positive) if positive else 0
        run.r_video[f] = bounded(mean + mean // 10) if positive else 100
    aggregate_paddings(run, t, kept)

    usable = [c for c in t.columns if c < 1500]
    if t.trigger is not None:
        run.r_trigger, word = t.trigger, "meter-based"
    elif usable:
        run.r_trigger, word = tdiv(sum(usable), len(usable)), "blob-based"
    else:
        run.r_trigger, word = 960, "fallback"
    run.r_type1 = 200
    if t.type1:
        run.r_type1 = bounded(i32(min(t.type1) - min(t.type1) // 10))
    positive = [t.frames[j][2] for j in kept if t.frames[j][2] > 0]
    if positive:
        mean = sum(positive) // len(positive)
        run.r_type2 = bounded(mean + mean // 10)
    elif t.type2:
        run.r_type2 = bounded(min(t.type2) - min(t.type2) // 10)
    else:
        run.r_type2 = 80
    run.info("aggregated: feed_video_frames=%d/%d/%d", *run.r_video)
    run.info("aggregated: frames_before=%d/%d/%d (max across non-outlier jumps)", *run.r_before)
    run.info("aggregated: frames_after=%d/%d/%d (90th percentile)", *run.r_after)
    run.info("aggregated: scene_trigger_x=%d (%s, %.1fm, type2_ref_x=%d)", run.r_trigger, word, t.trigger_meters,
             -1 if t.bridge_f2 is None else t.bridge_f2)
    run.info("aggregated: min_type1_frames=%d (%d samples), min_type2_frames=%d", run.r_type1, len(t.type1),
             run.r_type2)


def aggregate_paddings(run, t, kept):
    if run.feed_count == 1:
        run.r_before, run.r_after = [15, run.pad_before, 15], [15, run.pad_after, 15]
        return
    for f in FEEDS:
        middle = median([t.before[j][f] for j in kept])
        run.r_before[f] = clamp(middle + tdiv(middle, 10), 15, 520)
        ordered = sorted(t.after[j][f] for j in kept)
        run.r_after[f] = clamp(ordered[(9 * len(ordered)) // 10], 15, 520)
    if not run.active(0):
        run.r_before[1] = min(run.pad_before, 520)
        run.r_after[2] = min(run.pad_after, 520)


# ---------------------------------------------------------------- motion bands and noise caps


def motion_regions(run):
    for f in FEEDS:
        low, high, size = run.b_min[f], run.b_max[f], run.size_max[f]
        run.region_y0[f], run.region_y1[f] = 30, 529
        if size > 0 and low <= high:
            margin = clamp(tdiv((high - low) * 10, 100), 6, 24)
            run.region_y0[f], run.region_y1[f] = max(low - margin, 30), min(high + margin, 529)
        pixels = run.region_y1[f] - run.region_y0[f] + 1
        old0, old1, savings = 30, 529, 0
        if size >= 1:
            root = math.isqrt(size)
            old0, old1 = run.c_min[f] - root, run.c_max[f] + root
        old_pixels = old1 - old0 + 1
        if size >= 1 and old_pixels >= 1:
            savings = 100 - tdiv(pixels * 100, old_pixels)
        run.info("feed %d motion region: y=%d..%d (%d px) [old algo: y=%d..%d (%d px), savings=%d%%] (bbox_y=%d..%d, "
                 "centroid_y=%d..%d, max_size=%d, offset=%d)", f, run.region_y0[f], run.region_y1[f], pixels,
                 max(old0, 30), min(old1, 529), old_pixels, savings, low, high, run.c_min[f], run.c_max[f], size,
                 run.overlay[f])


def noise_caps(run):
    B, U, V = max(0, *run.size_max), max(0, *run.cum[1]), max(0, *run.cum[2])
    if B > 0:
        floor = tdiv(i32(3 * B), 2)
        run.caps = [i32(2 * B), i32(3 * B), max(i32(3 * U), floor), max(i32(3 * V), floor)]
    run.info("noise caps: max_blob_size=%d max_diff_y=%d max_diff_u=%d max_diff_v=%d (max_blob_across=%d, "
             "U_cum_max=%d, V_cum_max=%d)", *run.caps, B, U, V)


# ---------------------------------------------------------------- gaps between feeds

GAP_LOW, GAP_HIGH, GAP_MINIMUM = -30, 150, 3


def measure_gaps(run):
    if not run.active(0):
        run.info("auto_setup_measure_inter_feed_gaps: no-feed-0 mode — inter-feed gap measurement skipped (scene "
                 "change machinery requires feed 0)")
        return
    if run.case.logs[1] is None:
        run.warn("auto_setup: motion_debug_1.log not found — inter-feed gap measurement skipped")
        return
    collect_triggers(run)
    run.info("auto_setup: inter-feed gap measurement — collected %d f0/f1 samples and %d f0/f2 samples",
             len(run.triggers_01), len(run.triggers_02))
    gap_0(run)
    if not gap_1_alignment(run):
        gap_1_incremental(run)


def fire_seq(line):
    text = behind(line, "fire_seq=")
    match = re.match(r"\s*([+-]?\d+)", text) if text is not None else None
    return int(match.group(1)) if match else None


def collect_triggers(run):
    f1 = f2 = -1
    for line in pieces(run.case.logs[1], 512):
        if "movie_active 0->1" in line:
            f1 = f2 = -1
        elif "SCENE TRIGGER (f1)" in line:
            seq = fire_seq(line)
            f1 = f1 if seq is None else seq
        elif "SCENE TRIGGER (f2)" in line:
            seq = fire_seq(line)
            f2 = f2 if seq is None else seq
        elif "SCENE TRIGGER OVERRIDE (f0)" in line:
            seq = fire_seq(line)
            if seq is None:
                continue
            for pending, samples in ((f1, run.triggers_01), (f2, run.triggers_02)):
                if pending >= 0 and len(samples) < 256 and -999 <= seq - pending <= 999:
                    samples.append(seq - pending)
            f1 = f2 = -1


def store_gap(run, i, value, clean, deviation, method):
    run.gap[i], run.gap_valid[i], run.gap_samples[i], run.gap_mad[i] = value, 1, len(clean), deviation
    run.gap_method[i] = method


def gap_0(run):
    samples = run.triggers_01
    if len(samples) < GAP_MINIMUM:
        run.info("auto_setup: inter-feed gap[0] — %d samples (need >= %d) — setting preserved", len(samples),
                 GAP_MINIMUM)
        return
    clean, m, first, d = robust_median(samples, GAP_MINIMUM)
    if m is None:
        run.warn("auto_setup: inter-feed gap[0] only %d clean samples (need >= %d) — setting preserved", len(clean),
                 GAP_MINIMUM)
    elif not GAP_LOW <= m <= GAP_HIGH:
        run.warn("auto_setup: inter-feed gap[0] measured %d outside sanity band [%d, %d] — setting preserved", m,
                 GAP_LOW, GAP_HIGH)
    else:
        store_gap(run, 0, m, clean, d, 1)
        run.info("auto_setup: inter_feed_gap_frames[0] = %d (median of %d samples after outlier filter, initial "
                 "median=%d, MAD=%d)", m, len(clean), first, d)


def gap_1_alignment(run):
    for j in range(min(len(run.jumps[1]), len(run.jumps[2]))):
        one, two = run.span(1, j), run.span(2, j)
        if not run.align_12[j].valid or len(one) < 2 or len(two) < 2:
            continue
        d = two[0].seq - one[-1].seq - run.align_12[j].offset
        if -999 <= d <= 999:
            run.gap_alignment.append(d)
    run.info("auto_setup: inter-feed gap[1] alignment method — collected %d samples", len(run.gap_alignment))
    if len(run.gap_alignment) < GAP_MINIMUM:
        return False
    clean, m, first, d = robust_median(run.gap_alignment, GAP_MINIMUM)
    if m is None:
        return False
    if not GAP_LOW <= m <= GAP_HIGH:
        run.warn("auto_setup: gap[1] alignment-measured %d outside sanity band [%d, %d] — trying fallback", m,
                 GAP_LOW, GAP_HIGH)
        return False
    store_gap(run, 1, m, clean, d, 2)
    run.info("auto_setup: inter_feed_gap_frames[1] = %d (alignment method, median of %d clean samples, initial "
             "median=%d, MAD=%d)", m, len(clean), first, d)
    return True


def gap_1_incremental(run):
    samples = run.triggers_02
    if not run.gap_valid[0]:
        run.info("auto_setup: inter-feed gap[1] — skipped (gap[0] not valid; incremental calculation requires valid "
                 "gap[0])")
        return
    if len(samples) < GAP_MINIMUM:
        run.info("auto_setup: inter-feed gap[1] — %d samples (need >= %d) — setting preserved", len(samples),
                 GAP_MINIMUM)
        return
    clean, m, _, d = robust_median(samples, GAP_MINIMUM)
    if m is None:
        run.warn("auto_setup: inter-feed gap[1] only %d clean samples (need >= %d) — setting preserved", len(clean),
                 GAP_MINIMUM)
        return
    g = m - run.gap[0]
    if not GAP_LOW <= g <= GAP_HIGH:
        run.warn("auto_setup: inter-feed gap[1] incremental %d outside sanity band [%d, %d] — setting preserved", g,
                 GAP_LOW, GAP_HIGH)
        return
    store_gap(run, 1, g, clean, d, 3)
    run.info("auto_setup: inter_feed_gap_frames[1] = %d (incremental; f0->f2 median=%d minus gap[0]=%d, %d clean "
             "samples, MAD=%d)", g, m, run.gap[0], len(clean), d)


# ---------------------------------------------------------------- settings afterwards


def restore_range(run):
    match = re.match(r"\s*([+-]?\d+)" + r",\s*([+-]?\d+)" * 11, run.saved_range)
    if not match:
        run.error("auto_setup_restore_motion_range: failed to parse saved_motion_range")
        return
    numbers = [int(text) for text in match.groups()]
    keys = ("motion_start_x", "motion_start_y", "motion_end_x", "motion_end_y")
    for i, number in enumerate(numbers):
        run.out[keys[i % 4]][i // 4] = number


def apply_results(run):
    out = run.out
    for f in FEEDS:
        if not run.active(f):
            continue
        out["feed_video_frames"][f] = run.r_video[f]
        out["frames_before_first_blob"][f] = run.r_before[f]
        out["frames_after_last_blob"][f] = run.r_after[f]
        out["motion_start_y"][f] = max(run.region_y0[f], 1) + run.overlay[f]
        out["motion_end_y"][f] = min(run.region_y1[f], 538) + run.overlay[f]
        if run.region_end_x[f] > 0:
            out["motion_start_x"][f], out["motion_end_x"][f] = 0, run.region_end_x[f]
        if run.sync_valid[f]:
            out["feed_sync_offset"][f] = run.sync[f]
    run.info("auto setup: feed_sync_offset = [%d, %d, %d] (valid flags: %d, %d, %d)", *out["feed_sync_offset"],
             *run.sync_valid)
    if run.active(0):
        fraction = run.fraction
        if fraction < 0 or fraction > 1:
            fraction, column = f32(0.9), 1728
        else:
            column = clamp(int(f32(fraction * 1920.0)), 0, 1919)
        out["center_of_blob_scene_trigger"][0] = column
        run.info("auto setup: scene trigger threshold (feed 0 only) — [0]=%d (fraction=%.3f × FRAME_WIDTH=%d); [1] "
                 "and [2] no longer written (runtime uses frames-back)", column, fraction, 1920)
        out["min_type2_frames"] = run.r_type2
    for i in range(2):
        if run.gap_valid[i]:
            out["inter_feed_gap_frames"][i] = run.gap[i]
    run.info("auto setup: inter_feed_gap_frames = [%d, %d] (valid flags: %d, %d; samples: %d, %d)",
             *out["inter_feed_gap_frames"], *run.gap_valid, *run.gap_samples)
    if run.caps[0] > 0:
        out["max_blob_size"], out["max_diff_y"], out["max_diff_u"], out["max_diff_v"] = run.caps
        run.info("auto setup: noise caps applied — max_blob_size=%d, max_diff_y=%d, max_diff_u=%d, max_diff_v=%d",
                 *run.caps)
    run.info("auto setup: applied -- feed_video_frames=%d/%d/%d, frames_before=%d/%d/%d, frames_after=%d/%d/%d, "
             "scene_trigger_x=%d, min_type2=%d (min_type1 retired — pixel_frames carry pre-roll)",
             *out["feed_video_frames"], *out["frames_before_first_blob"], *out["frames_after_last_blob"],
             out["center_of_blob_scene_trigger"][0], out["min_type2_frames"])
    for f in FEEDS:
        run.info("  feed %d motion region: x=%d..%d, y=%d..%d", f, out["motion_start_x"][f], out["motion_end_x"][f],
                 out["motion_start_y"][f], out["motion_end_y"][f])


# ---------------------------------------------------------------- pixel-frame tables


def merge_jumps(run):
    reference = next((f for f in (1, 0, 2) if run.jumps[f]), None)
    merged = []
    if reference is None:
        return merged
    for start, count in run.jumps[reference][:60]:
        head, tail = run.blobs[reference][start], run.blobs[reference][start + count - 1]
        if count < 2 or head.ts == 0 or tail.ts == 0:
            continue
        jump = {reference: [start, start + count - 1]}
        for g in FEEDS:
            if g == reference:
                continue
            for at, n in run.jumps[g]:
                begin, end = run.blobs[g][at].ts, run.blobs[g][at + n - 1].ts
                if n < 2 or begin == 0 or end == 0:
                    continue
                if end + 50000 < head.ts or begin > tail.ts + 50000:
                    continue
                if g in jump:
                    jump[g] = [min(jump[g][0], at), max(jump[g][1], at + n - 1)]
                else:
                    jump[g] = [at, at + n - 1]
        merged.append(jump)
    return merged


def frame_curve(blobs):
    """One feed's frames over columns for a merged jump, and the number of samples behind it."""
    curve = [0.0] * COLUMNS
    measured = set()
    column_of = {}  # frame -> column of its first record
    samples = []
    for blob in blobs:
        t, column = i32(blob.seq - blobs[0].seq), clamp(blob.x, 0, COLUMNS - 1)
        curve[column] = float(f32(t))
        measured.add(column)
        column_of.setdefault(t, column)
        if len(samples) < 520:
            samples.append(t)
    if len(samples) < 4:
        return curve, len(samples)

    def put(column, value):
        if column not in measured:
            curve[column] = value

    for k in range(len(samples) - 3):
        a, b, c, d = (column_of[samples[k + i]] for i in range(4))
        if d == a:
            continue
        slope = fdiv(f32(samples[k + 3] - samples[k]), float(d - a))
        for column in range(min(b, c) + 1, max(b, c)):
            put(column, f32(curve[b] + f32(float(column - b) * slope)))
        if k == 0:
            for column in range(a):
                put(column, f32(curve[a] - f32(float(a - column) * slope)))
        if k == len(samples) - 4 and c < COLUMNS - 1:
            for column in range(max(b, c) + 1, COLUMNS):
                put(column, f32(curve[c] + f32(float(column - c) * slope)))
    return curve, len(samples)


def normalise_curve(curve, feed):
    if curve[0] < 0:
        lift = -curve[0]
        curve = [f32(value + lift) for value in curve]
    if feed == 2 and curve[-1] <= 0:
        for column in range(COLUMNS - 2, -1, -1):
            if curve[column] > 0:
                curve[column + 1:] = [curve[column]] * (COLUMNS - 1 - column)
                break
    return curve


def nearest_in_time(earlier, later, tolerance):
    """The record of `earlier` that is nearest in time to any of `later`."""
    best, found = 2**62, None
    for record in earlier:
        if record.ts == 0:
            continue
        for other in later:
            difference = abs(record.ts - other.ts)
            if difference <= tolerance and difference < best:
                best, found = difference, record
    return found


def rounded(value):
    return int(value + 0.5)


def populate_tables(run):
    tolerance = run.tolerance if run.tolerance > 0 else 8333
    merged = merge_jumps(run)
    run.merged = len(merged)
    run.info("pixel_frames_v2: merged %d cross-feed jumps", len(merged))
    if not merged:
        run.warn("pixel_frames_v2: no jumps merged, leaving pixel_frames untouched")
        return
    sums = [[0.0] * COLUMNS for _ in FEEDS]
    jumpers = 0
    total1 = total2 = 0.0
    for index, jump in enumerate(merged):
        spans = [run.blobs[f][jump[f][0]:jump[f][1] + 1] if f in jump else [] for f in FEEDS]
        curves, counts = zip(*(frame_curve(span) for span in spans))
        enough = sum(count >= 4 for count in counts)
        if enough < 3:
            run.info("pixel_frames_v2: jump %d — only %d/3 feeds have ≥4 blobs, skipping (feeds: %d/%d/%d, counts: "
                     "%d/%d/%d)", index, enough, *(f in jump for f in FEEDS), *counts)
            continue
        curves = [normalise_curve(curve, f) for f, curve in enumerate(curves)]
        at0 = nearest_in_time(spans[0], spans[1], tolerance)
        at1 = nearest_in_time(spans[1], spans[2], tolerance)
        if at0 is None or at1 is None:
            run.info("pixel_frames_v2: jump %d — no cross-feed alignment (ts tolerance %dus), skipping", index,
                     tolerance)
            continue
        offset1 = at0.seq - spans[0][0].seq
        offset2 = offset1 + at1.seq - spans[1][0].seq
        for f in FEEDS:
            sums[f] = [f32(a + b) for a, b in zip(sums[f], curves[f])]
        jumpers += 1
        total1 += offset1
        total2 += offset2
        run.info("pixel_frames_v2: jump %d accepted — offset_f1=%d offset_f2=%d (feed-0 relative)", index, offset1,
                 offset2)
    run.contributing = jumpers
    if not jumpers:
        run.warn("pixel_frames_v2: zero valid jumpers contributed, leaving pixel_frames untouched")
        return
    average1, average2 = total1 / jumpers, total2 / jumpers
    average = [[fdiv(value, float(jumpers)) for value in sums[f]] for f in FEEDS]
    # The mean offsets are double; only the sum is rounded to single.
    average[1] = [f32(value + average1) for value in average[1]]
    average[2] = [f32(value + average2) for value in average[2]]
    run.info("pixel_frames_v2: averaged across %d jumpers — avg_offset_f1=%.1f avg_offset_f2=%.1f", jumpers, average1,
             average2)
    bake(run, average)
    run.info("pixel_frames_v2: populated all three feeds from %d jumpers", jumpers)


def bake(run, average):
    pre, post = max(0, run.pre_pad), max(0, run.post_pad)
    run.frame_count = rounded(average[2][COLUMNS - 1])
    run.scene_x = 1727
    if 0 < run.fraction <= 1:
        run.scene_x = clamp(rounded(run.fraction * 1919.0), 0, COLUMNS - 1)
    run.switch2 = rounded(average[0][run.scene_x])
    run.info("pixel_frames_v2: frame_count=%d scene_x=%d switch2_frame=%d  baking pre_pad=%d post_pad=%d into tables",
             run.frame_count, run.scene_x, run.switch2, pre, post)
    run.tables = []
    for f in FEEDS:
        frames = [rounded(value) for value in average[f]]
        run.tables.append([(i32(pre + t), i32(run.switch2 - t), i32(run.frame_count + post - t)) for t in frames])
    run.populated = [1, 1, 1]


# ---------------------------------------------------------------- the whole


def analyze(run):
    run.phase = 1
    if interpolate(run) != 0:
        return -1
    run.phase = 3
    if parse_logs(run) != 0:
        return -1
    run.phase = 4
    segment(run)
    run.phase = 5
    align_feeds(run)
    run.phase = 6
    if calculate(run) != 0:
        return -1
    run.phase = 7
    measure_gaps(run)
    run.phase = 8
    return 0


def conclude(run):
    result = analyze(run)
    if result != 0:
        run.warn("auto setup: phase-11 analysis failed (rc=%d) — attempting Phase 12 pixel_frames populate", result)
    if run.restore:
        restore_range(run)
    if result == 0:
        apply_results(run)
    populate_tables(run)
    if result == 0:
        outcome = "applied"
        run.info("auto setup: settings saved")
    elif any(run.populated):
        outcome = "tables only"
        run.info("auto setup: settings saved (pixel_frames populated despite phase-11 failure)")
    else:
        outcome = "nothing"
        run.error("auto setup: analysis failed (rc=%d), pixel_frames also empty — no settings written", result)
    return outcome, result


def fnv(data):
    value = 0xCBF29CE484222325
    for byte in data:
        value = ((value ^ byte) * 0x100000001B3) % 2**64
    return "%016x" % value


def float_bits(value):
    return 0x7FC00000 if math.isnan(value) else struct.unpack("<I", struct.pack("<f", value))[0]


def float_text(value):
    return "nan" if math.isnan(value) else "%.3f:%08x" % (value, float_bits(value))


SAMPLE_COLUMNS = (0, 1, 333, 640, 960, 1280, 1599, 1727, 1728, 1918, 1919)


def blob_text(blob):
    return "%d,%d,%d,%d,%d,%d,%d,%s" % (blob.size, blob.x, blob.y, blob.first_y, blob.last_y, blob.seq, blob.ts,
                                        float_text(blob.meter))


def report(case):
    """Everything found, as the lines of NAME.expected."""
    run = Run(case)
    outcome, result = conclude(run)
    lines = []
    say = lambda name, *values: lines.append(" ".join([name] + [str(v) for v in values]))
    say("outcome", outcome)
    say("result", result)
    say("phase", run.phase)
    for f in FEEDS:
        say("meters[%d]" % f, run.grid[f], fnv(b"".join(struct.pack("<I", float_bits(v)) for v in run.meters[f])),
            *(float_text(run.meters[f][x]) for x in SAMPLE_COLUMNS))
    for f in FEEDS:
        say("blobs[%d]" % f, len(run.blobs[f]), run.capacity[f],
            fnv("\n".join(blob_text(b) for b in run.blobs[f]).encode()),
            *(blob_text(b) for b in run.blobs[f][:1] + run.blobs[f][-1:]))
        say("statistics[%d]" % f, run.c_min[f], run.c_max[f], run.b_min[f], run.b_max[f], run.size_max[f],
            run.cum[0][f], run.cum[1][f], run.cum[2][f])
        say("jumps[%d]" % f, len(run.jumps[f]), *("%d+%d" % span for span in run.jumps[f]))
    for name, records in (("align_01", run.align_01), ("align_12", run.align_12)):
        for j, r in enumerate(records):
            if r.valid:
                say("%s[%d]" % (name, j), r.offset, r.pairs, float_text(r.lo), float_text(r.hi))
    say("sync", *run.sync, *run.sync_valid)
    say("sync_trace", *run.meter_aligned, *run.align_median)
    for j, verdict in enumerate(run.verdicts):
        say("verdict[%d]" % j, *(verdict if verdict[1] != "none" else verdict[:1]))
    kinds = [verdict[0] for verdict in run.verdicts]
    say("verdicts", len(kinds), kinds.count("invalid"), kinds.count("outlier"), run.outliers_kept)
    say("video_frames", *run.r_video)
    say("frames_before", *run.r_before)
    say("frames_after", *run.r_after)
    say("trigger_x_type1_type2", run.r_trigger, run.r_type1, run.r_type2)
    say("regions", *("%d..%d" % band for band in zip(run.region_y0, run.region_y1)))
    say("caps", *run.caps)
    for i in range(2):
        say("gap[%d]" % i, run.gap_valid[i], run.gap[i], run.gap_samples[i], run.gap_mad[i],
            ("none", "triggers", "alignment", "incremental")[run.gap_method[i]])
    say("triggers_01", *run.triggers_01)
    say("triggers_02", *run.triggers_02)
    say("gap_alignment", *run.gap_alignment)
    for key in sorted(run.out):
        values = run.out[key]
        say(key, *(values if isinstance(values, list) else [values]))
    say("pixel_trace", run.merged, run.contributing, run.frame_count, run.scene_x, run.switch2)
    say("populated", *run.populated)
    tables = run.tables or [[(0, 0, 0)] * COLUMNS for _ in FEEDS]
    for f in FEEDS:
        rows = tables[f]
        say("table[%d]" % f, fnv(b"".join(struct.pack("<3i", *row) for row in rows)),
            *("%d,%d,%d" % rows[x] for x in SAMPLE_COLUMNS))
    return lines + run.log


def write_expected(folder):
    for name in sorted(os.listdir(folder)):
        if name.endswith(".case"):
            path = os.path.join(folder, name)
            with open(path[:-len(".case")] + ".expected", "w", encoding="utf-8", newline="\n") as out:
                out.write("\n".join(report(read_case(path))) + "\n")


def main(arguments):
    if arguments[:1] == ["--write"]:
        for folder in arguments[1:]:
            write_expected(folder)
        return 0
    for path in arguments:
        print("\n".join(report(read_case(path))))
    return 0 if arguments else 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
