#!/usr/bin/env python3
"""Sends real recordings through every job by way of ffmpeg and directly, and compares what comes out, byte by byte, with the
source and between the two:

    check_roads.py SAMPLES_FOLDER OSTREL_CLI [--all] [--table FILE]

One recording a folder, or every one with --all; --table writes how the heads of the two differ. The reader here shares nothing
with the program. No process may be started on the direct way but to look for tools. Exit status 77 (skipped) where the
recordings are not there.
"""
import pathlib
import re
import shutil
import struct
import subprocess
import sys

from each_recording import try_each

LARGEST = 40 << 20  # bytes
FILLERS = (b"JUNK", b"junk", b"PAD ", b"FLLR", b"filr", b"fact", b"data", b"fmt ", b"ds64", b"PEAK", b"levl")
GONE_WITH_A_PART = (b"axml", b"chna")


class Wave:
    """A RIFF or RF64 file: its format, its chunks, and its audio a channel."""

    def __init__(self, path):
        data = path.read_bytes()
        self.chunks, self.order, at = {}, [], 12
        long_size = None
        while at + 8 <= len(data):
            name, size = data[at:at + 4], struct.unpack_from("<I", data, at + 4)[0]
            if name == b"ds64":
                long_size = struct.unpack_from("<Q", data, at + 16)[0]
            if name == b"data" and size == 0xFFFFFFFF and long_size is not None:
                size = long_size
            if at + 8 + size > len(data):
                self.chunks.setdefault(name, data[at + 8:])
                break
            self.chunks.setdefault(name, data[at + 8:at + 8 + size])
            at += 8 + size + (size & 1)
        self.format = self.chunks.get(b"fmt ", b"")
        self.audio = self.chunks.get(b"data", b"")

    @property
    def is_linear(self):
        if len(self.format) < 16 or not self.audio:
            return False
        tag = struct.unpack_from("<H", self.format)[0]
        if tag == 0xFFFE and len(self.format) >= 26:
            tag = struct.unpack_from("<H", self.format, 24)[0]
        if tag not in (1, 3) or self.channels == 0 or self.align == 0:
            return False
        return self.align % self.channels == 0 and len(self.audio) % self.align == 0

    @property
    def channels(self):
        return struct.unpack_from("<H", self.format, 2)[0]

    @property
    def align(self):
        return struct.unpack_from("<H", self.format, 12)[0]

    def channel(self, index):
        width = self.align // self.channels
        frames = len(self.audio) // self.align
        out = bytearray(frames * width)
        for byte in range(width):
            out[byte::width] = self.audio[index * width + byte:frames * self.align:self.align]
        return bytes(out)


def recordings_in(folder):
    """In the order in which a person counts: 2 ahead of 10."""
    def key(path):
        return [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", path.name)]
    return sorted((path for path in folder.rglob("*") if path.suffix.lower() == ".wav"), key=key)


def turned_round(chna, channels):
    """Every row of an audio definition with the place that its track has once the channels stand in reverse order."""
    rows = bytearray(chna)
    for at in range(4, len(rows) - 39, 40):
        track = struct.unpack_from("<H", rows, at)[0]
        if 0 < track <= channels:
            struct.pack_into("<H", rows, at, channels + 1 - track)
    return bytes(rows)


class Roads:
    def __init__(self, cli, source, work):
        self.cli, self.source, self.work = cli, source, work
        self.faults, self.notes = [], []
        self.wave = Wave(source)

    def run(self, engine, job, *arguments):
        folder = self.work / f"{job}-{engine}"
        folder.mkdir()
        done = subprocess.run([self.cli, job, "--engine", engine, "--output", folder, *map(str, arguments)],
                              capture_output=True, text=True, errors="replace", timeout=600)
        if done.returncode:
            self.notes.append(f"{job} {engine}: {(done.stdout + done.stderr).strip().splitlines()[-1][:110]}")
            return []
        return recordings_in(folder)

    def same_channels(self, made, expected, job):
        """`expected`: (file, channel) of the source for each channel that was made, in order."""
        got = [Wave(path).channel(i) for path in made for i in range(Wave(path).channels)]
        if got != expected:
            self.faults.append(f"{job}: the samples are not those of the source")

    def carried(self, path, whole, job):
        """Every chunk but those that a new file makes for itself."""
        now = Wave(path).chunks
        for name, payload in self.wave.chunks.items():
            if name in FILLERS or name in (b"iXML", b"bext", b"MD5 ") or (name in GONE_WITH_A_PART and not whole):
                continue
            if name == b"chna":
                payload = turned_round(payload, self.wave.channels)  # `whole` jobs put the channels in reverse
            if now.get(name) != payload:
                self.faults.append(f"{job}: the chunk {name!r} is not the source's")

    def compare_heads(self, direct, by_ffmpeg, job):
        for ours, theirs in zip(direct, by_ffmpeg):
            a, b = Wave(ours).chunks, Wave(theirs).chunks
            for name in sorted(set(a) | set(b)):
                if name in FILLERS:
                    continue
                if name not in a or name not in b:
                    where = "direct" if name in a else "ffmpeg"
                    self.notes.append(f"{job}: {name.decode('latin-1').strip()} by {where} alone")
                elif name == b"bext" and a[name].rstrip(b"\0") != b[name].rstrip(b"\0"):
                    self.notes.append(f"{job}: bext differs")

    def both(self, job, expected, whole, *arguments):
        direct = self.run("direct", job, *arguments)
        if not direct:
            return
        self.same_channels(direct, expected, f"{job} direct")
        self.carried(direct[0], whole, f"{job} direct")
        self.compare_heads(direct, self.run("ffmpeg", job, *arguments), job)

    def whole(self):
        channels = [self.wave.channel(i) for i in range(self.wave.channels)]
        if len(channels) > 1:
            self.both("split", channels, False, "--folders", "flat", "--naming", "number", self.source)
            order = list(reversed(range(len(channels))))
            self.both("edit", [channels[i] for i in order], True, "--reorder", ",".join(str(i + 1) for i in order), self.source)
        if len(channels) == 2:
            self.both("deinterleave", channels, False, "--layout", "stereo", self.source)
            isos = [self.copy(f"pair.{tag}.wav", path) for tag, path in
                    zip("LR", sorted((self.work / "deinterleave-direct").rglob("*.wav")))]
            if len(isos) == 2:
                self.both("interleave", channels, False, *isos)
        isos = recordings_in(self.work / "split-direct") if len(channels) > 1 else []
        if len(isos) > 1:
            self.both("join", channels, False, "--single", "--name", "Joined", *isos)

    def copy(self, name, path):
        folder = self.work / "pair"
        folder.mkdir(exist_ok=True)
        return shutil.copy2(path, folder / name)


def recordings(samples, everything):
    for folder in sorted({path.parent for path in samples.rglob("*") if path.suffix.lower() == ".wav"}):
        for path in sorted(folder.iterdir()):
            if path.suffix.lower() != ".wav" or path.stat().st_size > LARGEST or path.read_bytes()[:4] not in (b"RIFF", b"RF64"):
                continue
            wave = Wave(path)
            if not wave.is_linear or wave.channels < 2:
                continue
            yield path
            if not everything:
                break


def main():
    samples, cli = pathlib.Path(sys.argv[1]), sys.argv[2]
    if not samples.is_dir():
        return 77
    sources = list(recordings(samples, "--all" in sys.argv))

    def send(copy, home, _):
        roads = Roads(cli, pathlib.Path(copy), pathlib.Path(home))
        roads.whole()
        return roads

    works, bad = try_each(samples, sources, send)
    rows = [(source.relative_to(samples), roads) for source, roads in zip(sources, works)]
    if "--table" in sys.argv:
        write_table(sys.argv[sys.argv.index("--table") + 1], rows)
    return 1 if bad or not rows else 0


def write_table(path, rows):
    lines = {}
    for name, roads in rows:
        for note in dict.fromkeys(roads.notes) or ["no difference"]:
            lines.setdefault(note, []).append(str(name.parent))
    text = "| What differs | Recordings | Of |\n|---|---|---|\n"
    for note, where in sorted(lines.items()):
        text += f"| {note} | {len(where)} | {', '.join(sorted(set(where)))} |\n"
    pathlib.Path(path).write_text(text)


if __name__ == "__main__":
    sys.exit(main())
