"""Shared helpers of the module's tests: the command line's binary, files written and
read independently of the module, and a synthetic picture."""
import os
import struct
import subprocess
import tempfile
import zlib

import numpy as np

BINARY = os.environ.get("LUMISK_BINARY", "lumisk")
EXAMPLE = os.environ.get("LUMISK_EXAMPLE", "")


def option_args(options):
    args = []
    for name, value in options.items():
        if value is True:
            args.append("--" + name)
        else:
            args += ["--" + name, str(value)]
    return args


def run_cli(image, options, output_format="binary", extra_files=None):
    """The bytes the command line writes to --output for the image and options."""
    with tempfile.TemporaryDirectory() as work:
        for name, data in (extra_files or {}).items():
            os.makedirs(os.path.dirname(os.path.join(work, name)), exist_ok=True)
            with open(os.path.join(work, name), "wb") as f:
                f.write(data)
        args = [BINARY, "--noErrorLog", "--outputFormat", output_format, "--output", "out"]
        args += option_args(options) + [os.path.abspath(image)]
        done = subprocess.run(args, cwd=work, capture_output=True, text=True)
        if done.returncode != 0:
            raise AssertionError("lumisk failed: %s\n%s" % (args, done.stdout[-2000:]))
        with open(os.path.join(work, "out"), "rb") as f:
            return f.read()


def parse_bindesc1(data):
    """Points and descriptors of a BINDESC1 file, read with struct and numpy only."""
    assert data[:8] == b"BINDESC1", data[:8]
    width, length, count, size = struct.unpack("<4i", data[16:32])
    assert size == 8
    points = np.frombuffer(data, "<f8", count * width, 32).reshape(count, width)
    descriptors = np.frombuffer(data, "<f8", count * length, 32 + 8 * count * width).reshape(count, length)
    return points, descriptors


def bindesc1(points, descriptors):
    points = np.asarray(points, "<f8")
    descriptors = np.asarray(descriptors, "<f8")
    header = b"BINDESC1CIRCLE  " + struct.pack("<4i", points.shape[1], descriptors.shape[1], len(points), 8)
    return header + points.tobytes() + descriptors.tobytes()


def png(pixels):
    """An 8-bit RGB PNG of an H x W x 3 uint8 array."""
    height, width, _ = pixels.shape

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    rows = b"".join(b"\0" + pixels[y].tobytes() for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def synthetic_image(height=96, width=128):
    """Smooth colour ramps with a few bright discs: corners and blobs at several scales."""
    y, x = np.mgrid[0:height, 0:width].astype(float)
    image = np.stack([x * 255 / width, y * 255 / height, (x + y) * 127 / (width + height)], axis=2)
    for cy, cx, r in ((30, 40, 8), (60, 90, 12), (70, 25, 5)):
        disc = (y - cy) ** 2 + (x - cx) ** 2 < r * r
        image[disc] = (250, 240, 30)
    return np.ascontiguousarray(image.astype(np.uint8))


def raw_array(kind, width, height, payload):
    """A version 1 binary raw array: its header padded to 200 bytes, then the values."""
    header = "version: 1, binary: 1, type: %s, elemSize: 1, width: %d, height: %d, nr: 1" % (kind, width, height)
    return header.encode().ljust(200, b"\0") + payload


def forest_table(rows):
    """A table file of random trees: one (code word, dimension, threshold) per node, each
    tree in preorder, -1 as the code word of an inner node."""
    inner = 0x8000000000000000
    words = [0] * len(rows) + [inner if cw == -1 else cw for cw, _, _ in rows]
    values = [float(v) for _, d, t in rows for v in (d, t)]
    header = ("tavlintableversion: 2, columns: 2, size: %d\ncolumn1: object\ncolumn2: values\n" % len(rows))
    return (header.encode().ljust(1024, b"\0") + b"#" * 128
            + raw_array("uint64", len(rows), 2, struct.pack("<%dQ" % len(words), *words))
            + raw_array("real64", 2, len(rows), struct.pack("<%dd" % len(values), *values)))
