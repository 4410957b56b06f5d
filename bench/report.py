# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""The table, the note in docs/ and its plot."""

import json
import math
import pathlib
import platform
import re

from stage import ROOT


def times(ours, other):
    """Of two pairs: by the clock, and of processor where that was measured."""
    processor = ours[1] / other[1] if ours[1] and other[1] else None
    return {"kind": "time", "ours": ours[0], "other": other[0], "processor": processor}


def sizes(ours, other):
    return {"kind": "size", "ours": ours, "other": other}


def counts(ours, other):
    return {"kind": "count", "ours": ours, "other": other}


def rates(ours, other):
    """Of answers a second."""
    return {"kind": "rate", "ours": ours, "other": other}


def shown(value, kind):
    if kind == "count":
        return str(value)
    if kind == "rate":
        return f"{value:,.0f} a second"
    if kind == "size":
        return f"{value / 2**20:.1f} MiB" if value >= 2**20 else f"{value / 2**10:.0f} KiB"
    for unit, factor in (("s", 1), ("ms", 1e3), ("us", 1e6)):
        if value * factor >= 1:
            return f"{value * factor:.3g} {unit}"
    return f"{value * 1e9:.3g} ns"


def machine():
    model = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())
    cores = len(re.findall(r"^processor", pathlib.Path("/proc/cpuinfo").read_text(), re.M))
    memory = int(re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())[1])
    return (f"{model[1] if model else platform.processor()}, {cores} cores, "
            f"{memory / 2**20:.0f} GiB of memory, {platform.system()} {'.'.join(platform.release().split('.')[:2])}")


def line(what, ours, against, other, ratio, limit, processor=None):
    target = "–" if limit is None else f"{limit:.2f}"
    busy = "–" if processor is None else f"{processor:.2f}"
    missed = " (missed)" if limit is not None and ratio > limit else ""
    return f"| {what} | {ours} | {against} | {other} | {ratio:.2f}{missed} | {busy} | {target} |"


class Results:
    """The last result of every row, kept in a file."""

    def __init__(self, file):
        self._file = file
        self._rows = json.loads(file.read_text()) if file.exists() else {}

    def add(self, name, result):
        self._rows[name] = result
        self._file.write_text(json.dumps(self._rows, indent=1))

    def table(self, names):
        lines = [machine(), "", "| what | ours | against | the other | ratio | of processor time | at most |",
                 "|---|---:|---|---:|---:|---:|---:|"]
        for name in (one for one in names if one in self._rows):
            one = self._rows[name]
            if "curves" in one:
                lines += [self._growth_line(curve, points, one["limit"])
                          for curve, points in one["curves"].items()]
                continue
            lines.append(line(one["what"], shown(one["ours"], one["kind"]), one["against"],
                              shown(one["other"], one["kind"]), one["ours"] / one["other"],
                              one["limit"], one.get("processor")))
        if "growth" in names and "growth" in self._rows:
            lines += ["", *self._growth_table(self._rows["growth"]["curves"])]
        return "\n".join(lines)

    @staticmethod
    def _growth_line(name, points, limit):
        (first, before), (last, after) = points[1], points[-1]
        return line(f"{name}, time a record at {last:,} records", shown(after, "time"),
                    f"at {first:,} records", shown(before, "time"), after / before, limit)

    @staticmethod
    def _growth_table(curves):
        lines = ["| time a record at | 1,000 | 10,000 | 100,000 | 1,000,000 |",
                 "|---|---:|---:|---:|---:|"]
        for name, points in curves.items():
            cells = [shown(value, "time") for _, value in points] + ["–"] * (4 - len(points))
            lines.append(f"| {name} | {' | '.join(cells)} |")
        return lines

    def write_note(self, names):
        note = ROOT / "docs" / "performance.md"
        begin, end = "<!-- table -->", "<!-- end of the table -->"
        head, rest = note.read_text().split(begin)
        tail = rest.split(end)[1]
        note.write_text(f"{head}{begin}\n{self.table(names)}\n{end}{tail}")
        if "growth" in self._rows:
            (ROOT / "docs" / "images" / "growth.svg").write_text(plot(self._rows["growth"]["curves"]))


WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 640, 360, 70, 20, 100, 50
COLOURS = ("#2f8f9d", "#c8553d", "#6a4c93")


def plot(curves):
    """The curves on two logarithmic axes: records, and nanoseconds a record."""
    values = [value * 1e9 for points in curves.values() for _, value in points]
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))

    def x(count):
        return LEFT + (math.log10(count) - 3) / 3 * (WIDTH - LEFT - RIGHT)

    def y(nanoseconds):
        return HEIGHT - BOTTOM - (math.log10(nanoseconds) - low) / (high - low) * (HEIGHT - TOP - BOTTOM)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
             'font-family="sans-serif" font-size="13">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#fff"/>',
             f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 8}" text-anchor="middle">'
             'records</text>',
             f'<text transform="translate(16 {(TOP + HEIGHT - BOTTOM) / 2}) rotate(-90)" '
             'text-anchor="middle">time a record</text>']
    for count in (1000, 10000, 100000, 1000000):
        parts.append(f'<path d="M{x(count):.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#ddd"/>'
                     f'<text x="{x(count):.1f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="middle">'
                     f'{count:,}</text>')
    for power in range(low, high + 1):
        parts.append(f'<path d="M{LEFT} {y(10**power):.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>'
                     f'<text x="{LEFT - 8}" y="{y(10**power) + 4:.1f}" text-anchor="end">'
                     f'{shown(10**power * 1.0001e-9, "time")}</text>')
    for colour, (name, points) in zip(COLOURS, curves.items()):
        spots = [(x(count), y(value * 1e9)) for count, value in points]
        path = "L".join(f"{a:.1f} {b:.1f}" for a, b in spots)
        parts.append(f'<path d="M{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{a:.1f}" cy="{b:.1f}" r="3.5" fill="{colour}"/>' for a, b in spots]
        parts.append(f'<text x="{spots[-1][0] + 10:.1f}" y="{spots[-1][1] + 4:.1f}" '
                     f'fill="{colour}">{name}</text>')
    return "\n".join(parts + ["</svg>", ""])
