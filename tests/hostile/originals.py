"""Originals go only when all that is in them stands elsewhere, bit for bit: interleave and deinterleave, "--originals delete"
and "move", and the clean-up of L/R pairs."""
import os
import sys

from cases import case, main
from recordings import bext, ixml, louder, noise, write
from takes import FILM, SMPTE, mono_set, pair, poly, tagged

AWAY = ("delete", "move")


def fates(run):
    return {os.path.basename(told["source"]): told["fate"] for item in run.items for told in item.get("fates", [])}


def check(world, run, ledger, kept=(), known=()):
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, run=run)
    unproven = ledger.unproven()
    world.expect(not unproven, f"gone without proof: {', '.join(unproven)}", run)
    if kept:
        world.expect_untouched(ledger, kept, run)
        told = fates(run)
        wrong = [name for name in kept if told.get(os.path.basename(name), "kept") != "kept"]
        world.expect(not wrong, f"not told as kept: {', '.join(wrong)}", run)
    world.expect_no_leftovers(run)
    return run


def expect_why(world, run):
    world.expect_said(r"originals kept", run)
    told = [item.get("statusText", "") + item.get("message", "") for item in run.items]
    world.expect(any("kept" in text.lower() for text in told), f"no item says that its originals were kept: {told}", run)


@case
def whole_merges_and_splits_let_their_originals_go(world):
    """The other side: what is proven is done, and told."""
    for fate, word in (("delete", "deleted"), ("move", "moved")):
        world.empty()
        channels = pair(world)
        ledger = world.ledger()
        run = check(world, world.run("interleave", "--originals", fate, "--json", world.tree, status=0), ledger)
        world.expect(set(fates(run).values()) == {word}, f"told: {fates(run)}")
        world.expect_sounds(world.path("Interleaved", "A.wav"), channels)
        world.empty()
        channels = poly(world, "P.wav", SMPTE)
        ledger = world.ledger()
        run = check(world, world.run("deinterleave", "--layout", "5.1-smpte", "--originals", fate, "--json",
                                     world.path("P.wav"), status=0), ledger)
        world.expect(fates(run) == {"P.wav": word}, f"told: {fates(run)}")
        for tag, channel in zip(SMPTE, channels):
            world.expect_sounds(world.path("De-interleaved", f"P.{tag}.wav"), [channel])


@case
def channels_that_no_layout_knows_are_bad_usage(world):
    poly(world, "P.wav", ["L", "R"])
    ledger = world.ledger()
    for tags in (["l,r"], ["l", "r"], ["Boom"], ["L,Boom"], ["LFE"]):
        run = world.run("deinterleave", "--channels", *tags, "--originals", "delete", "--layout", "stereo", world.path("P.wav"),
                        status=2)
        world.expect_untouched(ledger, run=run)
        world.expect(world.visible() == ["P.wav"], f"written: {world.visible()}", run)


@case
def a_poly_of_which_only_some_channels_went_out_stays(world):
    poly(world, "P.wav", SMPTE)
    ledger = world.ledger()
    for fate in AWAY:
        run = check(world, world.run("deinterleave", "--layout", "5.1-smpte", "--channels", "L,R", "--overwrite", "--originals",
                                     fate, "--json", world.path("P.wav")), ledger, ["P.wav"])
        expect_why(world, run)
        for tag in ("C", "LFE", "Ls", "Rs"):
            world.expect_said(rf"originals kept[^\n]*\b{tag}\b", run)


@case
def a_missing_output_fails_the_item(world):
    """ffmpeg that ends with status 0 and has written one file too few."""
    poly(world, "P.wav", SMPTE)
    ledger = world.ledger()
    world.fake_python("ffmpeg", "status = real()\nif '-map' in arguments:\n    os.unlink(arguments[-1])\nsys.exit(status)")
    run = check(world, world.run("deinterleave", "--layout", "5.1-smpte", "--originals", "delete", "--json", world.path("P.wav"),
                                 status=1), ledger, ["P.wav"])
    world.expect([item["status"] for item in run.items] == ["failed"], "not told as failed")


@case
def floats_above_full_scale_stay(world):
    """20 s into 60: no look at a few blocks meets them."""
    rate = 8000
    quiet, loud = (noise(f"float {i}", 60, "f32", rate) for i in range(2))
    loud = louder(loud, 20, 0.02, 3, rate)
    for fate in AWAY:
        world.empty()
        pair(world, left=quiet, right=loud, rate=rate)
        ledger = world.ledger()
        check(world, world.run("interleave", "--originals", fate, "--json", world.tree), ledger)
        world.empty()
        write(world.path("P.wav"), [quiet, loud], rate, ahead=[(b"bext", bext())])
        ledger = world.ledger()
        check(world, world.run("deinterleave", "--originals", fate, "--json", world.path("P.wav")), ledger)


@case
def integers_of_32_bits_stay_unless_all_bits_arrived(world):
    for fate in AWAY:
        world.empty()
        pair(world, kind="s32")
        ledger = world.ledger()
        check(world, world.run("interleave", "--originals", fate, "--json", world.tree), ledger)
        world.empty()
        poly(world, "P.wav", SMPTE, kind="s32")
        ledger = world.ledger()
        check(world, world.run("deinterleave", "--layout", "5.1-smpte", "--originals", fate, "--json", world.path("P.wav")),
              ledger)


ZERO = """
status = real()
for output in [argument for argument in arguments if argument.endswith('.wav') and not argument in [
        arguments[i + 1] for i, word in enumerate(arguments[:-1]) if word == '-i']]:
    with open(output, 'r+b') as file:
        file.seek(int(os.path.getsize(output) * 0.37))
        file.write(bytes(20480))
sys.exit(status)
"""


@case
def zeroed_audio_between_the_blocks_that_a_sample_meets(world):
    world.fake_python("ffmpeg", ZERO)
    for fate in AWAY:
        world.empty()
        pair(world, seconds=12)
        ledger = world.ledger()
        run = check(world, world.run("interleave", "--originals", fate, "--json", world.tree), ledger, list(ledger.digests))
        expect_why(world, run)
        world.empty()
        poly(world, "P.wav", ["L", "R"], seconds=12)
        ledger = world.ledger()
        run = check(world, world.run("deinterleave", "--originals", fate, "--json", world.path("P.wav")), ledger, ["P.wav"])
        expect_why(world, run)
    for mode in ("hardDelete", "verifiedConsolidation"):
        world.empty()
        pair(world, seconds=12)
        ledger = world.ledger()
        run = check(world, world.run("interleave", "--lr-cleanup", mode, "--json", world.tree), ledger, list(ledger.digests))
        world.expect("Certified" not in "".join(i["status"] for i in run.items), "told as certified")


@case
def read_errors_that_ffmpeg_ends_with_success(world):
    def unreadable(name):
        return [{"call": "read", "path": name, "proc": "ffmpeg", "from": 400000, "do": "fail", "errno": "EIO"}]

    for fate in AWAY:
        world.empty()
        pair(world, seconds=6)
        ledger = world.ledger()
        run = check(world, world.run("interleave", "--originals", fate, "--json", world.tree, rules=unreadable("A.R.wav")),
                    ledger, list(ledger.digests))
        world.expect(run.strokes, "the shim never struck")
        world.empty()
        poly(world, "P.wav", ["L", "R"], seconds=6)
        ledger = world.ledger()
        run = check(world, world.run("deinterleave", "--originals", fate, "--json", world.path("P.wav"),
                                     rules=unreadable("P.wav")), ledger, ["P.wav"])
        world.expect(run.strokes, "the shim never struck")
    for mode in ("hardDelete", "verifiedConsolidation"):
        world.empty()
        pair(world, seconds=6)
        ledger = world.ledger()
        check(world, world.run("interleave", "--lr-cleanup", mode, "--json", world.tree, rules=unreadable("A.L.wav")),
              ledger, list(ledger.digests))


@case
def read_errors_while_the_proof_reads(world):
    """Nothing is proven by a comparison that could not read: not in the source, and not in the output."""
    for path in ("A.R.wav", "Interleaved"):
        world.empty()
        pair(world, seconds=2)
        ledger = world.ledger()
        rules = [{"call": "read", "path": path, "proc": "ostrel-cli", "from": 200000, "do": "fail", "errno": "EIO"}]
        run = check(world, world.run("interleave", "--originals", "delete", "--json", world.tree, rules=rules), ledger,
                    list(ledger.digests))
        world.expect(run.strokes, "the shim never struck")


@case
def hand_picked_files_of_unequal_length(world):
    short, long = noise("one second", 1), noise("three seconds", 3)
    for left, right in ((short, long), (long, short)):
        for option in (["--originals", "delete"], ["--originals", "move"], ["--lr-cleanup", "hardDelete"],
                       ["--lr-cleanup", "verifiedConsolidation"]):
            world.empty()
            pair(world, left=left, right=right)
            ledger = world.ledger()
            check(world, world.run("interleave", *option, "--json", *tagged(world, "", "A", "LR")), ledger,
                  ["A.L.wav", "A.R.wav"])


@case
def sizes_that_lie(world):
    """A quarter of the audio is declared; the rest is there, and nobody may throw it away."""
    channels = pair(world, seconds=2)
    quarter = len(channels[0].data) // 4 // 3 * 3
    for option in (["--originals", "delete"], ["--originals", "move"], ["--lr-cleanup", "hardDelete"],
                   ["--lr-cleanup", "verifiedConsolidation"]):
        world.empty()
        pair(world, seconds=2, data_told=quarter)
        ledger = world.ledger()
        run = check(world, world.run("interleave", *option, "--json", world.tree), ledger, list(ledger.digests))
        world.expect_said(r"1\.5 s of audio may lie behind the declared end", run)
    for fate in AWAY:
        world.empty()
        poly(world, "P.wav", ["L", "R"], seconds=2, data_told=quarter * 2)
        ledger = world.ledger()
        run = check(world, world.run("deinterleave", "--originals", fate, "--json", world.path("P.wav")), ledger, ["P.wav"])
        world.expect_said(r"1\.5 s of audio may lie behind the declared end", run)


@case
def a_third_file_that_took_no_part(world):
    for option in (["--originals", "delete"], ["--originals", "move"], ["--lr-cleanup", "hardDelete"],
                   ["--lr-cleanup", "verifiedConsolidation"]):
        world.empty()
        mono_set(world, ["L", "R", "C"])
        ledger = world.ledger()
        run = world.run("interleave", "--layout", "stereo", *option, "--json", *tagged(world, "", "A", "LRC"))
        check(world, run, ledger, ["A.C.wav"])


@case
def a_source_that_changes_while_it_is_merged(world):
    """Ahead of its deletion: longer by a second, or another file under its name."""
    for manner in ("longer", "other"):
        world.empty()
        left, right = pair(world, seconds=0.5)
        change = write(os.path.join(world.root, "changed.wav"), left + noise("more", 1) if manner == "longer"
                       else noise("another", 0.5), ahead=[(b"bext", bext("A, two microphones"))])
        target = world.path("A.L.wav")
        world.fake("ffmpeg", f'"$real" "$@"; status=$?; cat "{change}" > "{target}"; exit $status' if manner == "longer"
                   else f'"$real" "$@"; status=$?; mv "{change}" "{target}"; exit $status')
        run = world.run("interleave", "--originals", "delete", "--json", *tagged(world, "", "A", "LR"))
        wanted = [left + noise("more", 1)] if manner == "longer" else [noise("another", 0.5)]
        world.expect_sounds(target, wanted, run)
        world.expect_claims(run)


@case
def lossy_outputs_prove_nothing(world):
    channels = [noise(f"lossy {i}", 1, "s16") for i in range(2)]
    wave = write(os.path.join(world.root, "p.wav"), channels)
    source = world.path("P.mp3")
    status = world.tool("ffmpeg", "-v", "error", "-i", wave, "-b:a", "320k", source)
    world.expect(status == 0, "no mp3 could be made")
    ledger = world.ledger()
    for fate in AWAY:
        run = world.run("deinterleave", "--format", "preserveFormat", "--overwrite", "--originals", fate, "--json", world.tree)
        world.expect_untouched(ledger, run=run)
        world.expect(run.items, "nothing was done", run)


@case
def certified_means_that_the_bext_is_the_same(world):
    """The tool that carries the fields can't write: what ffmpeg makes up by itself is no certificate."""
    for mode in ("hardDelete", "verifiedConsolidation"):
        world.empty()
        for tag in "LR":
            write(world.path(f"A.{tag}.wav"), noise(f"certified {tag}", 0.5),
                  ahead=[(b"bext", bext("Two lines,\r\n\"quoted\", and a comma\r\n", "Hostile", "REF-000017", 123456789))])
        before = {tag: open(world.path(f"A.{tag}.wav"), "rb").read() for tag in "LR"}
        ledger = world.ledger()
        rules = [{"call": "write,rename,exchange,copy", "path": "/world/recordings", "proc": "bwfmetaedit", "do": "fail",
                  "errno": "EIO"}]
        run = check(world, world.run("interleave", "--lr-cleanup", mode, "--json", world.tree, rules=rules), ledger)
        world.expect(run.strokes, "the shim never struck")
        expect_same_identity(world, run, before)


def expect_same_identity(world, run, before):
    from recordings import Recording
    output = world.path("Interleaved", "A.wav")
    gone = not os.path.exists(world.path("A.L.wav"))
    certified = any(item["status"] == "completedCarbonCopyCertified" for item in run.items)
    if not (gone or certified):
        return
    original = os.path.join(world.root, "original.wav")
    with open(original, "wb") as file:
        file.write(before["L"])
    found, wanted = Recording(output).identity(), Recording(original).identity()
    world.expect(found == wanted, f"certified, and the BEXT differs: {found} is not {wanted}", run)


@case
def a_description_of_several_lines_can_be_certified(world):
    for tag in "LR":
        write(world.path(f"A.{tag}.wav"), noise(f"lines {tag}", 0.5),
              ahead=[(b"bext", bext("sSCENE=1\r\nsTAKE=2\r\n", "Hostile, \"the\" tool", "", 5)), (b"iXML", ixml([tag]))])
    before = {tag: open(world.path(f"A.{tag}.wav"), "rb").read() for tag in "LR"}
    ledger = world.ledger()
    run = check(world, world.run("interleave", "--lr-cleanup", "hardDelete", "--json", world.tree, status=0), ledger)
    world.expect([item["status"] for item in run.items] == ["completedCarbonCopyCertified"], "not certified")
    expect_same_identity(world, run, before)


sys.exit(main())
