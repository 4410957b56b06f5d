#!/usr/bin/env python3
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
"""Makes update_bg.png and icon.ico from the drawings beside this script.

usage: make_artwork.py [FOLDER]    FOLDER gets both files; the default is the folder above this one

Needs rsvg-convert (librsvg2-bin) and Python's standard library. Both files have a fixed size in
bytes, which a chunk of zeros in the PNG fills up, and are the same on every run.
"""

import pathlib
import struct
import subprocess
import sys
import zlib

HERE = pathlib.Path(__file__).resolve().parent
SIGNATURE = b"\x89PNG\r\n\x1a\n"
FILL_CHUNK = b"fiLl"  # ancillary, private, safe to copy
CHUNK_OVERHEAD = 12
PIXEL = 4  # bytes: red, green, blue, alpha
ICO_HEADER_SIZE = 22


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def chunks(png):
    if not png.startswith(SIGNATURE):
        raise ValueError("not a PNG")
    at = len(SIGNATURE)
    while at < len(png):
        (length,) = struct.unpack_from(">I", png, at)
        yield png[at + 4:at + 8], png[at + 8:at + 8 + length]
        at += length + CHUNK_OVERHEAD


def paeth(left, up, corner):
    estimate = left + up - corner
    distances = (abs(estimate - left), abs(estimate - up), abs(estimate - corner))
    return (left, up, corner)[distances.index(min(distances))]


def prediction(kind, left, up, corner):
    """What filter `kind` expects at a byte with these neighbours."""
    return (0, left, up, (left + up) // 2, paeth(left, up, corner) if kind == 4 else 0)[kind]


def pixels(png, width, height):
    """The rows of a picture of 8 bits a channel, as RGBA. The renderer leaves out a full alpha."""
    found = list(chunks(png))
    *header, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", found[0][1])
    if header != [width, height] or depth != 8 or colour not in (2, 6) or interlace:
        raise ValueError(f"want {width} x {height} RGB or RGBA of 8 bits, not interlaced")
    step = 3 if colour == 2 else PIXEL
    packed = zlib.decompress(b"".join(data for kind, data in found if kind == b"IDAT"))
    stride = width * step
    rows, previous = [], bytes(stride)
    for y in range(height):
        kind, *line = packed[y * (stride + 1):(y + 1) * (stride + 1)]
        for x in range(stride):
            left, corner = (line[x - step], previous[x - step]) if x >= step else (0, 0)
            line[x] = (line[x] + prediction(kind, left, previous[x], corner)) & 255
        previous = bytes(line)
        rows.append(previous if step == PIXEL else with_full_alpha(previous))
    return rows


def with_full_alpha(row):
    return b"".join(row[x:x + 3] + b"\xff" for x in range(0, len(row), 3))


def filtered(row, previous, kind):
    left, corner = bytes(PIXEL) + row[:-PIXEL], bytes(PIXEL) + previous[:-PIXEL]
    return bytes([kind]) + bytes((value - prediction(kind, a, b, c)) & 255
                                 for value, a, b, c in zip(row, left, previous, corner))


def packings(rows):
    """The picture packed in every way worth trying: one filter throughout, or the flattest a row."""
    ways = [[] for _ in range(6)]
    previous = bytes(len(rows[0]))
    for row in rows:
        lines = [filtered(row, previous, kind) for kind in range(5)]
        lines.append(min(lines, key=lambda line: sum(min(v, 256 - v) for v in line[1:])))
        for way, line in zip(ways, lines):
            way.append(line)
        previous = row
    for way in ways:
        for strategy in (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED, zlib.Z_RLE):
            packer = zlib.compressobj(9, zlib.DEFLATED, 15, 9, strategy)
            yield packer.compress(b"".join(way)) + packer.flush()


def encode(rows, size):
    """A PNG of exactly `size` bytes that holds the rows and nothing else."""
    header = struct.pack(">IIBBBBB", len(rows[0]) // PIXEL, len(rows), 8, 6, 0, 0, 0)
    ends = SIGNATURE + chunk(b"IHDR", header), chunk(b"IEND", b"")
    body = chunk(b"IDAT", min(packings(rows), key=len))
    room = size - len(ends[0]) - len(body) - len(ends[1])
    if room < CHUNK_OVERHEAD:
        raise ValueError(f"the picture is {CHUNK_OVERHEAD - room} bytes too large: draw it simpler")
    print(f"{room} of {size} bytes to fill")
    return ends[0] + chunk(FILL_CHUNK, bytes(room - CHUNK_OVERHEAD)) + body + ends[1]


def render(drawing, width, height, size):
    png = subprocess.run(["rsvg-convert", "--width", str(width), "--height", str(height),
                          "--format", "png", str(HERE / drawing)],
                         check=True, stdout=subprocess.PIPE).stdout
    return encode(pixels(png, width, height), size)


def icon(png):
    """A Windows icon file with the one 256 x 256 image `png`; a side of 256 is written as 0."""
    return struct.pack("<HHHBBBBHHII", 0, 1, 1, 0, 0, 0, 0, 1, 32, len(png), ICO_HEADER_SIZE) + png


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else HERE.parent
    (folder / "update_bg.png").write_bytes(render("update_bg.svg", 556, 341, 26274))
    (folder / "icon.ico").write_bytes(icon(render("icon.svg", 256, 256, 24725 - ICO_HEADER_SIZE)))


if __name__ == "__main__":
    main()
