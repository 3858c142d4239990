#!/usr/bin/env python3
"""Compares what other hosts saw and rendered with sorrel-host's result.

compare.py signal FILE            writes the test signal, 4 s of stereo
compare.py facts FOLDER           what the hosts saw: info.json against qtractor.txt, scan.v2i, sessions.txt
compare.py sound FOLDER           what they rendered: reference.wav, render.wav
"""
import json
import re
import struct
import sys
import xml.etree.ElementTree as ElementTree

RATE = 48000
FRAMES = 4 * RATE
LARGEST_OFFSET = 8192  # frames between the beginnings of two renderings

failures = 0


def check(holds, what, figure=""):
    global failures
    failures += not holds
    print(f"{'ok  ' if holds else 'FAIL'}  {what}{': ' if figure else ''}{figure}")


def signal():
    samples = []
    for position in range(FRAMES):
        for channel in (1, 2):
            x = position * 2654435761 + channel * 40503
            x = ((x ^ (x >> 15)) * 2246822519) & 0xFFFFFFFF
            x = ((x ^ (x >> 13)) * 3266489917) & 0xFFFFFFFF
            samples.append(0.25 * (((x >> 8) & 0xFFFFFF) / 8388608.0 - 1.0))
    return samples


def write_wave(path, samples):
    data = struct.pack(f"<{len(samples)}f", *samples)
    head = struct.pack("<IHHIIHH", 16, 3, 2, RATE, RATE * 8, 8, 32)
    with open(path, "wb") as file:
        file.write(b"RIFF" + struct.pack("<I", len(data) + 36) + b"WAVEfmt " + head)
        file.write(b"data" + struct.pack("<I", len(data)) + data)


def read_wave(path):
    """Stereo frames of a file of 32-bit floats."""
    with open(path, "rb") as file:
        data = file.read()
    at = data.index(b"data")
    count = struct.unpack("<I", data[at + 4:at + 8])[0] // 8
    return list(struct.iter_unpack("<2f", data[at + 8:at + 8 + 8 * count]))


def facts(folder):
    with open(f"{folder}/info.json") as file:
        info = json.load(file)
    latency = {row["sampleRate"]: row["frames"] for row in info["latencies"]}[RATE]

    # Kind, name, audio, events, parameters, flags, file, index, id; a host of its version is given two channels.
    with open(f"{folder}/qtractor.txt") as file:
        scanned = file.read().strip().split("|")
    check(len(scanned) == 9, "qtractor's scanner takes the plug-in", "|".join(scanned[:5]))
    if len(scanned) == 9:
        check(scanned[1] == info["name"], "  the same name", scanned[1])
        check(scanned[2] == "2:2", "  two channels, by its version", scanned[2])
        check(scanned[4].split(":")[0] == str(len(info["parameters"])), "  the same parameters", scanned[4])
        check(int(scanned[8], 16) == info["uniqueId"], "  the same id", scanned[8])

    found = ElementTree.parse(f"{folder}/scan.v2i").getroot().find(".//VST2Info")
    check(found is not None, "Ardour's scanner takes the plug-in")
    if found is not None:
        for key, expected in (("name", info["name"]), ("creator", info["vendor"]),
                              ("id", info["uniqueId"]), ("n_inputs", info["inputs"]),
                              ("n_outputs", info["outputs"]), ("can_process_replace", 1)):
            check(found.get(key) == str(expected), f"  the same {key}", found.get(key))

    with open(f"{folder}/sessions.txt") as file:
        lines = [line.split("|") for line in file.read().splitlines()]
    said = {}
    for line in lines:
        said.setdefault(line[0], []).append(line[1:])
    check("error" not in said, "Ardour makes its sessions", str(said.get("error", "")))
    check(said.get("info") == [[str(info["uniqueId"]), str(info["inputs"]), str(info["outputs"]), info["vendor"]]],
          "  the same id, channels and vendor")
    check(said.get("latency") == [[str(latency)]], "  the same latency at 48 kHz", f"{latency} frames")
    seen = [(row[1], round(float(row[2]), 6)) for row in said.get("parameter", [])]
    expected = [(row["name"], round(row["value"], 6)) for row in info["parameters"]]
    check(seen == expected, "  the same names and values", f"{len(seen)} parameters")


def peak(frames):
    return max(max(abs(left), abs(right)) for left, right in frames)


def best_offset(first, second):
    """The offset at which a stretch of the one is in the other; None for nowhere."""
    start = len(second) // 2
    needle = second[start:start + 64]
    for offset in range(-LARGEST_OFFSET, LARGEST_OFFSET):
        stretch = first[start + offset:start + offset + 64]
        if all(abs(a[0] - b[0]) < 1e-4 for a, b in zip(stretch, needle)):
            return offset
    return None


def sound(folder):
    reference = read_wave(f"{folder}/reference.wav")
    render = read_wave(f"{folder}/render.wav")
    check(peak(render) > 0.1, "Ardour renders sound", f"peak {peak(render):.3f}")
    offset = best_offset(reference, render)
    check(offset is not None, "  sorrel-host renders the same")
    if offset is not None:
        # A generator in a track is not moved by the workstation's compensation, so the beginnings
        # differ. Both ends are left out: there the one has silence for the other's sound.
        inner = range(LARGEST_OFFSET, min(len(render), len(reference)) - LARGEST_OFFSET)
        apart = max(abs(render[i][c] - reference[i + offset][c]) for i in inner for c in (0, 1))
        check(apart <= 1e-6, "  through the whole length",
              f"{len(inner)} frames at most {apart:.2g} apart, begun {offset} frames later")


def main():
    command, path = sys.argv[1], sys.argv[2]
    if command == "signal":
        write_wave(path, signal())
    elif command == "facts":
        facts(path)
    elif command == "sound":
        sound(path)
    return 1 if failures else 0


sys.exit(main())
