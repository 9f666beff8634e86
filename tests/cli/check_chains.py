#!/usr/bin/env python3
"""Sends real recordings through chains of jobs and compares the metadata that comes out, byte by byte, with the source's:

    check_chains.py SAMPLES_FOLDER OSTREL_CLI [--all] [--table FILE]

One poly and one mono recording a folder, or every one with --all; --table writes what is kept by maker, as docs/metadata.md has it. The reader
here shares nothing with the program. Exit status 77 (skipped) where the recordings are not there.
"""
import hashlib
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

from each_recording import try_each

FIELDS = {"Description": (0, 256), "Originator": (256, 32), "OriginatorReference": (288, 32), "OriginationDate": (320, 10),
          "OriginationTime": (330, 8), "TimeReference": (338, 8), "Version": (346, 2), "UMID": (348, 64), "loudness": (412, 10),
          "CodingHistory": (602, None)}
CARRIED = (b"SMED", b"aXML", b"XMP ", b"UMID", b"acid", b"Tdat", b"cart", b"cue ", b"smpl", b"inst", b"id3 ", b"_PMX")
LARGEST = 40 << 20  # bytes


def chunks_of(path):
    """Chunks of a RIFF file by their first payload; audio is cut out of memory but for its digest."""
    data = path.read_bytes()
    if data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        return None
    chunks, at = {}, 12
    while at + 8 <= len(data):
        name, size = data[at:at + 4], struct.unpack_from("<I", data, at + 4)[0]
        if at + 8 + size > len(data):
            break
        chunks.setdefault(name, data[at + 8:at + 8 + size])
        at += 8 + size + (size & 1)
    return chunks


def fields_of(chunks):
    bext = chunks.get(b"bext", b"")
    fields = {}
    for name, (start, size) in FIELDS.items():
        value = bext[start:] if size is None else bext[start:start + size]
        if start < 338 or size is None:
            value = value.split(b"\0")[0]
        if value.strip(b"\0"):
            fields[name] = value
    return fields


def tree_of(chunks):
    try:
        return ElementTree.fromstring(chunks.get(b"iXML", b"").rstrip(b"\0").decode("utf-8"))
    except (ElementTree.ParseError, UnicodeDecodeError):
        return None


TRACK_LINE = re.compile(rb"([a-z]?)TRK([1-9][0-9]*)=(.*?)(\r?\n|$)", re.S)
FILE_LINE = re.compile(rb"[a-z]?FILENAME=(.*?)(\r?\n|$)", re.S)


def lines_of(text):
    return re.findall(rb"[^\n]*\n|[^\n]+$", text)


def other_lines(text):
    """Those that tell neither tracks nor the file's name."""
    return [line for line in lines_of(text) if not TRACK_LINE.fullmatch(line) and not FILE_LINE.fullmatch(line)]


def tracks_of(tree):
    """Name by CHANNEL_INDEX."""
    tracks = tree.findall(".//TRACK_LIST/TRACK") if tree is not None else []
    return {int(track.findtext("CHANNEL_INDEX") or 0): (track.findtext("NAME") or "").strip() for track in tracks}


def functions_of(tree):
    tracks = tree.findall(".//TRACK_LIST/TRACK") if tree is not None else []
    return {(track.findtext("CHANNEL_INDEX"), track.findtext("FUNCTION").strip()) for track in tracks if track.findtext("FUNCTION")}


class Chain:
    """One recording through jobs; what its end holds of its beginning."""

    def __init__(self, cli, source, work):
        self.cli, self.source, self.work = cli, source, work
        self.faults, self.notes = [], []

    def run(self, *arguments):
        done = subprocess.run([self.cli, *map(str, arguments)], capture_output=True, text=True, errors="replace", timeout=600)
        if done.returncode:
            self.notes.append(f"{arguments[0]} refused: {(done.stdout + done.stderr).strip().splitlines()[-1][:110]}")
        return done.returncode == 0

    @staticmethod
    def made(folder):
        """In the order of their numbers: "_ch2" ahead of "_ch10"."""
        found = [path for path in folder.rglob("*") if path.is_file() and path.suffix.lower() == ".wav"]
        return sorted(found, key=lambda path: [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", path.name)])

    def edit(self, path, step):
        folder = self.work / f"edit{step}"
        folder.mkdir()
        ok = self.run("edit", "--output", folder, "--rename", f"1=Chain{step}", path)
        return self.made(folder)[0] if ok and self.made(folder) else None

    def split(self, path, step):
        folder = self.work / f"split{step}"
        folder.mkdir()
        ok = self.run("split", "--folders", "flat", "--naming", "number", "--output", folder, path)
        return self.made(folder) if ok else []

    def join(self, files, step):
        folder = self.work / f"join{step}"
        folder.mkdir()
        ok = bool(files) and self.run("join", "--single", "--name", "Joined", "--output", folder, *files)
        return self.made(folder)[0] if ok and self.made(folder) else None

    def interleave(self, files, step):
        folder = self.work / f"interleave{step}"
        folder.mkdir()
        ok = self.run("interleave", "--layout", "stereo", "--output", folder, *files)
        return self.made(folder)[0] if ok and self.made(folder) else None

    def deinterleave(self, path, step):
        folder = self.work / f"deinterleave{step}"
        folder.mkdir()
        ok = self.run("deinterleave", "--layout", "stereo", "--output", folder, path)
        return self.made(folder) if ok else []

    def fault(self, end, text):
        self.faults.append(f"{end.parent.name}: {text}")

    def compare_description(self, end, before, after, tree):
        """Of the lines that repeat the iXML each agrees with it, and all others are the source's."""
        if other_lines(before) != other_lines(after):
            self.fault(end, f"Description {before[:60]!r} became {after[:60]!r}")
        tracks = tracks_of(tree)
        for line in map(TRACK_LINE.fullmatch, lines_of(after)):
            if line and tracks and tracks.get(int(line[2])) != line[3].decode("utf-8", "replace"):
                self.fault(end, f"{line[0]!r} beside the tracks {tracks}")
        told = {int(line[2]) for line in map(TRACK_LINE.fullmatch, lines_of(after)) if line}
        had = any(map(TRACK_LINE.fullmatch, lines_of(before)))
        if had and tracks and set(tracks) != told and len(after) < 200:
            self.fault(end, f"lines of the tracks {sorted(told)} for {sorted(tracks)}")
        for line in map(FILE_LINE.fullmatch, lines_of(after)):
            if line and line[1].decode() != end.name:
                self.fault(end, f"{line[0]!r} in {end.name}")

    def compare_place(self, end, was, tree, parent, place, total):
        """HISTORY and FILE_SET; `total` 0: the source's own set."""
        if tree is None or tree_of(was) is None:
            return
        if (tree.findtext(".//HISTORY/PARENT_FILENAME") or "") != parent.name:
            self.fault(end, f"PARENT_FILENAME is not {parent.name}")
        uid = tree_of(chunks_of(parent)).findtext(".//FILE_UID")
        if uid and tree.findtext(".//PARENT_UID") != uid:
            self.fault(end, f"PARENT_UID is not {uid}")
        source = tree_of(chunks_of(parent))
        wanted = (str(total), place) if total else (source.findtext(".//TOTAL_FILES"), source.findtext(".//FILE_SET_INDEX"))
        found = tree.findtext(".//FILE_SET/TOTAL_FILES"), tree.findtext(".//FILE_SET/FILE_SET_INDEX")
        if found != wanted:
            self.fault(end, f"is {found} of its set, not {wanted}")

    def compare(self, end, cleared):
        """`cleared`: several files stood in between, so that the UMID may be gone."""
        if end is None:
            return None
        was, now = chunks_of(self.source), chunks_of(end)
        before, after = fields_of(was), fields_of(now)
        self.compare_description(end, before.get("Description", b""), after.get("Description", b""), tree_of(now))
        for name, value in before.items():
            if name == "Description":
                continue
            if after.get(name) != value and not (cleared and name == "UMID" and name not in after):
                self.faults.append(f"{end.parent.name}: {name} {value[:40]!r} became {after.get(name, b'')[:40]!r}")
        for name in CARRIED:
            if name in was and was[name] != now.get(name):
                self.faults.append(f"{end.parent.name}: chunk {name.decode()} is not the source's")
        if b"MD5 " in now and now[b"MD5 "][:16] != hashlib.md5(now[b"data"]).digest()[::-1]:
            self.faults.append(f"{end.parent.name}: the MD5 chunk is not that of the audio")
        if was.get(b"iXML", b"").strip(b"\0") and b"iXML" not in now:
            self.faults.append(f"{end.parent.name}: the iXML is gone")
        tree = tree_of(now)
        if tree_of(was) is not None and tree is None:
            self.faults.append(f"{end.parent.name}: the iXML is no XML any more")
        count = tree.findtext(".//TRACK_LIST/TRACK_COUNT") if tree is not None else None
        channels = struct.unpack_from("<H", now[b"fmt "], 2)[0]
        if count is not None and count.strip() != str(channels) and tree_of(was) is not None:
            self.faults.append(f"{end.parent.name}: TRACK_COUNT {count} of {channels} channels")
        return sorted(before)

    def poly(self):
        was = chunks_of(self.source)
        channels = struct.unpack_from("<H", was[b"fmt "], 2)[0]
        edited = self.edit(self.source, 1)
        if edited:
            self.compare(edited, False)
            self.compare_place(edited, was, tree_of(chunks_of(edited)), self.source, None, 0)
            self.compare(self.edit(edited, 2), False)
        isos = self.split(self.source, 1)
        if not isos:
            return
        for number, iso in enumerate(isos, 1):
            self.compare(iso, True)
            self.compare_place(iso, was, tree_of(chunks_of(iso)), self.source, str(number), channels)
        joined = self.join(isos, 1)
        self.compare(joined, True)
        if joined:
            self.compare_place(joined, was, tree_of(chunks_of(joined)), isos[0], "A", 1)
            if functions_of(tree_of(was)) != functions_of(tree_of(chunks_of(joined))):
                self.fault(joined, "FUNCTION of a track is not the source's")
            again = self.split(joined, 2)
            self.compare(again[-1] if again else None, True)

    def mono(self):
        """The recording as both sides of a pair, and twice in a poly."""
        pair = [self.work / "pair" / f"Take.{side}.wav" for side in "LR"]
        pair[0].parent.mkdir()
        for side in pair:
            shutil.copy2(self.source, side)
        merged = self.interleave(pair, 1)
        self.compare(merged, False)
        if merged:
            sides = self.deinterleave(merged, 1)
            for side in sides:
                self.compare(side, True)
            self.compare(self.interleave(sides, 2) if len(sides) == 2 else None, True)
        joined = self.join(pair, 1)
        self.compare(joined, False)
        if joined:
            for iso in self.split(joined, 1):
                self.compare(iso, True)


def recordings(samples, everything):
    """Path, chunks, and whether it is a poly."""
    for folder in sorted({path.parent for path in samples.rglob("*") if path.suffix.lower() == ".wav"}):
        seen = set()
        for path in sorted(folder.iterdir()):
            if path.suffix.lower() != ".wav" or path.stat().st_size > LARGEST:
                continue
            chunks = chunks_of(path)
            if not chunks or len(chunks.get(b"fmt ", b"")) < 16 or not chunks.get(b"data"):
                continue
            if not (b"bext" in chunks or b"iXML" in chunks):
                continue
            is_poly = struct.unpack_from("<H", chunks[b"fmt "], 2)[0] >= 2
            if everything or is_poly not in seen:
                yield path, chunks, is_poly
            seen.add(is_poly)


def main():
    samples, cli = pathlib.Path(sys.argv[1]), sys.argv[2]
    if not samples.is_dir():
        return 77
    found = {source: (chunks, is_poly) for source, chunks, is_poly in recordings(samples, "--all" in sys.argv)}

    def send(copy, home, source):
        chain = Chain(cli, pathlib.Path(copy), pathlib.Path(home))
        chain.poly() if found[source][1] else chain.mono()
        return chain

    works, bad = try_each(samples, found, send)
    rows = [(source.relative_to(samples), found[source][0], chain) for source, chain in zip(found, works)]
    if "--table" in sys.argv:
        write_table(sys.argv[sys.argv.index("--table") + 1], rows)
    return 1 if bad or not rows else 0


def write_table(path, rows):
    """A line for all recordings of a folder that hold the same and fared the same."""
    lines = {}
    for name, chunks, chain in rows:
        fields = fields_of(chunks)
        bext = ", ".join(key for key in FIELDS if key in fields) or "no bext"
        kinds = ", ".join(key.decode("latin-1").strip() for key in chunks if key in CARRIED + (b"iXML", b"MD5 ")) or "none"
        said = "; ".join(dict.fromkeys(line.split(": ", 1)[-1] for line in chain.faults + chain.notes)) or "all kept"
        key = f"{name.parent} | {bext} | {kinds} | {said}"
        lines[key] = lines.get(key, 0) + 1
    text = "| Recordings | | Fields of bext | Chunks | At the end of every chain |\n|---|---|---|---|---|\n"
    for key, count in lines.items():
        folder, rest = key.split(" | ", 1)
        text += f"| {folder} | {count} | {rest} |\n"
    pathlib.Path(path).write_text(text)


sys.exit(main())
