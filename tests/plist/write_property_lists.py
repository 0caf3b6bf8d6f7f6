#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes random property lists for the reader's tests.

    write_property_lists.py FOLDER COUNT SEED

Each value becomes FOLDER/NUMBER.xml and FOLDER/NUMBER.bplist; FOLDER/expected has one line a file,
its name and its value in the notation of the tests' dump() with a tab between.
"""
import datetime
import plistlib
import random
import struct
import sys
from pathlib import Path

EPOCH = datetime.datetime(2001, 1, 1)
# What XML allows and keeps as it is; a carriage return would come back as a line feed.
CHARACTER_RANGES = [(0x20, 0x7E)] * 6 + [
    (0x09, 0x0A), (0xA0, 0xFF), (0x100, 0x7FF), (0x800, 0xD7FF), (0xE000, 0xFFFD), (0x10000, 0x10FFFF)]


def text(rng):
    length = rng.choice([0, 1, 5, 5, 8, 14, 15, 16, 40])
    is_ascii = rng.random() < 0.6
    ranges = CHARACTER_RANGES[:7] if is_ascii else CHARACTER_RANGES
    return "".join(chr(rng.randint(*rng.choice(ranges))) for _ in range(length))


def integer(rng):
    bits = rng.choice([1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 62, 63, 64])
    number = rng.getrandbits(bits)
    return -number if bits < 64 and rng.random() < 0.4 else number


def real(rng):
    if rng.random() < 0.5:
        return round(rng.uniform(-1000, 1000), rng.randint(0, 6))
    number = struct.unpack(">d", rng.randbytes(8))[0]
    return 0.1 + 0.2 if number != number else number


def scalar(rng):
    kind = rng.randrange(8)
    if kind < 3:
        return text(rng)
    if kind == 3:
        return integer(rng)
    if kind == 4:
        return real(rng)
    if kind == 5:
        return rng.random() < 0.5
    if kind == 6:
        return EPOCH + datetime.timedelta(seconds=rng.randint(-30_000_000_000, 30_000_000_000))
    return rng.randbytes(rng.choice([0, 1, 2, 3, 14, 15, 40]))


def value(rng, depth):
    if depth == 0 or rng.random() < 0.5:
        return scalar(rng)
    size = rng.choice([0, 1, 1, 2, 2, 3, 3, 4, 14, 15, 16])
    if rng.random() < 0.5:
        return [value(rng, depth - 1) for _ in range(size)]
    return {text(rng): value(rng, depth - 1) for _ in range(size)}


def quoted(string):
    plain = lambda byte: 0x20 <= byte <= 0x7E and byte not in b'"\\'
    encoded = (chr(byte) if plain(byte) else f"\\x{byte:02x}" for byte in string.encode())
    return '"' + "".join(encoded) + '"'


def dump(item):
    if isinstance(item, bool):
        return "true" if item else "false"
    if isinstance(item, int):
        return str(item)
    if isinstance(item, float):
        return f"{item:.17g}r"
    if isinstance(item, str):
        return quoted(item)
    if isinstance(item, bytes):
        return f"<{item.hex()}>"
    if isinstance(item, datetime.datetime):
        return f"date {(item - EPOCH).total_seconds():.17g}"
    if isinstance(item, list):
        return "[" + ",".join(map(dump, item)) + "]"
    return "{" + ",".join(f"{quoted(key)}={dump(item[key])}" for key in sorted(item)) + "}"


def main():
    folder, count, rng = Path(sys.argv[1]), int(sys.argv[2]), random.Random(int(sys.argv[3]))
    with open(folder / "expected", "w", encoding="ascii") as expected:
        for number in range(count):
            item = value(rng, 3)
            for suffix, form in (("xml", plistlib.FMT_XML), ("bplist", plistlib.FMT_BINARY)):
                name = f"{number:05}.{suffix}"
                (folder / name).write_bytes(plistlib.dumps(item, fmt=form, sort_keys=True))
                expected.write(f"{name}\t{dump(item)}\n")


if __name__ == "__main__":
    main()
