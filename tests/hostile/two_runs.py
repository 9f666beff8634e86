"""Two runs over one folder at once, both told to delete the sources of each merge: whatever one of them does to the other, no
take vanishes. ROUNDS of them, some with an ffmpeg that takes its time ahead of the work or behind it."""
import os
import random
import sys
import time

from cases import case, main
from takes import isos, pair, poly

ROUNDS = int(os.environ.get("HOSTILE_ROUNDS", 40))
SLOW = {
    "": '',
    "slow to begin": 'case "$*" in *filter_complex*) sleep 0.15;; esac; exec "$real" "$@"',
    "slow to end": '"$real" "$@"; status=$?; case "$*" in *filter_complex*) sleep 0.15;; esac; exit $status',
}


def make_slow(world, manner):
    world.fake("ffmpeg", SLOW[manner] or 'exec "$real" "$@"')


def at_once(world, arguments, apart, drawn):
    first = world.start(*arguments)
    time.sleep(apart * drawn.random())
    second = world.start(*arguments)
    return world.finish(first), world.finish(second)


def expect_round(world, ledger, runs, words):
    world.about = words
    for run in runs:
        # 2 or 4: what was named had gone already.
        world.expect(run.status in (0, 1, 2, 4), f"exit status {run.status}", run)
        for item in run.items:
            for output in item.get("outputs", []):
                world.expect_sound_file(output, run)
    world.expect_nothing_lost(ledger)
    world.expect_no_strangers(ledger)


@case
def merges_that_delete(world):
    drawn = random.Random("two runs")
    for number in range(ROUNDS):
        world.empty()
        manner = list(SLOW)[number % len(SLOW)]
        make_slow(world, manner)
        for base in "AB" if number % 4 == 1 else "A":
            pair(world, base, seconds=0.2)
        ledger = world.ledger()
        extra = ["--overwrite"] if number % 4 == 3 else []
        runs = at_once(world, ["interleave", "--lr-cleanup", "hardDelete", *extra, "--json", world.tree], 0.3, drawn)
        expect_round(world, ledger, runs, f"round {number + 1}, ffmpeg {manner or 'as it is'}{', overwriting' if extra else ''}")
        if number % 8 == 7:
            # What a beaten run left under a private name is gone after the next.
            run = world.run("interleave", "--json", world.tree)
            world.expect_no_leftovers(run, own=True)
            world.expect_nothing_lost(ledger, run=run)


@case
def originals_that_are_deleted(world):
    drawn = random.Random("two runs that delete originals")
    for number in range(6):
        world.empty()
        make_slow(world, list(SLOW)[number % len(SLOW)])
        pair(world, "A", seconds=0.2)
        poly(world, "P.wav", ["L", "R"], seconds=0.2)
        ledger = world.ledger()
        for job, names in (("interleave", ["A.L.wav", "A.R.wav"]), ("deinterleave", ["P.wav"])):
            runs = at_once(world, [job, "--layout", "stereo", "--originals", "delete", "--overwrite", "--json",
                                   *map(world.path, names)], 0.2, drawn)
            expect_round(world, ledger, runs, f"{job}, round {number + 1}")


@case
def jobs_that_write_the_same_outputs(world):
    drawn = random.Random("two runs that write")
    for number in range(4):
        world.empty()
        make_slow(world, list(SLOW)[number % len(SLOW)])
        channels = poly(world, "p.wav", ["One", "Two"], seconds=0.2)
        ledger = world.ledger()
        extra = ["--overwrite"] if number % 2 else []
        runs = at_once(world, ["split", "--folders", "flat", *extra, "--json", world.path("p.wav")], 0.2, drawn)
        expect_round(world, ledger, runs, f"split, round {number + 1}")
        for name, channel in zip(("One", "Two"), channels):
            world.expect_sounds(world.path(f"p_{name}.wav"), [channel])
        world.empty()
        channels = isos(world, ("One", "Two"), seconds=0.2)
        ledger = world.ledger()
        runs = at_once(world, ["join", "--single", "--name", "K", "--keep-original-name", *extra, "--json",
                               world.path("14A-T1_One.wav"), world.path("14A-T1_Two.wav")], 0.2, drawn)
        expect_round(world, ledger, runs, f"join, round {number + 1}")
        world.expect_sounds(world.path("K.wav"), channels)


sys.exit(main())
