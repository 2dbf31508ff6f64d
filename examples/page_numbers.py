#!/usr/bin/env python3
"""The numbers of the page of charts, computed from JSON lines: cells, and the values of all series.

    tvk-decode -f jsonl drive.qmdl | examples/page_numbers.py

It shares nothing with the page but docs/formats/page.md, which says what each series shows."""
import json
import math
import re
import sys
from collections import defaultdict
from datetime import datetime
from pathlib import Path

PAGE = Path(__file__).resolve().parents[1] / "docs/formats/page.md"
SERIES = re.findall(r"^\| (.+?) \| (.+?) \| `(.+?)` \| `(.+?)` \| (.*?) ?\|$", PAGE.read_text(), re.MULTILINE)
BITS = {"QPSK": 2, "16QAM": 4, "64QAM": 6, "256QAM": 8}
SHOWN_AS = {"": lambda value: value, "percentage of 0": lambda value: 100 if value == 0 else 0,
            "value + 1": lambda value: value + 1, "bits per symbol": BITS.get, "bytes, as a rate": lambda value: value}


def microseconds(text):
    return round(datetime.fromisoformat(text.strip(" Z") + "+00:00").timestamp() * 1e6)


def read(lines):
    """Modems count from 1980 until they know the time; such records are not shown."""
    records = map(json.loads, lines)
    return [{**record, "us": microseconds(record["time"])} for record in records if record["time"] > "1990"]


def figures(values):
    """Mean, 5th, 50th and 95th percentile."""
    def covering(percent):
        return sorted(values)[math.ceil(len(values) * percent / 100) - 1]
    return [sum(values) / len(values), covering(5), covering(50), covering(95)] if values else [""] * 4


def duration(seconds):
    whole = math.floor(seconds + 0.5)
    return f"{seconds:.1f} s" if seconds < 60 else f"{whole // 3600:02}:{whole // 60 % 60:02}:{whole % 60:02}"


def cells(records):
    """The rows of the table of cells. The time between two records of a radio belongs to the cell of the first."""
    found, last = {}, {}
    for record in records:
        channel = "dl_earfcn" if "dl_earfcn" in record else "ssb_nr_arfcn"
        if channel not in record or "scc" in record["name"]:
            continue
        technology = "LTE" if channel == "dl_earfcn" else "NR"
        key = (record["radio"], technology, record["pci"], record[channel])
        cell = found.setdefault(key, {"us": 0, "visits": 0, "told": [""] * 5, "levels": ([], [], [])})
        before, then = last.get(key[:2], (key, record["us"]))
        cell["visits"] += before != key or key[:2] not in last
        found[before]["us"] += max(0, record["us"] - then)
        last[key[:2]] = key, record["us"]
        for levels, column in zip(cell["levels"], ("rsrp_rx", "rsrq", "snr_rx")):
            antennas = [value for name, value in record.items() if name.startswith(column) and value is not None]
            levels += [max(antennas)] if antennas else []
        if "cell_identity" in record:
            network = f"{record['mcc']:03}-{record['mnc']:0{record['num_mnc_digits']}}"
            cell["told"] = [record["band"], record["dl_bandwidth_MHz"], record["cell_identity"], record["tac"], network]
    return [[*key, *cell["told"], duration(cell["us"] / 1e6), cell["visits"], *sum(map(figures, cell["levels"]), [])]
            for key, cell in found.items()]


def series(records):
    """Values with their time in ms by chart and label; not of series that compare a record with the one before."""
    by_name = defaultdict(list)
    for record in records:
        by_name[record["name"]].append(record)
    found = defaultdict(lambda: defaultdict(list))
    for chart, label, name, column, how in SERIES:
        if how.startswith(("growth", "time since")):
            continue
        for chain in "0123" if "#" in column else "#":
            for record in by_name[name]:
                for part in record.get("reports", [record]):
                    value = part.get(column.replace("#", chain))
                    if value is not None:
                        shown = SHOWN_AS[how](value)
                        found[chart][label.replace("#", chain)].append((record["us"] // 1000, shown))
    return found


def buckets(chart, width, first, last):
    """Of all series of a chart as (time, label, count, least, mean, greatest), within a window of time."""
    for label, values in chart.items():
        inside = defaultdict(list)
        for time, value in values:
            inside[time // width * width].append(value)
        for time in sorted(inside):
            if first <= time + width and time <= last:
                some = inside[time]
                yield time, label, len(some), min(some), sum(some) / len(some), max(some)


if __name__ == "__main__":
    drive = read(sys.stdin)
    for row in cells(drive):
        print(*row, sep="\t")
    for title, chart in series(drive).items():
        for _, *row in buckets(chart, 1 << 60, 0, 1 << 60):
            print(title, *row, sep="\t")
