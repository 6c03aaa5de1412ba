#!/usr/bin/env python3
"""Seeds for the growth measurements of bench/run and the simulated fleet of
ansible/tests/fleet.

  seed.py fill-store PATH        use every free slot of the store at PATH
  seed.py rfm PATH REASON        put the sensor in reduced functionality mode:
                                 an RFM history of one entry (kernel backend, in RFM,
                                 REASON a hexadecimal code)
  seed.py registry PATH COUNT    a registry file whose system-tag record
                                 holds COUNT tags (in its list attribute)

Store layout: 8192 bytes, u16 version at 0, 28 slots of 282 bytes at 282 * i
(i = 1..28): u16 name length in bytes, 22 bytes of UTF-16LE name, u16 data
length, 256 bytes of data. All little-endian.
"""
import struct
import sys
from typing import Callable

SLOT_SIZE, SLOTS = 282, 28


def free_slots(image: bytearray) -> list[int]:
    return [slot for slot in range(1, SLOTS + 1) if struct.unpack_from("<H", image, SLOT_SIZE * slot)[0] == 0]


def put(image: bytearray, slot: int, name: str, data: bytes) -> None:
    at = SLOT_SIZE * slot
    encoded = name.encode("utf-16-le")
    struct.pack_into("<H", image, at, len(encoded))
    image[at + 2:at + 2 + len(encoded)] = encoded
    struct.pack_into("<H", image, at + 24, len(data))
    image[at + 26:at + 26 + len(data)] = data


def rewrite(path: str, change: Callable[[bytearray], None]) -> None:
    with open(path, "r+b") as f:
        image = bytearray(f.read())
        change(image)
        f.seek(0)
        f.write(image)


def fill_store(path: str) -> None:
    def fill(image: bytearray) -> None:
        slots = free_slots(image)
        for slot in slots:
            put(image, slot, "Fill%02d" % slot, bytes([slot]) * 256)
        print("filled %d free slots" % len(slots), file=sys.stderr)
    rewrite(path, fill)


def rfm(path: str, reason: int) -> None:
    rewrite(path, lambda image: put(image, free_slots(image)[0], "RFMHistory", struct.pack("<III", 0, 1, reason)))


def named(text: str) -> bytes:
    data = text.encode("utf-16-le")
    return struct.pack("<H", len(data)) + data


def attribute(name: str, data: bytes) -> bytes:
    return b"\x04" + named(name) + struct.pack("<I", len(data)) + data


def registry(path: str, count: int) -> None:
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
    elif sys.argv[1] == "rfm":
        rfm(sys.argv[2], int(sys.argv[3], 16))
    elif sys.argv[1] == "registry":
        registry(sys.argv[2], int(sys.argv[3]))
    else:
        sys.exit("usage: seed.py fill-store PATH | rfm PATH REASON | registry PATH COUNT")
