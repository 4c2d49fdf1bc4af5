"""Shared fixtures of the fenrak Python tests: a fresh network, the source
tree's folders, and a PNG reader (the tests need no imaging package)."""
import os
import struct
import zlib

import numpy as np
import pytest

import fenrak

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
SAMPLES = os.path.join(ROOT, "data", "samples")


@pytest.fixture
def net():
    with fenrak.Network() as network:
        yield network


def _unfilter(kind, line, previous, bpp):
    out = bytearray(line)
    for i in range(len(out)):
        left = out[i - bpp] if i >= bpp else 0
        up = previous[i]
        corner = previous[i - bpp] if i >= bpp else 0
        if kind == 1:
            out[i] = (out[i] + left) & 255
        elif kind == 2:
            out[i] = (out[i] + up) & 255
        elif kind == 3:
            out[i] = (out[i] + (left + up) // 2) & 255
        elif kind == 4:
            p = left + up - corner
            pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
            out[i] = (out[i] + (left if pa <= pb and pa <= pc else up if pb <= pc else corner)) & 255
    return out


def read_png(path):
    """An 8-bit RGBA, non-interlaced PNG as an (h, w, 4) uint8 array."""
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    pos, idat = 8, b""
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        chunk = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", chunk)
            assert (depth, colour, interlace) == (8, 6, 0)
        elif kind == b"IDAT":
            idat += chunk
        pos += 12 + length
    raw = zlib.decompress(idat)
    stride = width * 4
    rows, previous = [], bytearray(stride)
    for y in range(height):
        line = raw[y * (stride + 1):(y + 1) * (stride + 1)]
        previous = _unfilter(line[0], line[1:], previous, 4)
        rows.append(bytes(previous))
    return np.frombuffer(b"".join(rows), dtype=np.uint8).reshape(height, width, 4)
