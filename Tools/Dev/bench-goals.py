#!/usr/bin/env python3
"""What the plug-in's file costs, beside the goals that it shall meet.

usage: bench-goals.py BUILD_FOLDER [SECONDS]

Runs `sorrel-host bench` for each figure, SECONDS (default 2) for each side, and prints a line with
the figure, its goal, and whether it is met. A ratio is of two things that took turns in one run.
The two plug-ins that serve as yardsticks come from the package lsp-plugins-vst; where it is missing
their lines say so.
"""

import functools
import json
import os
import random
import struct
import subprocess
import sys
import tempfile
import wave

PEERS = "/usr/lib/vst/lsp-plugins"
FIR_EQUALISER = f"{PEERS}/graph-equalizer-x16-stereo.so"
CONVOLVER = f"{PEERS}/impulse-responses-stereo.so"
KERNEL_TAPS = {44100: 529, 96000: 1151}  # of our filter; the other convolver gets as many


def with_values(bank, values):
    """A bank of the convolver's plug-in, some of its values replaced.

    A bank is a head of 160 bytes, sizes at 4 and 156; then a head of 16 bytes, a size at 4; then
    the values, each a size, a name and its zero, and a text and its zero or a number. Numbers are
    big-endian.
    """
    number = struct.Struct(">I")
    items, at = b"", 176
    while at < len(bank):
        size = number.unpack_from(bank, at)[0]
        name, _, content = bank[at + 4:at + 4 + size].partition(b"\0")
        at += 4 + size
        value = values.get(name.decode())
        if isinstance(value, str):
            content = value.encode() + b"\0"
        elif value is not None:
            content = struct.pack(">f", value)
        items += number.pack(len(name) + 1 + len(content)) + name + b"\0" + content
    return (bank[:4] + number.pack(168 + len(items)) + bank[8:156] + number.pack(16 + len(items)) +
            bank[160:164] + number.pack(len(items)) + bank[168:176] + items)


def write_impulse_response(path, rate):
    """Two channels of noise, as long as our kernel."""
    noise = random.Random(1)
    with wave.open(path, "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(b"".join(struct.pack("<h", noise.randint(-3000, 3000))
                                  for _ in range(2 * KERNEL_TAPS[rate])))


class Bench:
    """The runs of one session; equal ones are done once. Options come as one text."""

    def __init__(self, build, seconds, scratch):
        self.host = os.path.join(build, "sorrel-host")
        self.seconds = seconds
        self.scratch = scratch
        # No settings of the user's, which might change what is measured.
        self.environment = dict(os.environ, XDG_CONFIG_HOME=scratch)
        self.groups = os.path.join(scratch, "groups.cbf")
        self.call(os.path.join(build, "sorrel-bankc"), "Benchmarks/Groups.xml", self.groups)

    def call(self, *command):
        # Some plug-ins talk on standard error; what matters is told by the exit status.
        return subprocess.run(command, env=self.environment, check=True, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def stereo(self):
        """Two channels with a curve of their own."""
        return f"--bank {self.groups} --program 0"

    @functools.lru_cache(maxsize=None)
    def run(self, options):
        return json.loads(self.call(self.host, "bench", "--json", "--seconds", str(self.seconds),
                                    *self.stereo().split(), *options.split()))

    def blocks(self, options):
        return self.run(options)["plugins"][0]

    def worst_share(self, options):
        """Of the deadline, in percent."""
        return 100.0 * self.blocks(options)["worstUs"] / self.blocks(options)["deadlineUs"]

    def worst_over_mean(self, options):
        return self.blocks(options)["worstUs"] / self.blocks(options)["meanUs"]

    def first_to_second(self, options):
        return self.run(options)["ratio"]["nsPerFrame"]

    def second_to_first(self, options, kind="nsPerFrame"):
        return 1.0 / self.run(options)["ratio"][kind]

    def life(self, key):
        return self.run("--lifecycle")[key]["value"]

    def to_fir_equaliser(self, rate):
        return self.first_to_second(f"--rate {rate} --against {FIR_EQUALISER} "
                                    "--against-set 3=0.34")  # its mode: FIR

    def to_convolver(self, rate):
        response = os.path.join(self.scratch, f"{rate}.wav")
        bank = os.path.join(self.scratch, f"{rate}.bank")
        write_impulse_response(response, rate)
        self.call(self.host, "info", "--plugin", CONVOLVER, "--save-chunk", bank)
        with open(bank, "rb") as file:
            content = file.read()
        with open(bank, "wb") as file:  # the file's channels to ours, nothing of the input
            file.write(with_values(content, {"ifn0": response, "cs_l": 1.0, "cs_r": 2.0, "dry": 0.0}))
        return self.first_to_second(f"--rate {rate} --against {CONVOLVER} --against-chunk {bank}")


def goals(b):
    """Goal, what is measured, how, its limit and unit."""
    yield 4, "FIR equaliser, 44.1 kHz", lambda: b.to_fir_equaliser(44100), 0.5, ""
    yield 4, "FIR equaliser, 96 kHz", lambda: b.to_fir_equaliser(96000), 0.6, ""
    yield 4, "convolver, 44.1 kHz", lambda: b.to_convolver(44100), 0.4, ""
    yield 4, "convolver, 96 kHz", lambda: b.to_convolver(96000), 0.4, ""
    eight = f"--against-channels 8 --against-bank {b.groups} --against-program 1"
    yield 4, "8 channels in 4 groups / 2 in 1", lambda: b.second_to_first(eight), 4.2, ""
    yield 4, "64-bit entry / 32-bit", lambda: b.second_to_first("--against-bits 64"), 1.1, ""
    for rate in (44100, 96000):
        for block, factor in ((64, 3.0), (128, 1.5), (512, 1.5)):
            options = f"--rate {rate} --block {block}"
            what = f"steady, {rate / 1000:g} kHz, {block}"
            yield 5, f"{what}: worst block", functools.partial(b.worst_share, options), 1.0, "%"
            yield 5, f"{what}: worst / mean", functools.partial(b.worst_over_mean, options), factor, ""
    for rate, block, limit in ((44100, 128, 5.0), (96000, 64, 10.0), (192000, 128, 25.0)):
        options = f"--rate {rate} --block {block}"
        moving = f"{options} --automate 1"
        steady = f"{options} --against-automate 1"
        many = f"{options} --automate 1 --against-automate 16"
        what = f"moving, {rate / 1000:g} kHz, {block}"
        yield 6, f"{what}: worst block", functools.partial(b.worst_share, moving), limit, "%"
        yield 6, f"{what}: mean / steady", functools.partial(b.second_to_first, steady), 3.0, ""
        yield 6, f"{what}: 16 bands / 1", functools.partial(b.second_to_first, many), 1.2, ""
    yield 7, "instance made", lambda: b.life("create"), 10.0, "ms"
    yield 7, "instance started", lambda: b.life("resume"), 10.0, "ms"
    yield 7, "memory of an instance", lambda: b.life("memory"), 4.0, "MiB"
    for kind in ("program", "bank"):
        yield 7, f"state of a {kind} out", functools.partial(b.life, f"{kind}Out"), 50.0, "us"
        edited = functools.partial(b.life, f"{kind}OutEdited")
        yield 7, f"state of a {kind} out, after an edit", edited, 50.0, "us"
        yield 7, f"state of a {kind} in", functools.partial(b.life, f"{kind}In"), 200.0, "us"
    for what, options, limit in (("silence / noise", "--against-input silence", 1.1),
                                 ("decay / noise", "--against-input decay", 1.1),
                                 ("cold caches / warm", "--against-cold", 1.2)):
        yield 8, what, functools.partial(b.second_to_first, options), limit, ""


def print_goals(bench):
    needs_peer = {"FIR equaliser": FIR_EQUALISER, "convolver": CONVOLVER}
    print(f"{'goal':4}  {'stereo, blocks of 128, 48 kHz where not told':45} {'measured':>9}"
          f" {'limit':>8}")
    for goal, what, measure, limit, unit in goals(bench):
        peer = needs_peer.get(what.split(",")[0])
        if peer and not os.path.exists(peer):
            print(f"{goal:4}  {what:45} {'-':>9} {limit:8g} {unit:4} lsp-plugins-vst is missing")
            continue
        value = measure()
        verdict = "met" if value <= limit else "MISSED"
        print(f"{goal:4}  {what:45} {value:9.3f} {limit:8g} {unit:4} {verdict}", flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        print(__doc__, file=sys.stderr)
        return 2
    seconds = float(sys.argv[2]) if len(sys.argv) == 3 else 2.0
    with tempfile.TemporaryDirectory() as scratch:
        print_goals(Bench(sys.argv[1], seconds, scratch))
    return 0


if __name__ == "__main__":
    sys.exit(main())
