#!/usr/bin/env python3
"""Reads every real recording, and writes to copies of them: check_samples.py SAMPLES_FOLDER BINARY.

What is shown is compared with samples.json, whose facts were found by other means, and with a chunk walk in Python.
Exit status 77 (skipped) where the recordings are not there.
"""
import csv
import hashlib
import io
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

FILLERS = {b"JUNK", b"junk", b"JUNQ", b"junq", b"FLLR", b"fllr", b"FILR", b"filr", b"PAD ", b"pad "}
IXML = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><SCENE>Ünter</SCENE></BWFXML>\n"

# Not readable, and why: damaged on purpose by their makers, or PCM whose byte rate contradicts its sample size.
UNREADABLE = {
    "rf64/bext_rf64.wav": "truncated",
    "rf64/Testfile_SEQ_RF64_Big.wav.gz": "no RIFF/RF64 header",
    "sample-formats/RIFX-16bit-mono.wav": "no RIFF/RF64 header",
    "sample-formats/test-44100Hz-2ch-32bit-float-be.wav": "no RIFF/RF64 header",
    "sample-formats/test-8000Hz-le-3ch-5S-36bit.wav": "fmt_",
    "sample-formats/test-8000Hz-le-4ch-9S-12bit.wav": "fmt_",
    "sample-formats/test-8000Hz-le-5ch-9S-5bit.wav": "fmt_",
    "sample-formats/pcmwaveformat-24bit-4byte-48kHz-stereo.wav": "fmt_",
    "edge-cases/rf64-pcm-44khz-8bit-mono-ds64-chunk-missing.wav": "no ds64 chunk",
    "edge-cases/wf-pcm-44khz-8bit-mono-chunk-size-larger-than-bytes-remaining.wav": "truncated",
    "edge-cases/wf-pcm-44khz-8bit-mono-fmt-chunk-multiple.wav": "2 fmt_ chunks",
    "edge-cases/rect_24bit_nods64.wav": "no ds64 chunk",
    "edge-cases/rect_24bit_noriff.wav": "no RIFF/RF64 header",
    "edge-cases/test-44100Hz-le-1ch-4bytes-early-eof.wav": "truncated",
    "edge-cases/crash-24728523ef4be15c838293b676f6853e73723bf4.wav": "truncated",
    "edge-cases/crash-cbd757427cea12bd8a21f86cd8cf74d98ce56bee.wav": "truncated",
    "edge-cases/infloop.wav": "truncated",
    "edge-cases/duplicate_tags.wav": "2 INFO chunks",
}
# Readable, but their layout is in doubt, so that they are not written; or there is no audio at all.
NOT_WRITTEN = {
    "edge-cases/wf-pcm-44khz-8bit-mono-file-extra-byte.wav": "belongs to none",
    "edge-cases/wf-pcm-44khz-8bit-mono-non-chunk-data-before-riff-end-of-2-null-bytes.wav": "belongs to none",
    "edge-cases/test-44100Hz-le-1ch-4bytes-incomplete-chunk.wav": "belongs to none",
    "edge-cases/zero-size-chunk.wav": "belongs to none",
    "edge-cases/ffmpeg-missing-chunksize.wav": "never closed",
}
BEXT = {"description": "Description", "originator": "Originator", "originator_reference": "OriginatorReference",
        "origination_date": "OriginationDate", "origination_time": "OriginationTime",
        "coding_history": "CodingHistory"}
LOUDNESS = {"value": "LoudnessValue", "range": "LoudnessRange", "max_true_peak": "MaxTruePeakLevel",
            "max_momentary": "MaxMomentaryLoudness", "max_short_term": "MaxShortTermLoudness"}

binary = None
problems = []


def run(*arguments):
    return subprocess.run([binary, *arguments], capture_output=True)


def check(name, what, found, expected):
    if found != expected:
        problems.append("%s: %s is %.200r, expected %.200r" % (name, what, found, expected))


def with_line_feeds(text):
    return text.replace("\r\n", "\n").replace("\r", "\n")


def chunks(data):
    """(name, bytes) in file order; a missing pad byte is known by the name that stands in its place."""
    found, at, wide = [], 12, None
    while at + 8 <= len(data):
        name, size = data[at:at + 4], struct.unpack_from("<I", data, at + 4)[0]
        if name == b"ds64":
            wide = struct.unpack_from("<Q", data, at + 16)[0]
        if name == b"data" and size == 0xFFFFFFFF and wide is not None:
            size = wide
        found.append((name, data[at + 8:at + 8 + size]))
        at += 8 + size
        unpadded = size % 2 and data[at:at + 4].isalnum() and len(data[at:at + 4]) == 4
        at += size % 2 and not unpadded
    return found


def expected_fields(facts):
    fields = {}
    bext = facts.get("bext") or {}
    for key, column in BEXT.items():
        if key in bext:
            fields[column] = with_line_feeds(bext[key])
    if "version" in bext:
        fields["BextVersion"] = str(bext["version"])
    if bext.get("time_reference"):
        fields["TimeReference"] = str(bext["time_reference"])
    if bext.get("version", 0) >= 1 and bext.get("umid", "").strip("0"):
        umid = bext["umid"].upper()
        fields["UMID"] = umid[:64] if umid[64:] == "0" * 64 else umid
    if bext.get("version", 0) >= 2:
        for key, column in LOUDNESS.items():
            value = bext.get("loudness_raw", {}).get(key, 0x7FFF)
            fields[column] = "" if value == 0x7FFF else "%.2f" % (value / 100)
    for name, text in facts.get("info") or []:
        fields[name] = with_line_feeds(text)
    return fields


def check_display(name, path, facts):
    result = run("--out-core=-", path)
    check(name, "status", (result.returncode, result.stderr), (0, b""))
    header, row = list(csv.reader(io.StringIO(result.stdout.decode(), newline="")))
    shown = dict(zip(header, row + [""] * (len(header) - len(row))))
    result = run("--out-core-xml=-", path)
    check(name, "status of the XML", (result.returncode, result.stderr), (0, b""))
    core = ElementTree.fromstring(result.stdout).find("File/Core")
    elements = {element.tag.replace("TimeReference_translated", "TimeReference (translated)"): element.text
                for element in core}
    # An XML reader has no way to see a control character; none of the recordings has one.
    check(name, "XML against CSV", elements, {k: v for k, v in shown.items() if v and k != "FileName"})
    for column, value in expected_fields(facts).items():
        if column in shown:
            check(name, column, shown[column], value)
    with open(path, "rb") as file:
        texts = [data.split(b"\0")[0] for chunk, data in chunks(file.read()) if chunk == b"iXML"]
    text = texts[0].replace(b"\r\n", b"\n").replace(b"\r", b"\n") if texts else b""
    result = run("--out-iXML=-", path)
    check(name, "iXML", (result.returncode, result.stderr, result.stdout), (0, b"", text + b"\n"))
    digest = (facts.get("ixml") or {}).get("sha256_of_text")
    if digest and b"\r" not in texts[0]:
        # The fact is about the text without the blanks around it.
        check(name, "SHA-256 of the iXML", hashlib.sha256(result.stdout.strip()).hexdigest(), digest)


def check_writing(name, path, facts, document):
    with open(path, "rb") as file:
        before = file.read()
    change = ["--Description=written here", "--TimeReference=4294967299", "--in-iXML=" + document, path]
    result = run(*change)
    if name in NOT_WRITTEN:
        with open(path, "rb") as file:
            check(name, "refused", (result.returncode, NOT_WRITTEN[name] in result.stderr.decode(), file.read()),
                  (1, True, before))
        return
    check(name, "status of the write", (result.returncode, result.stderr), (0, b""))
    with open(path, "rb") as file:
        after = file.read()
    audio = [data for chunk, data in chunks(after) if chunk == b"data"]
    check(name, "audio", audio, [data for chunk, data in chunks(before) if chunk == b"data"])
    if "data_sha256" in facts:
        check(name, "SHA-256 of the audio", hashlib.sha256(audio[0]).hexdigest(), facts["data_sha256"])
    changed = FILLERS | {b"bext", b"iXML", b"ds64"}
    check(name, "other chunks", [c for c in chunks(after) if c[0] not in changed],
          [c for c in chunks(before) if c[0] not in changed])
    if after[:4] == b"RIFF":
        check(name, "RIFF size", struct.unpack_from("<I", after, 4)[0] + 8, len(after))
    shown = next(csv.DictReader(io.StringIO(run("--out-core=-", path).stdout.decode(), newline="")))
    check(name, "Description", shown["Description"], "written here")
    check(name, "TimeReference", shown["TimeReference"], "4294967299")
    for column, value in expected_fields(facts).items():
        # A negative loudness value may move by 0.01 when its chunk is written.
        if column in shown and column not in ("Description", "TimeReference", *LOUDNESS.values()):
            check(name, column + " afterwards", shown[column], value)
    check(name, "iXML", run("--out-iXML=-", path).stdout.decode(), IXML + "\n")
    os.utime(path, (1, 1))
    identity = os.stat(path)
    check(name, "status of the second write", run(*change).returncode, 0)
    again = os.stat(path)
    check(name, "untouched by the second write", (again.st_ino, again.st_mtime_ns, again.st_ctime_ns),
          (identity.st_ino, identity.st_mtime_ns, identity.st_ctime_ns))


def main():
    global binary
    samples, binary = sys.argv[1:3]
    index = os.path.join(samples, "samples.json")
    if not os.path.exists(index):
        print("SKIPPED: the recordings are not there:", samples)
        return 77
    with open(index, encoding="utf-8") as file:
        files = json.load(file)["files"]
    read = 0
    with tempfile.TemporaryDirectory() as folder:
        document = os.path.join(folder, "i.xml")
        with open(document, "w", encoding="utf-8") as file:
            file.write(IXML)
        for facts in files:
            name = facts["file"]
            path = os.path.join(samples, name)
            if facts.get("container") not in ("RIFF", "RF64") or name in UNREADABLE:
                result = run("--out-core=-", path)
                reason = UNREADABLE.get(name, "no RIFF/RF64 header")
                check(name, "refused", (result.returncode, reason in result.stderr.decode()), (1, True))
                continue
            copy = os.path.join(folder, "copy.wav")
            shutil.copyfile(path, copy)
            check_display(name, path, facts)
            check_writing(name, copy, facts, document)
            read += 1
    print("\n".join(problems) or "%d recordings read and written, %d files refused as they should be"
          % (read, len(files) - read))
    return 1 if problems else 0


sys.exit(main())
