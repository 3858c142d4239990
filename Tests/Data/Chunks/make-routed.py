#!/usr/bin/env python3
"""Makes the golden chunks of states that a user reaches in the routing window and a host does not.

    Tests/Data/Chunks/make-routed.py

Writes program-routed-*.chunk beside itself from program-host-11.chunk, whose two groups differ, and
program-host-11.txt as the values of each: routing is none that a host sees.
"""

import pathlib
import shutil
import struct
import zlib

HEAD = 28  # bytes: 16 reserved, then the compressed block's own head, its unpacked length at 20
BEHIND_NAME = 20  # bytes of a storage's head and its first group's count

STATES = {
    "apart": {"grouping": [0, 1]},
    "swapped": {"grouping": [0, 1], "in-routing": [2, 1]},
    "crossed": {"grouping": [0, 1], "out-routing": [2, 1]},
    "joined": {"grouping": [0, 1], "in-routing": [1, 1], "out-routing": [1, 2]},
    "missing": {"grouping": [1, 0], "in-routing": [1, 0], "out-routing": [0, 1]},
    "pair": {"grouping": [0, 1], "ms-pairs": [1, 1]},
    "solo": {"grouping": [0, 1], "channel-group-solo": [1]},
}


def routed(payload: bytes, routing: dict[str, list[int]]) -> bytes:
    state = bytearray(payload)
    for key, values in routing.items():
        name = b"audio.modMain.io-params." + key.encode()
        place = state.index(name) + len(name) + BEHIND_NAME
        struct.pack_into(f"<{len(values)}d", state, place, *values)
    return bytes(state)


def main() -> None:
    folder = pathlib.Path(__file__).parent
    base = (folder / "program-host-11.chunk").read_bytes()
    payload = zlib.decompress(base[HEAD:])
    for name, routing in STATES.items():
        chunk = base[:HEAD] + zlib.compress(routed(payload, routing))
        (folder / f"program-routed-{name}.chunk").write_bytes(chunk)
        shutil.copy(folder / "program-host-11.txt", folder / f"program-routed-{name}.txt")


main()
