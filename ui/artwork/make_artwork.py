#!/usr/bin/env python3
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
"""Makes update_bg.png and icon.ico, the two embedded files, from their drawings."""

import argparse
import base64
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
BACKGROUND_SIZE = 26274  # bytes; tests/ui/tst_resources.cpp pins both
ICON_SIZE = 24725
WRAPPER = '''<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}">
<image width="{width}" height="{height}" href="data:image/png;base64,{data}"/></svg>'''


class BadDrawing(Exception):
    pass


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def chunks(png):
    if not png.startswith(SIGNATURE):
        raise BadDrawing("not a PNG")
    at = len(SIGNATURE)
    while at < len(png):
        (length,) = struct.unpack_from(">I", png, at)
        yield png[at + 4:at + 8], png[at + 8:at + 8 + length]
        at += length + CHUNK_OVERHEAD


def paeth(left, up, corner):
    if left == up == corner:
        return left
    by_left, by_up = abs(up - corner), abs(left - corner)
    by_corner = abs(left + up - 2 * corner)
    if by_left <= by_up and by_left <= by_corner:
        return left
    return up if by_up <= by_corner else corner


def unfiltered(kind, line, previous, step):
    """Turns the `line` of a picture with `step` bytes a pixel back into its row, in place."""
    for x in range(len(line)):
        left, corner = (line[x - step], previous[x - step]) if x >= step else (0, 0)
        if kind == 1:
            line[x] = (line[x] + left) & 255
        elif kind == 2:
            line[x] = (line[x] + previous[x]) & 255
        elif kind == 3:
            line[x] = (line[x] + (left + previous[x]) // 2) & 255
        elif kind == 4:
            line[x] = (line[x] + paeth(left, previous[x], corner)) & 255
    return line


def pixels(png, width, height):
    """The rows of a picture of 8 bits a channel, as RGBA. The renderer leaves out a full alpha."""
    found = list(chunks(png))
    *header, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", found[0][1])
    if header != [width, height] or depth != 8 or colour not in (2, 6) or interlace:
        raise BadDrawing(f"the renderer gave no {width} x {height} RGB or RGBA of 8 bits")
    step = 3 if colour == 2 else PIXEL
    packed = zlib.decompress(b"".join(data for kind, data in found if kind == b"IDAT"))
    stride = width * step
    rows, previous = [], bytes(stride)
    for y in range(height):
        kind, *line = packed[y * (stride + 1):(y + 1) * (stride + 1)]
        previous = bytes(unfiltered(kind, line, previous, step))
        rows.append(previous if step == PIXEL else with_full_alpha(previous))
    return rows


def with_full_alpha(row):
    return b"".join(row[x:x + 3] + b"\xff" for x in range(0, len(row), 3))


def filtered(row, previous, kind):
    """The row as filter `kind` packs it: what differs from its prediction."""
    left, corner = bytes(PIXEL) + row[:-PIXEL], bytes(PIXEL) + previous[:-PIXEL]
    if kind == 0:
        return bytes([0]) + row
    if kind == 1:
        return bytes([1]) + bytes([(v - a) & 255 for v, a in zip(row, left)])
    if kind == 2:
        return bytes([2]) + bytes([(v - b) & 255 for v, b in zip(row, previous)])
    if kind == 3:
        return bytes([3]) + bytes([(v - (a + b) // 2) & 255
                                   for v, a, b in zip(row, left, previous)])
    return bytes([4]) + bytes([(v - paeth(a, b, c)) & 255
                               for v, a, b, c in zip(row, left, previous, corner)])


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
        raise BadDrawing(f"{CHUNK_OVERHEAD - room} bytes too big for a file of {size}: "
                         "draw it simpler (flat shapes, vertical gradients)")
    return ends[0] + chunk(FILL_CHUNK, bytes(room - CHUNK_OVERHEAD)) + body + ends[1], room


def wrapped(png, width, height):
    """A drawing that shows `png`, so that the renderer reads it, whatever form of PNG it is."""
    kind, header = next(chunks(png))
    found = struct.unpack_from(">II", header)
    if found != (width, height):
        raise BadDrawing(f"{found[0]} x {found[1]} pixels, but {width} x {height} are wanted")
    data = base64.b64encode(png).decode()
    return WRAPPER.format(width=width, height=height, data=data).encode()


def drawing_of(folder, name, width, height):
    """The drawing `name`.svg or `name`.png in `folder`, as SVG."""
    found = [path for path in (folder / f"{name}.svg", folder / f"{name}.png") if path.exists()]
    if len(found) != 1:
        raise BadDrawing(f"{folder} holds {len(found)} of {name}.svg and {name}.png: want one")
    drawing = found[0].read_bytes()
    return wrapped(drawing, width, height) if found[0].suffix == ".png" else drawing


def render(folder, name, width, height, size):
    try:
        png = subprocess.run(["rsvg-convert", "--width", str(width), "--height", str(height),
                              "--format", "png", "--unlimited"], check=True,
                             input=drawing_of(folder, name, width, height),
                             stdout=subprocess.PIPE).stdout
        encoded, room = encode(pixels(png, width, height), size)
    except (BadDrawing, subprocess.CalledProcessError) as error:
        sys.exit(f"make_artwork.py: {name}: {error}")
    except FileNotFoundError:
        sys.exit("make_artwork.py: rsvg-convert is missing (Debian: librsvg2-bin)")
    print(f"{name}: {size - room} of {size} bytes, the rest is filled up")
    return encoded


def icon(png):
    """A Windows icon file with the one 256 x 256 image `png`; a side of 256 is written as 0."""
    return struct.pack("<HHHBBBBHHII", 0, 1, 1, 0, 0, 0, 0, 1, 32, len(png), ICO_HEADER_SIZE) + png


def main():
    parser = argparse.ArgumentParser(
        description="Makes update_bg.png (556 x 341) and icon.ico (256 x 256), the two embedded "
        "files, from their drawings, update_bg and icon, each an SVG or a PNG of that size.",
        epilog="Both files have a fixed size in bytes, which a chunk of zeros in the PNG fills up; "
        "a drawing that needs more is refused. The same drawings give the same bytes on every run. "
        "Needs rsvg-convert.")
    parser.add_argument("--drawings", metavar="FOLDER", type=pathlib.Path, default=HERE,
                        help="where the drawings are (default: beside this script)")
    parser.add_argument("folder", metavar="FOLDER", type=pathlib.Path, nargs="?",
                        default=HERE.parent,
                        help="what gets both files (default: the folder above this script)")
    arguments = parser.parse_args()
    background = render(arguments.drawings, "update_bg", 556, 341, BACKGROUND_SIZE)
    image = render(arguments.drawings, "icon", 256, 256, ICON_SIZE - ICO_HEADER_SIZE)
    (arguments.folder / "update_bg.png").write_bytes(background)
    (arguments.folder / "icon.ico").write_bytes(icon(image))


if __name__ == "__main__":
    main()
