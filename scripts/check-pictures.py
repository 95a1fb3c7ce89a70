#!/usr/bin/env python3
"""Checks that PNG files show a picture: each exists, decodes (8-bit RGB or RGBA, not interlaced)
and is not one flat colour (all black included). Exits 1 naming the first file that fails.

    scripts/check-pictures.py FILE.png...
"""
import struct
import sys
import zlib

# The least spread between the darkest and the brightest byte of a picture.
MIN_SPREAD = 32


def pixels(path):
    with open(path, "rb") as f:
        data = f.read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("not a PNG file")
    pos, idat, header = 8, b"", None
    while pos + 8 <= len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    if not header:
        raise ValueError("no IHDR chunk")
    width, height, depth, colour, _, _, interlace = header
    if depth != 8 or colour not in (2, 6) or interlace:
        raise ValueError("not 8-bit RGB or RGBA, not interlaced")
    bpp = 3 if colour == 2 else 4
    stride = width * bpp
    raw = zlib.decompress(idat)
    if len(raw) < height * (stride + 1):
        raise ValueError("cut short")
    rows, prev = [], bytearray(stride)
    for y in range(height):
        kind = raw[y * (stride + 1)]
        row = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for x in range(stride):
            a = row[x - bpp] if x >= bpp else 0
            b = prev[x]
            c = prev[x - bpp] if x >= bpp else 0
            if kind == 1:
                row[x] = (row[x] + a) & 255
            elif kind == 2:
                row[x] = (row[x] + b) & 255
            elif kind == 3:
                row[x] = (row[x] + (a + b) // 2) & 255
            elif kind == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                row[x] = (row[x] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append(row)
        prev = row
    return width, height, rows


def main(paths):
    if not paths:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    for path in paths:
        try:
            width, height, rows = pixels(path)
        except (OSError, ValueError, zlib.error) as error:
            print(f"check-pictures: {path}: {error}", file=sys.stderr)
            return 1
        spread = max(max(row) for row in rows) - min(min(row) for row in rows)
        if spread < MIN_SPREAD:
            print(f"check-pictures: {path}: {width} x {height}, one flat colour: no picture", file=sys.stderr)
            return 1
        print(f"{path}: {width} x {height}, a picture")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
