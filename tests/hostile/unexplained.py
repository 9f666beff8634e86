"""Headers that explain less than there is: every job says how much audio may lie behind the declared end, and no such source
is moved, deleted or replaced."""
import sys

from cases import case, main
from recordings import bext, ixml, noise, write
from takes import pair

SECONDS = 2
RATE = 48000


def lies(frame):
    """(name, options of `write`) of each kind of lie about SECONDS of frames of `frame` bytes, and what is hidden, if known."""
    whole = SECONDS * RATE * frame
    return [
        ("a quarter", {"data_told": whole // 4}, 1.5),
        ("nothing", {"data_told": 0}, None),
        ("no limit", {"data_told": 0xFFFFFFFF}, None),
        ("ds64 of a quarter", {"rf64": {"data": whole // 4}}, 1.5),
        ("ds64 of nothing", {"rf64": {"data": 0}}, None),
        ("ds64 beyond the end", {"rf64": {"data": whole * 4}}, None),
    ]


def expect_warned(world, run, hidden, about):
    world.about = about
    world.expect_said(rf"{hidden} s of audio may lie behind the declared end" if hidden else
                      r"declared|behind|unexplained|header", run)


@case
def no_merge_or_split_lets_them_go(world):
    for words, options, hidden in lies(3):
        for arguments in (["--originals", "delete"], ["--lr-cleanup", "verifiedConsolidation"]):
            world.empty()
            world.about = words
            pair(world, seconds=SECONDS, **options)
            ledger = world.ledger()
            run = world.run("interleave", *arguments, "--json", *(world.path(f"A.{tag}.wav") for tag in "LR"))
            world.expect_untouched(ledger, run=run)
            world.expect_claims(run)
            expect_warned(world, run, hidden, words)
    for words, options, hidden in lies(6):
        world.empty()
        world.about = words
        write(world.path("p.wav"), [noise(f"{i}", SECONDS) for i in range(2)], ahead=[(b"bext", bext())], **options)
        ledger = world.ledger()
        run = world.run("deinterleave", "--originals", "move", "--json", world.path("p.wav"))
        world.expect_untouched(ledger, run=run)
        if run.document:
            world.expect_claims(run)


@case
def none_is_replaced_in_place(world):
    for words, options, hidden in lies(6):
        world.empty()
        world.about = words
        channel = noise("dual", SECONDS)
        write(world.path("p.wav"), [channel, channel], ahead=[(b"bext", bext()), (b"iXML", ixml(["One", "Two"]))], **options)
        ledger = world.ledger()
        for arguments in (["clean", "--no-suffix", "--overwrite"], ["edit", "--in-place", "--rename", "1=New"]):
            run = world.run(*arguments, "--json", world.path("p.wav"), status=(0, 1))
            world.expect_untouched(ledger, run=run)
            world.expect_no_leftovers(run)
            if run.items:
                world.expect_claims(run)
            if hidden:
                expect_warned(world, run, hidden, words)


@case
def every_job_warns(world):
    quarter = SECONDS * RATE * 6 // 4
    write(world.path("p.wav"), [noise(f"warn {i}", SECONDS) for i in range(2)],
          ahead=[(b"bext", bext()), (b"iXML", ixml(["One", "Two"]))], data_told=quarter)
    ledger = world.ledger()
    for arguments in (["split", "--folders", "flat"], ["deinterleave"], ["edit", "--rename", "1=New"], ["validate"],
                      ["clean", "--output", world.path("mono")]):
        run = world.run(*arguments, world.path("p.wav"))
        expect_warned(world, run, r"1\.5", arguments[0])
        world.expect_untouched(ledger, run=run)
    world.empty()
    for i, name in enumerate(("One", "Two")):
        write(world.path(f"14A-T1_{name}.wav"), noise(f"iso {i}", SECONDS),
              ahead=[(b"iXML", ixml([name], "14A", "1", first=i + 1))], data_told=quarter // 2)
    for arguments in (["join"], ["join", "--single", "--name", "K"]):
        paths = [world.path(f"14A-T1_{name}.wav") for name in ("One", "Two")] if "--single" in arguments else [world.tree]
        run = world.run(*arguments, *paths)
        expect_warned(world, run, r"1\.5", " ".join(arguments))


@case
def chunks_behind_the_audio_are_no_lie(world):
    """The other side: metadata after the audio, and a true RF64, are recordings like any other."""
    for options in ({"behind": [(b"LIST", b"INFOISFT\x04\0\0\0abc\0"), (b"SMED", b"x" * 7001)]}, {"rf64": {}}):
        world.empty()
        channels = pair(world, **options)
        ledger = world.ledger()
        run = world.run("interleave", "--originals", "delete", "--json", world.tree, status=0)
        world.expect_nothing_lost(ledger, run=run)
        there = world.visible()
        if world.expect(there in (["Interleaved/A.wav"], ["Interleaved/A.rf64"]), f"there is: {there}", run):
            world.expect_sounds(world.path(there[0]), channels, run)
        world.expect("declared end" not in run.words, "a warning for nothing", run)


@case
def what_lies_behind_is_told_in_the_document(world):
    pair(world, seconds=SECONDS, data_told=SECONDS * RATE * 3 // 4)
    ledger = world.ledger()
    run = world.run("interleave", "--json", world.tree)
    told = [item.get("message", "") + item.get("statusText", "") + " ".join(map(str, item.get("warnings", []))) for item in run.items]
    world.expect(any("declared end" in text for text in told), f"the items say: {told}", run)
    world.expect_untouched(ledger, run=run)


sys.exit(main())
