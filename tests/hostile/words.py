"""What is said of a run: documents, tables, reports, and the sentence that a person reads when a tool fails."""
import csv
import os
import re
import sys

from cases import case, main
from jobs import ALL
from recordings import noise, write
from takes import dual_mono, isos, pair, poly
from world import send, wait_for


@case
def items_of_equal_names(world):
    """Each has its own outputs, message and status."""
    pair(world, folder="one")
    pair(world, folder="two", right=noise("longer", 1.0))
    pair(world, folder="three")
    write(world.path("three", "Interleaved", "A.wav"), [noise("there 1"), noise("there 2")])
    run = world.run("interleave", "--json", world.tree)
    world.expect_claims(run)
    items = {os.path.basename(os.path.dirname(item["sources"][0])): item for item in run.items if item.get("sources")}
    world.expect(set(items) == {"one", "two", "three"}, f"items of {sorted(items)}")
    if len(items) == 3:
        world.expect([os.path.relpath(o, world.tree) for o in items["one"]["outputs"]] == ["one/Interleaved/A.wav"],
                     f"outputs of one: {items['one']['outputs']}")
        world.expect(items["two"]["outputs"] == [], f"outputs of two, which was not made: {items['two']['outputs']}")
        world.expect(items["three"]["outputs"] == [], f"outputs of three, written by no run of ours: {items['three']['outputs']}")
        world.expect(items["one"]["message"] != items["three"]["message"], f"both say: {items['one']['message']}")
        world.expect("Created" not in items["three"]["message"], f"three says: {items['three']['message']}")
    world.empty()
    for folder in ("one", "two"):
        poly(world, f"{folder}/P.wav", ["L", "R"])
    write(world.path("two", "De-interleaved", "P.L.wav"), noise("there"))
    run = world.run("deinterleave", "--json", world.tree)
    world.expect_claims(run)
    found = [len(item["outputs"]) for item in sorted(run.items, key=lambda item: item["sources"])]
    world.expect(found == [2, 0], f"numbers of outputs: {found}")


@case
def outputs_are_told_if_they_were_written(world):
    """A skipped item has written nothing; a dry run neither."""
    for job in ALL:
        world.empty()
        world.about = job.name
        arguments = job.make(world)
        if job.name in ("join of a folder", "interleave", "deinterleave", "clean"):
            run = world.run(*arguments, "--dry-run" if job.name != "deinterleave" else "--dry-run")
            told = [output for item in run.items for output in item.get("outputs", [])]
            world.expect(not [path for path in told if not os.path.exists(path)], f"a dry run tells of {told}", run)
        first = world.run(*arguments, status=0)
        world.expect_claims(first)


@case
def a_second_run_tells_of_nothing_written(world):
    for arguments, make in ((["split", "--folders", "flat"], lambda: poly(world, "p.wav", ["One", "Two"])),
                            (["deinterleave"], lambda: poly(world, "p.wav", ["L", "R"])),
                            (["interleave"], lambda: pair(world)),
                            (["join"], lambda: isos(world, ("One", "Two")))):
        world.empty()
        world.about = arguments[0]
        make()
        paths = [world.path("p.wav")] if os.path.exists(world.path("p.wav")) else [
            world.path(name) for name in world.visible()]
        world.run(*arguments, "--json", *paths, status=0)
        run = world.run(*arguments, "--json", *paths)
        told = [output for item in run.items for output in item.get("outputs", [])]
        world.expect(not told, f"a run that skipped all tells of {told}", run)
        world.expect_claims(run)


@case
def a_report_that_can_not_be_written(world):
    """Said, and exit status 1."""
    for arguments, make in ((["interleave"], lambda: pair(world)), (["deinterleave"], lambda: poly(world, "p.wav", ["L", "R"])),
                            (["clean"], lambda: dual_mono(world, "a.wav")), (["validate"], lambda: dual_mono(world, "a.wav")),
                            (["split", "--folders", "flat"], lambda: poly(world, "p.wav", ["One", "Two"])),
                            (["join"], lambda: isos(world, ("One", "Two"))),
                            (["edit", "--rename", "1=New"], lambda: poly(world, "p.wav", ["One", "Two"]))):
        for rule in ({"call": "write,create", "do": "fail", "errno": "ENOSPC"}, {"call": "rename,exchange,link", "do": "fail", "errno": "EIO"}):
            world.empty()
            world.about = arguments[0]
            make()
            ledger = world.ledger()
            run = world.run(*arguments, "--csv", "--json", world.tree, rules=[{**rule, "path": ".csv", "proc": "ostrel-cli"}])
            if not run.strokes:
                # Written some other way than this rule thinks: fine, if it is there.
                told = run.document.get("csv")
                world.expect(told and os.path.exists(told), f"no stroke, and no report: {told}", run)
                continue
            world.expect(run.status == 1, f"exit status {run.status}, not 1", run)
            world.expect_said(r"csv|report", run)
            told = run.document.get("csv")
            world.expect(not told or os.path.exists(told), f"a report is claimed that isn't there: {told}", run)
            world.expect_nothing_lost(ledger, run=run)


@case
def the_report_tells_what_became_of_the_originals(world):
    """Not what was asked for: here the proof fails for one of two."""
    pair(world, "A")
    pair(world, "B", left=noise("float 1", 1, "f32"), right=noise("float 2", 1, "f32"))
    with open(world.path("B.R.wav"), "r+b") as file:
        content = file.read()
        at = content.index(b"data") + 8
        file.seek(at + 20000 * 4)
        file.write(b"\x00\x00\x40\x40" * 50)  # 3.0, nine decibels above full scale
    run = world.run("interleave", "--originals", "delete", "--csv", "--json", world.tree)
    world.expect_claims(run)
    report = run.document.get("csv")
    if not world.expect(report and os.path.exists(report), "there is no report", run):
        return
    with open(report, encoding="utf-8-sig", newline="") as file:
        text = file.read()
    rows = [row for row in csv.reader(text.splitlines()) if row]
    lines = {base: " | ".join(next((row for row in rows if row[0] == base), [])) for base in "AB"}
    for base in "AB":
        gone = not os.path.exists(world.path(f"{base}.L.wav"))
        world.expect(bool(re.search("delet", lines[base], re.I)) == gone,
                     f"{base}: the sources are {'gone' if gone else 'there'}, and the report says: {lines[base]}\n{text}", run)


@case
def a_stopped_analysis(world):
    for i in range(41):
        dual_mono(world, f"{i:02}.wav")
    for arguments in (["validate"], ["clean", "--output", world.path("out")]):
        flag = os.path.join(world.root, f"paused{world.counter}")
        process = world.start(*arguments, world.tree, rules=[
            {"call": "read", "path": "/recordings/", "proc": "ostrel-cli", "do": "delay", "ms": 20},
            {"call": "open", "path": "/recordings/", "proc": "ostrel-cli", "nth": 6, "do": "pause", "flag": flag}])
        wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
        send(process, 2)
        with open(flag + ".go", "w", encoding="ascii"):
            pass
        run = world.finish(process)
        world.about = arguments[0]
        world.expect(run.status == 130, f"exit status {run.status}, not 130", run)
        said = re.search(r"Analyzed: (\d+) of 41 files, stopped", run.words)
        if world.expect(said, "not said: Analyzed: N of 41 files, stopped", run):
            world.expect(int(said.group(1)) < 41, f"said: {said.group(0)}", run)
        world.expect(not os.path.exists(world.path("out", "00_mono.wav")), "a stopped run went on to clean", run)


BANNER = """if [ "$1" = -version ]; then exec "$real" "$@"; fi
case "$*" in *filter_complex*) ;; *) exec "$real" "$@";; esac
cat >&2 <<'END'
ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000-2026 the FFmpeg developers
  built with gcc 12 (Debian 12.2.0-14+deb12u1)
  configuration: --prefix=/usr --extra-version=0+deb12u1 --toolchain=hardened --enable-gpl --enable-errors-not --disable-stripping
  libavutil      57. 28.100 / 57. 28.100
  libavcodec     59. 37.100 / 59. 37.100
Input #0, wav, from 'take.wav':
  Duration: 00:00:01.00, bitrate: 2304 kb/s
  Stream #0:0: Audio: pcm_s24le ([1][0][0][0] / 0x0001), 48000 Hz, 2 channels, s32 (24 bit), 2304 kb/s
[wav @ 0x5581] The wheel of the tape machine came off
Error while processing the reel: Device or resource busy
Conversion failed!
END
exit 1"""


@case
def the_line_that_tells_the_fault(world):
    world.fake("ffmpeg", BANNER)
    for job in ALL:
        if not job.uses_ffmpeg:
            continue
        world.empty()
        world.about = job.name
        arguments = job.make(world)
        ledger = world.ledger()
        run = world.run(*arguments, status=1)
        world.expect_untouched(ledger, run=run)
        world.expect_no_leftovers(run)
        for banner in ("ffmpeg version", "Copyright", "configuration:", "built with"):
            world.expect(banner not in run.words, f"the banner is shown: {banner}", run)
        told = " ".join(item.get("message", "") + item.get("statusText", "") for item in run.items) + run.err
        world.expect("Device or resource busy" in told or "came off" in told, "the fault is not told", run)
        world.expect_claims(run)


@case
def several_folders_and_a_second_consolidation(world):
    """Each pair goes below the "Originals" of the run's own root, nothing goes on top of anything, and "Originals" is not read."""
    for folder in ("day1", "day2"):
        pair(world, folder=f"{folder}/sub")
    ledger = world.ledger()
    arguments = ["interleave", "--lr-cleanup", "verifiedConsolidation", "--json", world.path("day1"), world.path("day2")]
    run = world.run(*arguments, status=0)
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, run=run)
    moved = [told["movedTo"] for item in run.items for told in item.get("fates", []) if told["fate"] == "moved"]
    world.expect(len(set(moved)) == 4, f"moved to: {moved}")
    world.expect(all("/Originals/" in path for path in moved), f"moved to: {moved}")
    ledger = world.ledger()
    second = world.run(*arguments)
    world.expect(not [item for item in second.items if any("/Originals/" in source for source in item.get("sources", []))],
                 "Originals was scanned", second)
    world.expect_untouched(ledger, run=second)
    pair(world, "New", folder="day1/sub")
    ledger = world.ledger()
    third = world.run(*arguments, status=0)
    world.expect_claims(third)
    world.expect_nothing_lost(ledger, run=third)
    twice = [name for name in world.visible() if name.count("Originals") > 1]
    world.expect(not twice, f"Originals in Originals: {twice}", third)
    # One that comes back under its old name does not push the first aside.
    pair(world, folder="day1/sub", left=noise("again L"), right=noise("again R"))
    ledger = world.ledger()
    fourth = world.run(*arguments, "--overwrite")
    world.expect_nothing_lost(ledger, run=fourth)
    world.expect_claims(fourth)


sys.exit(main())
