#!/usr/bin/env python3
"""Makes up practice runs, plausible and nasty ones, for auto_setup_reference.py to work out.

    auto_setup_cases.py --fixtures                remakes the committed cases in tests/data/auto_setup, and what is
                                                  expected of them
    auto_setup_cases.py --random FIRST COUNT DIR  writes COUNT cases from the seeds FIRST.. into DIR, with expectations;
                                                  ORVEK_AUTO_SETUP_CASES=DIR then has the unit test
                                                  AutoSetupReference read DIR instead of the committed cases

The same seed gives the same case. Python is needed only to remake them, never to run the tests.
"""

import os
import random
import sys

import auto_setup_reference as reference

FRAME_US = 16667


class Camera:
    def __init__(self, metre_at_0, metres_per_column):
        self.metre_at_0, self.metres_per_column = metre_at_0, metres_per_column

    def column(self, metres):
        return round((metres - self.metre_at_0) / self.metres_per_column)


class Maker:
    """One case in the making. `traits` switch the nastier habits on."""

    def __init__(self, seed, **traits):
        self.random = random.Random(seed)
        self.traits = traits
        self.settings = {}
        self.logs = {0: [], 1: [], 2: []}

    def trait(self, name, chance, value=True):
        """What the case asks for, else `value` by chance."""
        if name in self.traits:
            return self.traits[name]
        return value if self.random.random() < chance else None

    def build(self):
        r = self.random
        self.feed_count = self.traits.get("feed_count", r.choice([3, 3, 3, 3, 2, 1]))
        self.common_settings()
        self.cameras()
        self.grids()
        self.play()
        self.spoil()
        return self

    def common_settings(self):
        r, s = self.random, self.settings
        s["feed_count"] = self.feed_count
        s["movie_padding_before_frames"] = r.choice([60, 0, 30, 300, r.randrange(300)])
        s["movie_padding_after_frames"] = r.choice([60, 0, 45, 600, r.randrange(300)])
        s["min_blob_sizes[0]"] = self.traits.get("min_size", r.choice([50, 50, 80, 200]))
        s["blob_match_tolerance_us"] = self.traits.get("tolerance", r.choice([8333, 8333, 0, 1000, 20000]))
        s["pre_movie_padding_frames"] = r.choice([10, 0, -3, r.randrange(60)])
        s["post_movie_padding_frames"] = r.choice([10, 0, -3, r.randrange(60)])
        s["scene_trigger_f0_fraction"] = self.traits.get("fraction", r.choice([0.9, 0.9, 0.5, 0.75, 1.0, 1.2, 0, -0.5,
                                                                              round(r.random(), 3)]))
        for f in range(3):
            s["overlay_frame_offsets[%d]" % f] = r.choice([0, 0, 12, -7])
            s["feed_video_frames[%d]" % f] = 130 - f
            s["frames_before_first_blob[%d]" % f] = 21 + f
            s["frames_after_last_blob[%d]" % f] = 31 + f
            for i, key in enumerate(("motion_start_x", "motion_start_y", "motion_end_x", "motion_end_y")):
                s["%s[%d]" % (key, f)] = (3, 41, 1801, 502)[i] + f
            s["feed_sync_offset[%d]" % f] = (7, 0, -9)[f]
            s["center_of_blob_scene_trigger[%d]" % f] = 900 + f
        s["inter_feed_gap_frames[0]"], s["inter_feed_gap_frames[1]"] = 17, 19
        s["min_type2_frames"] = 125
        for i, key in enumerate(("max_blob_size", "max_diff_y", "max_diff_u", "max_diff_v")):
            s[key] = 5000 + i
        if r.random() < 0.85:
            s["*saved_motion_range"] = ",".join(str(r.randrange(600)) for _ in range(12))
        else:
            s["*saved_motion_range"] = r.choice(["", "1,2,3", "1,2,3,4,5,6,7,8,9,10,11", "a,b"])
        s["case.restore"] = int(r.random() < 0.7)
        if r.random() < 0.15:
            s["case.populated[%d]" % r.randrange(3)] = 1
        if r.random() < 0.3:
            for f in range(3):
                s["case.region_end_x[%d]" % f] = r.choice([1919, 1439, 959])

    def cameras(self):
        r = self.random
        width = [r.uniform(14, 26) for _ in range(3)]
        start = r.uniform(20, 50)
        self.camera = []
        for f in range(3):
            self.camera.append(Camera(start, width[f] / 1920))
            start += width[f] - self.traits.get("overlap", r.choice([4, 2, 1, 0.5, -1, -4, 6]))

    def grids(self):
        r, s = self.random, self.settings
        bare = self.traits.get("no_grid", [f for f in range(3) if r.random() < 0.12])
        falling = self.traits.get("falling", [f for f in range(3) if r.random() < 0.06])
        for f in range(3):
            camera = self.camera[f]
            step = r.choice([5, 5, 2, 3])
            first = int(camera.metre_at_0) + r.randrange(0, 4)
            count = max(2, int(1920 * camera.metres_per_column) // step)
            s["meter_line_count[%d]" % f] = count if f not in bare else r.choice([0, 1, count])
            s["meter_line_start[%d]" % f] = first if f not in falling else first + count * step
            s["meter_line_increment[%d]" % f] = step if f not in falling else -step
            if f in bare and s["meter_line_count[%d]" % f] == count:
                continue  # all lines unset
            for line in range(count):
                column = camera.column(first + line * step)
                skew = r.randrange(-40, 41)
                if self.trait("equal_columns", 0.02) and line in (0, count - 2):
                    column = camera.column(first + (line + 1) * step)
                    skew = 40
                if self.trait("unset_lines", 0.05) and 0 < line < count - 1:
                    continue
                s["@far[%d][%2d]" % (f, line)] = "%d,%d" % (column + skew, 100 + r.randrange(50))
                s["@near[%d][%2d]" % (f, line)] = "%d,%d" % (column - skew + r.randrange(2), 400 + r.randrange(50))
            if self.trait("shuffled", 0.04):
                self.swap_lines(f, count)

    def swap_lines(self, f, count):
        s = self.settings
        for side in ("far", "near"):
            keys = ["@%s[%d][%2d]" % (side, f, line) for line in (0, count - 1)]
            if all(key in s for key in keys):
                s[keys[0]], s[keys[1]] = s[keys[1]], s[keys[0]]

    def play(self):
        """Lets the jumpers pass the cameras and writes what the detectors see."""
        r = self.random
        jumpers = self.traits.get("jumpers", r.randrange(3, 13))
        self.base = [r.randrange(50, 500) + r.choice([0, 0, 10**6]) for _ in range(3)]
        offset = self.traits.get("offsets", [r.choice([0, 3, -4, 12, -20, 55, 70]) for _ in range(3)])
        self.base = [b0 + o for b0, o in zip([self.base[1]] * 3, offset)]
        self.phase = [r.randrange(-4000, 4001) for _ in range(3)]
        self.stride = self.traits.get("stride", r.choice([1, 2, 3, 4, 5]))
        self.no_ts = self.trait("no_ts", 0.05)
        self.bare_lines = self.trait("bare_lines", 0.08)
        self.triggers = self.traits.get("triggers", r.random() < 0.8)
        self.trigger_noise = r.choice([0, 1, 3])
        self.gap_truth = (r.randrange(0, 40), r.randrange(40, 160))
        self.speed = self.traits.get("speed", r.uniform(0.28, 0.55))  # metres per frame
        time = 100
        restart_at = self.traits.get("restart", r.randrange(1, 12) if r.random() < 0.12 else None)
        for j in range(jumpers):
            if j == restart_at:
                time = r.choice([0, 20, time // 2])
            self.jumper(j, time)
            time += int(60 / self.speed) + self.traits.get("pause", r.choice([80, 150, 400, 900]))

    def jumper(self, j, start):
        r = self.random
        speed = self.speed * r.uniform(0.9, 1.1)
        if self.trait("slow_jumper", 0.03):
            speed /= r.choice([4, 12])
        missing = self.traits.get("missing", [f for f in range(3) if r.random() < 0.04])
        if isinstance(missing, dict):
            missing = missing.get(j, [])
        edge = self.camera[0].metre_at_0
        height = r.choice([180, 220, 260, 300])
        for f in range(3):
            if f in missing:
                continue
            short = self.traits.get("short", {}).get(j) if "short" in self.traits else None
            if short is None and "short" not in self.traits and r.random() < 0.04:
                short = (r.randrange(3), r.choice([1, 1, 2, 3, 4, 5]))
            self.pass_camera(f, start, speed, edge, height, short[1] if short and short[0] == f else None)
        if self.triggers:
            self.trigger_lines(j, start)

    def pass_camera(self, f, start, speed, edge, height, only):
        r = self.random
        camera = self.camera[f]
        enter = (camera.metre_at_0 - edge) / speed
        leave = (camera.metre_at_0 + 1920 * camera.metres_per_column - edge) / speed
        frame = int(enter) + 1 + r.randrange(0, 3)
        written = 0
        while frame < leave - r.randrange(0, 3):
            if only is not None and written == only:
                break
            x = camera.column(edge + speed * frame) + r.randrange(-2, 3)
            y = height + int(60 * (frame - enter) / max(1.0, leave - enter)) + r.randrange(-5, 6) + 20 * f
            size = r.randrange(60, 900)
            self.record(f, start + frame, size, x, y)
            written += 1
            if r.random() < 0.05:
                self.noise(f, start + frame)
            stride = self.stride
            if isinstance(stride, dict):
                stride = stride[f]
            frame += max(1, stride + r.randrange(-1, 2))
            if self.trait("dropout", 0.004):
                frame += r.choice([50, 61, 62, 70])

    def record(self, f, frame, size, x, y):
        r = self.random
        seq = self.base[f] + frame
        ts = "-" if self.no_ts else str(10**9 + frame * FRAME_US + self.phase[f] + r.randrange(-300, 301))
        words = ["r", str(seq), ts, str(size), str(x)]
        if not self.bare_lines:
            half = r.randrange(4, 20)
            words += [str(y), str(y - half), str(y + half)]
            if r.random() < 0.15:
                words += [str(r.randrange(1500)), str(r.randrange(700)), str(r.randrange(300))]
        self.logs[f].append(" ".join(words))

    def noise(self, f, frame):
        """Lines that are no blob lines, or of no use."""
        r = self.random
        seq = self.base[f] + frame
        whole = "blob0_x=%d blob0_y=99 blob0_first_y=1 blob0_last_y=1070" % r.randrange(1920)
        self.logs[f].append("=" + r.choice([
            "feed %d seq=%d ts=77 type=0 blobs=3 blob0_sz=900 %s" % (f, seq, whole),
            "feed %d seq=%d ts=77 blobs=0 blob0_sz=900 %s" % (f, seq, whole),
            "feed %d seq=%d ts=77 type=1 blobs=1 blob0_sz=12 %s" % (f, seq, whole),
            "feed %d seq=%d ts=77 type=1 blobs=1 blob0_sz=700 blob0_y=200" % (f, seq),
            "feed %d seq=%d ts=77 type=1 blobs=1 blob0_sz=700 %s" % ((f + 1) % 3, seq, whole),
            "frame %d no motion, queue=3" % seq,
            "",
            "feed %d type=1 blob0_sz=700 %s" % (f, whole),
            "seq=%d type=1 blob0_sz=700 %s" % (seq, whole),
            "blob0_x=%d blob0_sz=%d seq=%d ycum=1,2,3 ucum=1,2,3,%d vcum=9,9,x,9 feed %d" % (
                r.randrange(-20, 2500), r.randrange(900), seq, r.randrange(900), f),
            "blob0_sz=+444junk feed %d seq=%d ts=%d blob0_x=500 blob0_y=-3 ycum= 1, 2, 3, 1600" % (
                f, seq, 10**9 + frame * FRAME_US),
            "feed %d seq=%d " % (f, seq) + "." * r.choice([480, 1000, 1100]) + " type=1 blob0_sz=300 " + whole,
        ]))

    def trigger_lines(self, j, start):
        r = self.random
        log = self.logs[1]
        at = self.base[1] + start + 40
        gap1, gap2 = self.traits.get("gaps", self.gap_truth)
        jitter = lambda: r.randrange(-self.trigger_noise, self.trigger_noise + 1)
        if r.random() < 0.06:
            gap1 += r.choice([300, -80, 990])
        if r.random() < 0.7:
            log.append("=movie_active 0->1 seq=%d" % at)
        if r.random() < 0.93:
            log.append("=SCENE TRIGGER (f1) x=640 fire_seq=%d" % at)
        if r.random() < 0.9:
            log.append("=SCENE TRIGGER (f2) fire_seq=%d x=640" % (at + gap1 - gap2 - jitter()))
        roll = r.random()
        if roll < 0.03:
            log.append("=movie_active 0->1")
        elif roll < 0.06:
            log.append("=SCENE TRIGGER (f1) fire_seq=none")
        elif roll < 0.09:
            log.append("=SCENE TRIGGER OVERRIDE (f0) fire_seq=?")
        elif roll < 0.12:
            log.append("=SCENE TRIGGER (f1)" + "." * 520 + "fire_seq=5")
        if r.random() < 0.95:
            log.append("=SCENE TRIGGER OVERRIDE (f0) fire_seq=%d" % (at + gap1 + jitter()))

    def spoil(self):
        for f in self.traits.get("empty_logs", []):
            self.logs[f] = []
        missing = self.traits.get("missing_logs", [f for f in range(3) if self.random.random() < 0.02])
        for f in missing:
            self.logs[f] = None
        self.settings.update(self.traits.get("settings", {}))

    def text(self, remark):
        lines = ["# " + remark]
        lines += ["%s=%s" % item for item in self.settings.items()]
        for f in range(3):
            if self.logs[f] is not None:
                lines.append("[log %d]" % f)
                lines += self.logs[f]
        return "\n".join(lines) + "\n"


def by_hand(seed, rows, **traits):
    """A case whose records are all given: rows of (feed, seq, ts, x) or literal (feed, "=text")."""
    maker = Maker(seed, **dict(traits, jumpers=0)).build()
    for row in rows:
        if isinstance(row[1], str):
            maker.logs[row[0]].append(row[1])
        else:
            f, seq, ts, x = row
            maker.logs[f].append("r %d %d %d %d %d %d %d" % (seq, ts, 300 + seq % 50, x, 250, 240, 262))
    return maker


class Wild(Maker):
    """No jumpers at all, only rows that keep to the form: ties, steps back, columns anywhere, odd grid lines."""

    def grids(self):
        r, s = self.random, self.settings
        for f in range(3):
            s["meter_line_count[%d]" % f] = count = r.choice([0, 1, 2, 2, 3, 4, 6, 30])
            s["meter_line_start[%d]" % f] = r.choice([0, 35, r.randrange(-50, 100)])
            s["meter_line_increment[%d]" % f] = r.choice([5, 5, 1, 0, -5, r.randrange(-40, 40)])
            columns = [r.randrange(-500, 2500) for _ in range(r.choice([2, 4, 30]))]
            for line in range(count):
                if r.random() < 0.9:
                    x = r.choice(columns)
                    s["@far[%d][%2d]" % (f, line)] = "%d,%d" % (x + r.randrange(2), r.randrange(3))
                    s["@near[%d][%2d]" % (f, line)] = "%d,%d" % (x, r.randrange(3))
        s["scene_trigger_f0_fraction"] = r.choice([0.9, round(r.random(), 4), 0.0003, 1])

    def play(self):
        r = self.random
        self.triggers = False
        jumps = r.choice([1, 3, 5, 8, 24])
        clock = 10**6
        seq = [r.randrange(100) for _ in range(3)]
        slope = r.choice([1, 8, 40, 130])
        for _ in range(jumps):
            for f in range(3):
                seq[f] += r.choice([0, 5, 61, 100, 100, 300, -400])
                self.wild_jump(f, seq, clock, slope)
            clock += r.choice([1, 50, 200]) * 10**4
        for _ in range(r.choice([0, 0, 8, 30, 700])):
            self.logs[1].append("=" + r.choice([
                "movie_active 0->1", "SCENE TRIGGER (f1) fire_seq=%d", "SCENE TRIGGER (f1) fire_seq=%d",
                "SCENE TRIGGER (f2) fire_seq=%d", "SCENE TRIGGER OVERRIDE (f0) fire_seq=%d",
                "SCENE TRIGGER OVERRIDE (f0) fire_seq=%d", "SCENE TRIGGER (f1) SCENE TRIGGER OVERRIDE (f0) fire_seq=%d",
            ]).replace("%d", str(r.choice([r.randrange(60), r.randrange(-40, 1200)]))))

    def wild_jump(self, f, seq, clock, slope):
        r = self.random
        x = r.choice([0, 5, 900, r.randrange(-50, 2000)])
        tick = r.choice([0, 1000, 16667, 16667, 16667])
        start = seq[f]
        for _ in range(r.choice([1, 2, 4, 5, 8, 12, 12, 20, 30])):
            ts = "-" if r.random() < 0.02 else str(clock + (seq[f] - start) * tick + f * r.choice([0, 2000]))
            words = [str(seq[f]), ts, str(r.choice([300, 300, r.randrange(1, 400)])), str(x)]
            words += [str(r.randrange(500)) for _ in range(r.choice([0, 1, 3, 6]))]
            row = "r " + " ".join(words)
            if r.random() < 0.03:
                row = "=" + self.mangled(reference.expand_record(f, words))
            self.logs[f].append(row)
            seq[f] += r.choice([1, 1, 2, 3, 5, 5, 9, r.choice([0, -3, 55, 60, 61])])
            x += r.choice([slope, slope, slope + 3, r.randrange(-30, 60)])

    def mangled(self, line):
        r = self.random
        at = r.randrange(len(line))
        return line[:at] + r.choice(["", " ", "-", "9", "x", "  ", "seq=", "feed "]) + line[at + r.randrange(3):]


def passes(feed_paths, count=8):
    """Rows for jumps given as (feed, first seq, last seq, first x, last x)."""
    rows = []
    for f, first, last, x0, x1 in feed_paths:
        for i in range(count):
            seq = first + (last - first) * i // (count - 1)
            rows.append((f, seq, 10**9 + seq * FRAME_US, x0 + (x1 - x0) * i // (count - 1)))
    return rows


def three_feed_jumps(spans_of_feed_2, between=1000, count=12):
    paths = []
    for j, span in enumerate(spans_of_feed_2):
        t = 1000 + j * between
        paths += [(0, t, t + 60, 0, 1900), (1, t + 50, t + 110, 0, 1900), (2, t + 105, t + 105 + span, 0, 1900)]
    return passes(paths, count)


def two_lines(feed, first, metres, second, increment):
    """Settings of a feed with two grid lines."""
    settings = {"meter_line_count[%d]" % feed: 2, "meter_line_start[%d]" % feed: metres,
                "meter_line_increment[%d]" % feed: increment}
    for line, column in ((0, first), (1, second)):
        settings["@far[%d][%2d]" % (feed, line)] = "%d,100" % column
        settings["@near[%d][%2d]" % (feed, line)] = "%d,400" % column
    return settings


def straddling(log, text, digits, at, size):
    """A line whose `digits` are cut by the end of a buffer of `size` bytes, `at` of them before the cut."""
    pad = size - 1 - at - len(text)
    log.append("=" + "." * pad + text + digits)


PLAIN = dict(no_grid=[], falling=[], equal_columns=None, unset_lines=None, shuffled=None, missing=[], short={},
             no_ts=None, bare_lines=None, slow_jumper=None, dropout=None, restart=None, missing_logs=[], fraction=0.9,
             tolerance=8333, stride=3, overlap=4)


def plain(**changes):
    traits = dict(PLAIN)
    traits.update(changes)
    return traits


def triggers(pairs):
    rows = [(1, "=movie_active 0->1")]
    for f1, f2, f0 in pairs:
        if f1 is not None:
            rows.append((1, "=SCENE TRIGGER (f1) fire_seq=%d" % f1))
        if f2 is not None:
            rows.append((1, "=SCENE TRIGGER (f2) fire_seq=%d" % f2))
        rows.append((1, "=SCENE TRIGGER OVERRIDE (f0) fire_seq=%d" % f0))
    return rows


def fixtures():
    """(name, what it is about, maker)."""
    out = []
    add = lambda name, remark, maker: out.append((name, remark, maker.build() if not maker.settings else maker))
    make = lambda seed, **t: Maker(seed, **plain(**t))
    add("three_feeds", "Three feeds, everything as it should be", make(1, feed_count=3, jumpers=6, stride=2,
                                                                       offsets=[4, 0, -6]))
    add("three_feeds_no_overlap", "The cameras see no metre in common", make(2, feed_count=3, jumpers=5, overlap=-4))
    add("three_feeds_far_apart", "Sync offsets beyond the sanity limit", make(3, feed_count=3, jumpers=5, overlap=5,
                                                                             offsets=[70, 0, 80]))
    add("two_feeds", "Feeds 1 and 2", make(4, feed_count=2, jumpers=6, overlap=4))
    add("two_feeds_stale_log", "Two feeds, an old log of feed 0 with short jumps lies there",
        make(5, feed_count=2, jumpers=6, overlap=4, short={1: (0, 3), 3: (0, 2)}))
    add("one_feed", "Feed 1 alone, the other logs missing", make(6, feed_count=1, jumpers=5, missing_logs=[0, 2]))
    add("one_feed_stale_logs", "Feed 1 alone, old logs of the others lie there", make(7, feed_count=1, jumpers=5))
    add("no_grid_0", "Feed 0 without grid lines: triggers per jump", make(8, feed_count=3, jumpers=6, no_grid=[0]))
    add("no_grid_1", "Feed 1 without grid lines", make(9, feed_count=3, jumpers=5, no_grid=[1]))
    add("no_grid_2", "Feed 2 without grid lines", make(10, feed_count=3, jumpers=5, no_grid=[2]))
    add("no_grid_at_all", "No feed has grid lines: the analysis fails at once",
        make(11, feed_count=3, jumpers=4, no_grid=[0, 1, 2]))
    add("falling_metres", "Feed 1's metres fall along the picture", make(12, feed_count=3, jumpers=5, falling=[1]))
    add("equal_columns", "Two grid lines on one column: a division by zero",
        make(13, feed_count=3, jumpers=4, equal_columns=True))
    add("unset_lines", "Only the first and the last line are set", make(14, feed_count=3, jumpers=4, unset_lines=True))
    add("shuffled_lines", "First and last line swapped", make(15, feed_count=3, jumpers=4, shuffled=True))
    add("missing_in_feed_0", "Feed 0 misses two jumpers: the jumps shift",
        make(16, feed_count=3, jumpers=6, missing={1: [0], 4: [0]}))
    add("missing_feed_0_jumps", "Feed 0 saw nobody", make(17, feed_count=3, jumpers=5, missing=[0]))
    add("missing_feed_0_no_grid", "Feed 0 saw nobody and there is no metre trigger",
        make(18, feed_count=3, jumpers=5, missing=[0], no_grid=[0]))
    add("missing_feed_2_jumps", "Feed 2 saw nobody: no complete jump", make(19, feed_count=3, jumpers=4, missing=[2]))
    add("missing_feed_1_log", "Feed 1's log is missing", make(20, feed_count=3, jumpers=4, missing_logs=[1]))
    add("missing_all_logs", "No log at all", make(21, feed_count=3, jumpers=1, missing_logs=[0, 1, 2]))
    add("empty_logs", "Three empty logs", make(22, feed_count=3, jumpers=1, empty_logs=[0, 1, 2]))
    add("empty_logs_tables_kept", "Three empty logs, but tables from an earlier run",
        make(23, feed_count=3, jumpers=1, empty_logs=[0, 1, 2], settings={"case.populated[1]": 1}))
    add("all_below_minimum", "Every blob is smaller than the minimum",
        make(24, feed_count=3, jumpers=3, min_size=900))
    add("no_time_stamps", "Old logs without time stamps", make(25, feed_count=3, jumpers=4, no_ts=True))
    add("no_rows", "Records without rows", make(26, feed_count=3, jumpers=4, bare_lines=True))
    add("restart", "The practice video loops, frame numbers start again", make(27, feed_count=3, jumpers=8, restart=4))
    add("loop_to_0", "A loop in the middle of two jumps", make(28, feed_count=3, jumpers=5, restart=2, pause=80))
    add("short_jumps", "Jumps of few records: outliers",
        make(29, feed_count=3, jumpers=7, short={1: (2, 4), 3: (1, 3), 5: (0, 4)}))
    add("single_records", "Jumps of one record", make(30, feed_count=3, jumpers=6, short={0: (0, 1), 2: (1, 1),
                                                                                        4: (2, 1)}))
    add("single_record_feed_2_no_grid", "Feed 2 has one record of some jumps, no metre trigger",
        make(31, feed_count=3, jumpers=6, no_grid=[1], short={0: (2, 1), 3: (2, 1)}))
    add("all_outliers", "Every jump is an outlier, so all are kept",
        make(32, feed_count=3, jumpers=4, short={j: (1, 4) for j in range(4)}))
    add("slow_jumpers", "Every jumper takes too long: the analysis fails",
        make(33, feed_count=3, jumpers=3, speed=0.02, stride=40))
    add("all_single_records", "Jumps of one record everywhere",
        by_hand(34, [(f, 100 + 200 * j + 30 * f, 10**9 + (100 + 200 * j + 30 * f) * FRAME_US, 500 + 30 * j)
                     for f in range(3) for j in range(4)], **plain(feed_count=3)))
    add("jumpers_25", "25 jumpers: the last five are dropped", make(35, feed_count=3, jumpers=25, stride=6,
                                                                   pause=150))
    add("span_bounds", "Feed-2 spans of 9, 10, 520 and 521 frames, two of five invalid",
        by_hand(36, three_feed_jumps([9, 10, 520, 521, 60], 2000), **plain(feed_count=3)))
    add("too_many_invalid", "Three of five jumps are invalid",
        by_hand(37, three_feed_jumps([9, 60, 521, 3, 60], 2000), **plain(feed_count=3)))
    add("half_invalid", "Two of four jumps are invalid, which is still allowed",
        by_hand(38, three_feed_jumps([9, 60, 521, 60], 2000), **plain(feed_count=3, no_grid=[0])))
    add("short_in_feed_2", "A feed-2 span below half of the usual",
        by_hand(39, three_feed_jumps([80, 39, 40, 80, 82]), **plain(feed_count=3)))
    add("trigger_columns", "Per-jump triggers right of 1500 and one invalid jump shifting the list",
        by_hand(40, passes([(0, 1000, 1060, 0, 1900), (1, 1050, 1110, 0, 1900), (2, 1105, 1165, 0, 1900),
                            (0, 2000, 2005, 0, 1900), (1, 2050, 2110, 0, 1900), (2, 2105, 2165, 0, 1900),
                            (0, 3000, 3060, 0, 1900), (1, 3002, 3052, 0, 1900), (2, 3105, 3165, 0, 1900),
                            (0, 4000, 4060, 0, 1900), (1, 4050, 4110, 0, 1900), (2, 4105, 4165, 0, 1900),
                            (0, 5000, 5060, 0, 90), (1, 5050, 5110, 0, 99), (2, 5105, 5165, 0, 100)]),
                **plain(feed_count=3, no_grid=[1])))
    add("backward_jump", "The jumper runs right to left in feed 2",
        by_hand(41, passes([(f, 1000 * j + 50 * f, 1000 * j + 50 * f + 60, 1900 if f == 2 else 0, 0 if f == 2 else 1900)
                            for j in range(1, 5) for f in range(3)]), **plain(feed_count=3)))
    add("standing_blob", "The same column over a whole jump", by_hand(
        42, passes([(f, 1000 * j + 50 * f, 1000 * j + 50 * f + 60, 700, 700) for j in range(1, 4) for f in range(3)]),
        **plain(feed_count=3)))
    add("outside_columns", "Columns left and right of the picture", by_hand(
        43, passes([(f, 1000 * j + 50 * f, 1000 * j + 50 * f + 60, -300, 2500) for j in range(1, 5)
                    for f in range(3)]), **plain(feed_count=3)))
    base = three_feed_jumps([60, 62, 58, 61])
    for i, (name, remark, pairs) in enumerate((
            ("gap_outlier", "One trigger pair far off", [(1000, None, 1012), (2000, None, 2013), (3000, None, 3012),
                                                         (4000, None, 4014), (5000, None, 5080)]),
            ("gap_too_few", "Two trigger pairs only", [(1000, 900, 1012), (2000, 1900, 2013), (None, 2900, 3012)]),
            ("gap_bounds", "Differences of 999 and 1000 frames", [(1000, 990, 1999), (1000, 990, 2000),
                                                                  (1000, 2010, 1011), (1000, None, 1)]),
            ("gap_150", "150 frames, just allowed", [(1000, 700, 1150), (2000, 1700, 2150), (3000, 2700, 3150)]),
            ("gap_151", "151 frames, too many", [(1000, 700, 1151), (2000, 1700, 2151), (3000, 2700, 3151)]),
            ("gap_minus_30", "30 frames the other way, just allowed", [(1000, 970, 970)] * 4),
            ("gap_minus_31", "31 frames the other way, too many", [(1000, 970, 969)] * 4),
            ("gap_scattered", "Samples so scattered that few are left", [(1000, None, 1000), (1000, None, 1001),
                                                                         (1000, None, 1900), (1000, None, 200)]))):
        add(name, remark, by_hand(50 + i, base + triggers(pairs), **plain(feed_count=3, triggers=False)))
    two = passes([(f, 1000 * j + 50 * f, 1000 * j + 50 * f + 60, 0, 1900) for j in range(1, 3) for f in range(3)])
    add("gap_incremental", "Two jumps only, so gap 1 comes from the triggers", by_hand(
        60, two + triggers([(1000, 972, 1012), (2000, 1972, 2012), (3000, 2971, 3012)]),
        **plain(feed_count=3, triggers=False)))
    add("gap_incremental_outside", "The same, outside the band", by_hand(
        61, two + triggers([(1000, 772, 1012), (2000, 1772, 2012), (3000, 2771, 3012)]),
        **plain(feed_count=3, triggers=False)))
    add("gap_incremental_few", "The same with two pairs for feed 2", by_hand(
        62, two + triggers([(1000, 972, 1012), (2000, 1972, 2012), (3000, None, 3012)]),
        **plain(feed_count=3, triggers=False)))
    add("gap_0_not_clean", "Three pairs, one of them thrown out, two are too few", by_hand(
        63, two + triggers([(1000, 972, 1000), (2000, 1972, 2001), (3000, 2971, 3100)]),
        **plain(feed_count=3, triggers=False)))
    add("gap_1_not_clean", "The same for the pairs of feed 2", by_hand(
        64, two + triggers([(1000, 1000, 1012), (2000, 2001, 2012), (3000, 2901, 3012)]),
        **plain(feed_count=3, triggers=False)))
    add("one_feed_saw_nobody", "Feed 1 alone and nobody came by", make(80, feed_count=1, jumpers=3, empty_logs=[1]))
    add("no_common_metre_1_2", "Feeds 1 and 2 see no metre in common, feeds 0 and 1 nearly",
        make(81, feed_count=3, jumpers=4, overlap=-1))
    add("steep_grid_2", "20 metres a column in feed 2: no column near the common metre",
        make(82, feed_count=3, jumpers=3, settings={
            "meter_line_count[2]": 2, "meter_line_start[2]": 11, "meter_line_increment[2]": 40,
            "@far[2][ 0]": "958,100", "@near[2][ 0]": "958,400", "@far[2][ 1]": "960,100", "@near[2][ 1]": "960,400"}))
    lone = lambda f, seq: [(f, seq, 10**9 + seq * FRAME_US, 640)]
    path = lambda f, seq: passes([(f, seq, seq + 60, 0, 1900)])
    add("seen_by_one_feed", "Jumps that only one or two feeds really saw, no metre trigger", by_hand(
        83, lone(0, 1000) + path(1, 1050) + lone(2, 1105) + lone(0, 2000) + lone(1, 2050) + path(2, 2105) +
        path(0, 3000) + lone(1, 3050) + path(2, 3105) + lone(0, 4000) + lone(1, 4050) + lone(2, 4105) +
        lone(0, 5000) + path(1, 5050) + path(2, 5105) + path(0, 6000) + path(1, 6050) + path(2, 6105) +
        path(0, 7000) + path(1, 7050) + lone(2, 7105) + path(0, 8000) + lone(1, 8050) + lone(2, 8105),
        **plain(feed_count=3, no_grid=[0])))
    add("seen_by_one_feed_metres", "The same with a metre trigger", by_hand(
        84, lone(0, 1000) + path(1, 1050) + lone(2, 1105) + lone(0, 2000) + lone(1, 2050) + path(2, 2105) +
        path(0, 3000) + lone(1, 3050) + path(2, 3105) + path(0, 7000) + path(1, 7050) + lone(2, 7105),
        **plain(feed_count=3)))
    cut = by_hand(85, base + triggers([(1000, 990, 1012), (2000, 1990, 2013), (3000, 2990, 3012)]),
                  **plain(feed_count=3, triggers=False))
    straddling(cut.logs[0], "feed 0 seq=4900 blob0_sz=300 blob0_y=200 blob0_x=", "123456", 4, 1024)
    cut.logs[1].append("=SCENE TRIGGER (f1) fire_seq=4000")
    straddling(cut.logs[1], "SCENE TRIGGER OVERRIDE (f0) fire_seq=", "404099", 4, 512)
    add("cut_lines", "Numbers cut by the end of the line buffers", cut)
    rows = [(0, 1000 + 5 * i, 10**9 + 10000 * i, 100 * i) for i in range(6)]
    rows += [(1, 1100 + 5 * i, 10**9 + 100000 + 10000 * i, 100 * i) for i in range(6)]
    rows += [(2, 1200 + 5 * i, 10**9 + 200000 + 10000 * i, 100 * i) for i in range(6)]
    rows += [(0, 2000 + 5 * i, 2 * 10**9 + 10000 * i, 100 * i) for i in range(6)]
    rows += [(1, 2100 + 5 * i, 2 * 10**9 + 100001 + 10000 * i, 100 * i) for i in range(6)]
    rows += [(2, 2200 + 5 * i, 2 * 10**9 + 200002 + 10000 * i, 100 * i) for i in range(6)]
    add("time_slack", "Passages 50,000 us apart belong together, 50,001 do not", by_hand(86, rows,
                                                                                       **plain(feed_count=3)))
    rows = [(f, 5000 * j + 20 * f + i, 10**9 + (5000 * j + 20 * f + i) * FRAME_US, 10 + (7 * i) // 2)
            for j in (1,) for f in range(3) for i in range(530)]
    same = dict(two_lines(0, 0, 40, 1920, 20), **two_lines(1, 0, 40, 1920, 20), **two_lines(2, 0, 40, 1920, 20))
    add("long_jump", "530 records of one jump, more than are paired and sampled",
        by_hand(87, rows, **plain(feed_count=3, settings=same)))
    for name, f1, first, f2 in (("trigger_5_m", 45, 0, 20), ("bridge_2_8_m", 45, 20, 42), ("bridge_3_m", 44, 0, 41)):
        grid = dict(two_lines(0, 0, 0, 1728, 40), **two_lines(1, first, f1, 1920, 20))
        grid.update(two_lines(2, 960, f2, 961, 10))
        maker = by_hand(88, base, **plain(feed_count=3, settings=grid))
        add(name, "Distances at the bound of what still counts as the same metre", maker)
    add("scene_fraction_above_1", "A scene fraction of 1.2", make(70, feed_count=3, jumpers=3, fraction=1.2))
    add("scene_fraction_zero", "A scene fraction of 0", make(71, feed_count=3, jumpers=3, fraction=0))
    for seed in range(1, 13):
        add("wild_%d" % seed, "No jumpers, only rows that keep to the form (seed %d)" % seed, Wild(seed))
    for seed in range(1, 9):
        add("mixed_%d" % seed, "Anything may happen (seed %d)" % seed, Maker(seed, jumpers=4 + seed % 3, stride=3))
    return out


def write_cases(folder, cases):
    os.makedirs(folder, exist_ok=True)
    for name, remark, maker in cases:
        with open(os.path.join(folder, name + ".case"), "w", encoding="utf-8", newline="\n") as out:
            out.write(maker.text(remark))
    reference.write_expected(folder)


def main(arguments):
    if arguments == ["--fixtures"]:
        folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "auto_setup")
        for name in os.listdir(folder) if os.path.isdir(folder) else []:
            os.remove(os.path.join(folder, name))
        write_cases(folder, fixtures())
        return 0
    if len(arguments) == 4 and arguments[0] == "--random":
        first, count = int(arguments[1]), int(arguments[2])
        write_cases(arguments[3], [("seed_%06d" % seed, "seed %d" % seed, (Wild if seed % 2 else Maker)(seed).build())
                                   for seed in range(first, first + count)])
        return 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
