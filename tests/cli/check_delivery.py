#!/usr/bin/env python3
"""Checks, corrects and reports real recordings, and reads what came out with a reader that shares nothing with the program:

    check_delivery.py SAMPLES_FOLDER OSTREL_CLI

Of each recording: the findings of a check; a corrected copy, which has every byte of the audio, none of the findings that were
corrected, and nothing more to correct; the recording itself stays. Of each take: name, start and length in the CSV and in Avid
Log Exchange, by an arithmetic of fractions. Exit status 77 (skipped) where the recordings are not there.
"""
import csv
import fractions
import io
import json
import pathlib
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree

from check_roads import Wave
from each_recording import try_each

LARGEST = 40 << 20  # bytes
SUFFIXES = {".wav", ".wave", ".bwf", ".rf64", ".bw64"}


def labels_of(samples, sample_rate, rate, drop):
    """The timecode of a sample: a sample of slack, since recorders cut or round."""
    frame = int(fractions.Fraction(samples + 1) * rate / sample_rate)
    count = round(rate)
    if drop:
        tens, rest = divmod(frame, 17982)
        frame += 18 * tens + (0 if rest < 2 else 2 * ((rest - 2) // 1798))
    frame %= 24 * 3600 * count
    seconds, frames = divmod(frame, count)
    return (f"{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}{';' if drop else ':'}{frames:02}")


class Told:
    """What a recording's own headers tell of its start."""

    def __init__(self, path):
        wave = Wave(path)
        bext = wave.chunks.get(b"bext", b"")
        self.start = struct.unpack_from("<Q", bext, 338)[0] if len(bext) >= 346 else None
        self.sample_rate = struct.unpack_from("<I", wave.format, 4)[0] if len(wave.format) >= 8 else 0
        self.rate, self.drop = None, False
        try:
            root = xml.etree.ElementTree.fromstring(wave.chunks.get(b"iXML", b"").rstrip(b"\0 \r\n"))
            told = (root.findtext("SPEED/TIMECODE_RATE") or "").strip()
            self.drop = (root.findtext("SPEED/TIMECODE_FLAG") or "").strip() == "DF"
            if re.fullmatch(r"\d+/\d+", told):
                self.rate = fractions.Fraction(told)
        except xml.etree.ElementTree.ParseError:
            pass

    @property
    def label(self):
        known = self.start is not None and self.sample_rate and self.rate
        return labels_of(self.start, self.sample_rate, self.rate, self.drop) if known else None


class Delivery:
    def __init__(self, cli, copy, home):
        self.cli, self.copy, self.home = cli, pathlib.Path(copy), pathlib.Path(home)
        self.faults, self.notes = [], []

    def run(self, *arguments):
        return subprocess.run([self.cli, *map(str, arguments)], capture_output=True, timeout=120)

    def findings(self, path, reader):
        document = json.loads(self.run("check", "--json", "--for", reader, path).stdout)
        return document["files"][0]["findings"]

    def correct(self):
        out = self.home / "corrected"
        made = json.loads(self.run("check", "--fix", "--for", "avid", "--json", "--output", out, self.copy).stdout)["files"][0]
        if made["status"] != "corrected copy":
            if made["fixes"]:
                self.faults.append(f"has corrections, and is {made['status']}")
            return
        copy = out / self.copy.name
        was, now = self.copy.read_bytes(), copy.read_bytes()
        if len(was) != len(now) or Wave(self.copy).audio != Wave(copy).audio:
            self.faults.append("the copy has another audio")
        left = {(each["id"], each["field"]) for each in self.findings(copy, "avid")}
        for fix in made["fixes"]:
            self.notes.append(f"{fix['field']}: {fix['before']} -> {fix['after']}")
            if (fix["id"], fix["field"]) in left:
                self.faults.append(f"{fix['id']} is still found of {fix['field']}")
        again = json.loads(self.run("check", "--fix", "--for", "avid", "--json", "--in-place", copy).stdout)["files"][0]
        if again["fixes"] or copy.read_bytes() != now:
            self.faults.append(f"a second correction changes {again['fixes']}")

    def report(self):
        told = Told(self.copy)
        ran = self.run("report", "--csv", self.copy)
        if ran.returncode != 0:
            return self.notes.append("no report: " + ran.stderr.decode().strip())
        lines = ran.stdout.decode().split("\r\n")
        head = next(i for i, line in enumerate(lines) if line.startswith("File Name,"))
        rows = list(csv.DictReader(io.StringIO("\n".join(lines[head:]))))
        if len(rows) != 1 or rows[0]["File Name"] != self.copy.name:
            return self.faults.append(f"the CSV tells of {[row['File Name'] for row in rows]}")
        if told.label and rows[0]["Start TC"] != told.label:
            self.faults.append(f"the CSV starts at {rows[0]['Start TC']}, not at {told.label}")
        if told.label:
            self.notes.append(f"starts at {told.label}")
            self.log_exchange(told)

    def log_exchange(self, told):
        text = self.run("report", "--ale", self.copy).stdout.decode()
        heading, rest = text.split("\r\n\r\nColumn\r\n")
        columns, data = rest.split("\r\n\r\nData\r\n")
        values = dict(line.split("\t") for line in heading.split("\r\n")[1:])
        rows = [dict(zip(columns.split("\t"), line.split("\t"), strict=True)) for line in data.split("\r\n") if line]
        if abs(float(values["FPS"]) - float(told.rate)) > 0.001:
            self.faults.append(f"FPS {values['FPS']} for {told.rate}")
        if [row["Start"] for row in rows] != [told.label]:
            self.faults.append(f"the ALE tells of {rows}, not of {told.label}")


def main():
    samples, cli = pathlib.Path(sys.argv[1]), sys.argv[2]
    sources = sorted(path for path in samples.rglob("*") if path.suffix.lower() in SUFFIXES and
                     path.is_file() and path.stat().st_size <= LARGEST) if samples.is_dir() else []
    if not sources:
        print("no recordings of real devices here")
        return 77

    def work_on(copy, home, _):
        work = Delivery(cli, copy, home)
        try:
            work.correct()
            work.report()
        except Exception as error:  # the rest of the recordings is still worth a look
            work.faults.append(repr(error))
        return work

    return 1 if try_each(samples, sources, work_on)[1] else 0


if __name__ == "__main__":
    sys.exit(main())
