#!/usr/bin/env python3
"""Seeds for the growth measurements of bench/run.

  seed.py fill-store PATH        use every free slot of the store at PATH
  seed.py registry PATH COUNT    a registry file whose system-tag record
                                 holds COUNT tags (in its list attribute)

Store layout: 8192 bytes, u16 version at 0, 28 slots of 282 bytes at 282 * i
(i = 1..28): u16 name length in bytes, 22 bytes of UTF-16LE name, u16 data
length, 256 bytes of data. All little-endian.
"""
import struct
import sys

SLOT_SIZE, SLOTS = 282, 28


def fill_store(path):
    with open(path, "r+b") as f:
        image = bytearray(f.read())
        filled = 0
        for slot in range(1, SLOTS + 1):
            at = SLOT_SIZE * slot
            if struct.unpack_from("<H", image, at)[0] != 0:
                continue
            name = ("Fill%02d" % slot).encode("utf-16-le")
            struct.pack_into("<H", image, at, len(name))
            image[at + 2:at + 2 + len(name)] = name
            struct.pack_into("<H", image, at + 24, 256)
            image[at + 26:at + 26 + 256] = bytes([slot]) * 256
            filled += 1
        f.seek(0)
        f.write(image)
    print("filled %d free slots" % filled, file=sys.stderr)


def named(text):
    data = text.encode("utf-16-le")
    return struct.pack("<H", len(data)) + data


def attribute(name, data):
    return b"\x04" + named(name) + struct.pack("<I", len(data)) + data


def registry(path, count):
    store = (b"\x01" + struct.pack("<IHH", 0x733C9A98, 0x7F6B, 0x4538) + bytes.fromhex("9a355c195f224c0d")
             + b"\x02" + bytes(15) + b"\x0b")
    record = b"\x03" + named("00:00:00:00")
    bitmap = attribute("{c68df783-ec90-43ab-b6b3-03001700cc2b}", bytes(64))
    values = b"".join(struct.pack("<Q", 1000 + i) for i in range(count))
    tags = attribute("{f8e11898-7dc7-4025-abc3-b930753f2911}", values)
    with open(path, "wb") as f:
        f.write(store + record + bitmap + tags)


if __name__ == "__main__":
    if sys.argv[1] == "fill-store":
        fill_store(sys.argv[2])
    elif sys.argv[1] == "registry":
        registry(sys.argv[2], int(sys.argv[3]))
    else:
        sys.exit("usage: seed.py fill-store PATH | registry PATH COUNT")
