"""A bit that changes on its way to the disk, and nobody is told: with "--proof" the item fails, its sources stay whatever was to
become of them, and no file stands that would pass for a good one."""
import os
import sys

from cases import case, main
from takes import dual_mono, isos, pair, poly

# The first write that carries audio into an unfinished output.
FLIP = {"call": "write", "path": "/.ostrel-", "from": 20000, "nth": 1, "do": "flip"}


def interleave(world, *options):
    pair(world)
    return ["interleave", *options, world.tree]


def deinterleave(world, *options):
    poly(world, "p.wav", ["L", "R"])
    return ["deinterleave", *options, world.path("p.wav")]


def split(world):
    poly(world, "p.wav", ["One", "Two"])
    return ["split", "--folders", "flat", world.path("p.wav")]


def join(world):
    isos(world, ("One", "Two"))
    return ["join", "--single", "--name", "K", world.path("14A-T1_One.wav"), world.path("14A-T1_Two.wav")]


def edit(world):
    poly(world, "p.wav", ["One", "Two", "Three"])
    return ["edit", "--remove", "2", world.path("p.wav")]


def clean(world, *options):
    dual_mono(world, "a.wav")
    return ["clean", *options, world.path("a.wav")]


JOBS = {
    "interleave": interleave,
    "interleave, then delete": lambda world: interleave(world, "--originals", "delete"),
    "interleave, then move": lambda world: interleave(world, "--originals", "move"),
    "interleave, then clean up": lambda world: interleave(world, "--lr-cleanup", "hardDelete"),
    "deinterleave, then delete": lambda world: deinterleave(world, "--originals", "delete"),
    "split": split,
    "join": join,
    "edit": edit,
    "clean": clean,
    "clean in place": lambda world: clean(world, "--no-suffix", "--overwrite"),
}


def proofs(run):
    return [item.get("proof", {}).get("audio") for item in run.items]


@case
def a_flipped_bit_fails_the_item_and_keeps_its_sources(world):
    for name, make in JOBS.items():
        world.empty()
        world.about = name
        arguments = [*make(world), "--proof", "--json"]
        ledger = world.ledger()
        before = world.visible()
        run = world.run(*arguments, status=1, rules=[FLIP])
        world.expect(len(run.strokes) == 1, f"{len(run.strokes)} bits were flipped", run)
        world.expect(proofs(run) == ["differs"], f"told: {proofs(run)}", run)
        world.expect([item["status"] for item in run.items] == ["failed"], "not told as failed", run)
        world.expect("The proof failed" in run.words, "the message does not say why", run)
        world.expect_claims(run)
        world.expect_untouched(ledger, run=run)
        world.expect_nothing_lost(ledger, run=run)
        world.expect_no_strangers(ledger, run=run)
        world.expect_no_leftovers(run)
        if make is not split:  # its other ISOs stand: they were proven
            made = [file for file in world.visible() if file not in before]
            world.expect(not made, f"standing: {made}", run)
        world.expect(all(told["fate"] == "kept" for item in run.items for told in item["fates"]), "a source went", run)
        rerun = world.run(*arguments, status=0)
        world.expect(proofs(rerun) == ["identical"], f"told then: {proofs(rerun)}", rerun)
        world.expect_claims(rerun)


@case
def without_a_proof_nothing_is_told_of_one(world):
    for make in (split, join, interleave):
        world.empty()
        run = world.run(*make(world), "--json", status=0)
        world.expect('"proof"' not in run.out, "a proof is told of that nobody asked for", run)


@case
def a_read_that_fails_is_no_proof(world):
    """The disk gives the new file back no more."""
    split(world)
    ledger = world.ledger()
    run = world.run("split", "--folders", "flat", "--engine", "direct", "--proof", "--json", world.path("p.wav"),
                    status=1, rules=[{"call": "read", "path": "/.ostrel-", "from": 20000, "do": "fail", "errno": "EIO"}])
    world.expect(proofs(run) == ["differs"], f"told: {proofs(run)}", run)
    world.expect_untouched(ledger, run=run)
    world.expect(os.listdir(world.tree) == ["p.wav"], f"standing: {os.listdir(world.tree)}", run)


sys.exit(main())
