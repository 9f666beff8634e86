#!/usr/bin/env python3
"""Sends real recordings through chains of jobs and compares the metadata that comes out, byte by byte, with the source's:

    check_chains.py SAMPLES_FOLDER OSTREL_CLI [--all] [--table FILE]

One recording a folder, or every one with --all; --table writes what is kept by maker, as docs/metadata.md has it. The reader
here shares nothing with the program. Exit status 77 (skipped) where the recordings are not there.
"""
import hashlib
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

FIELDS = {"Description": (0, 256), "Originator": (256, 32), "OriginatorReference": (288, 32), "OriginationDate": (320, 10),
          "OriginationTime": (330, 8), "TimeReference": (338, 8), "Version": (346, 2), "UMID": (348, 64), "loudness": (412, 10),
          "CodingHistory": (602, None)}
CARRIED = (b"SMED", b"aXML", b"XMP ", b"UMID", b"acid", b"Tdat", b"cart")
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
        return sorted(path for path in folder.rglob("*") if path.is_file() and path.suffix.lower() == ".wav")

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

    def compare(self, end, cleared):
        """`cleared`: several files stood in between, so that the UMID may be gone."""
        if end is None:
            return None
        was, now = chunks_of(self.source), chunks_of(end)
        before, after = fields_of(was), fields_of(now)
        for name, value in before.items():
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

    def whole(self):
        edited = self.edit(self.source, 1)
        if edited:
            self.compare(edited, False)
            self.compare(self.edit(edited, 2), False)
        isos = self.split(self.source, 1)
        if isos:
            self.compare(isos[0], True)
            joined = self.join(isos, 1)
            self.compare(joined, True)
            if joined:
                again = self.split(joined, 2)
                self.compare(again[-1] if again else None, True)


def recordings(samples, everything):
    for folder in sorted({path.parent for path in samples.rglob("*") if path.suffix.lower() == ".wav"}):
        for path in sorted(folder.iterdir()):
            if path.suffix.lower() != ".wav" or path.stat().st_size > LARGEST:
                continue
            chunks = chunks_of(path)
            if not chunks or len(chunks.get(b"fmt ", b"")) < 16 or not chunks.get(b"data"):
                continue
            if struct.unpack_from("<H", chunks[b"fmt "], 2)[0] < 2 or not (b"bext" in chunks or b"iXML" in chunks):
                continue
            yield path, chunks
            if not everything:
                break


def main():
    samples, cli = pathlib.Path(sys.argv[1]), sys.argv[2]
    if not samples.is_dir():
        return 77
    bad, rows = 0, []
    for source, chunks in recordings(samples, "--all" in sys.argv):
        with tempfile.TemporaryDirectory() as work:
            home = pathlib.Path(work)
            os.environ.update(HOME=work, XDG_STATE_HOME=work + "/state", XDG_CACHE_HOME=work + "/cache")
            copy = home / "source" / source.name
            copy.parent.mkdir()
            shutil.copy2(source, copy)
            before = (copy.read_bytes(), copy.stat().st_mtime_ns)
            chain = Chain(cli, copy, home)
            chain.whole()
            if (copy.read_bytes(), copy.stat().st_mtime_ns) != before:
                chain.faults.append("the source was changed")
        name = source.relative_to(samples)
        print(f"{'ok ' if not chain.faults else 'BAD'} {name}", *(f"\n      {line}" for line in chain.faults + chain.notes))
        rows.append((name, chunks, chain))
        bad += bool(chain.faults)
    if "--table" in sys.argv:
        write_table(sys.argv[sys.argv.index("--table") + 1], rows)
    print(f"{len(rows)} recordings, {bad} with a fault")
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
