"""kill -9 in the middle of a job, at the calls that change a file: before one, after half of a write, after one; of the whole
run, of one process, or of the program while its child lives on. Then the folder is checked, the same job is run again, and the
folder is checked once more. KILLS of them a job, drawn from a fixed seed and spread over the whole run.

kills.py PROGRAM SHIM JOB
"""
import os
import random
import sys

from cases import case, main
from jobs import NAMED
from world import is_running, wait_for

KILLS = int(os.environ.get("HOSTILE_ROUNDS", 60))
job = NAMED[sys.argv.pop(3)]
# What counts as a step of the run: whatever changes a recording's folder or the journal. "/world/" is in the path of both.
STEP = {"call": "mutate", "path": "/world/"}


def whole_run(world):
    """Counts the steps of an undisturbed run, of all processes and of ffmpeg alone; and checks that it does what it should."""
    arguments = job.make(world)
    ledger = world.ledger()
    run = world.run(*arguments, status=0, rules=[{**STEP, "do": "count"}, {**STEP, "proc": "ffmpeg", "do": "count"}])
    world.expect_nothing_lost(ledger, job.replaced, run=run)
    job.finished(world, run)
    world.expect_no_leftovers(run)
    return run.seen[0], run.seen[1]


def moments(steps, ffmpeg_steps):
    """(rule, words) of each kill. A short run is met at every step, a long one evenly."""
    drawn = random.Random(f"kills of {job.name}")
    orphans = KILLS // 10 if ffmpeg_steps else 0
    for number in range(orphans):
        step = 1 + number * ffmpeg_steps // orphans
        yield {**STEP, "proc": "ffmpeg", "nth": step, "do": "orphan"}, f"the program alone, at step {step} of ffmpeg"
    places = [(step, when) for step in range(1, steps + 1) for when in ("before", "half", "after")]
    for number in range(KILLS - orphans):
        first, last = (number * len(places) // (KILLS - orphans), (number + 1) * len(places) // (KILLS - orphans))
        step, when = places[drawn.randrange(first, max(last, first + 1))]
        deed, who = ("kill", "one process") if number % 6 == 5 else ("killtree", "the run")
        yield {**STEP, "nth": step, "do": deed, "when": when}, f"{who} at step {step}, {when}"


def wait_for_orphans(world):
    """Children of a killed program that go on writing for a while."""
    wait_for(lambda: not any(is_running(*process) for process in world.processes))


def one_kill(world, rule):
    world.empty()
    arguments = job.make(world)
    ledger = world.ledger()
    killed = world.run(*arguments, rules=[rule])
    world.expect(killed.strokes, "the shim never struck", killed)
    world.expect_nothing_lost(ledger, job.replaced, run=killed)
    world.expect_no_strangers(ledger, run=killed)
    job.between(world, killed)
    rerun = world.run(*arguments, status=0)
    wait_for_orphans(world)
    world.expect_claims(rerun)
    world.expect_nothing_lost(ledger, job.replaced, run=rerun)
    world.expect_no_strangers(ledger, run=rerun)
    job.between(world, rerun)
    if rule["do"] == "orphan":
        # Its child may have held a file that the first run after the kill had to leave alone.
        rerun = world.run(*arguments, status=0)
    job.finished(world, rerun)
    world.expect_no_leftovers(rerun, own=True)


@case
def killed_at_any_moment(world):
    steps, ffmpeg_steps = whole_run(world)
    if world.faults:
        return
    print(f"  {steps} steps, {ffmpeg_steps} of them in ffmpeg", flush=True)
    bad = 0
    for rule, words in moments(steps, ffmpeg_steps):
        before = len(world.faults)
        world.about = "killed " + words
        one_kill(world, rule)
        bad += len(world.faults) > before
    if bad:
        world.faults.insert(0, f"{bad} of {KILLS} kills break a promise")


sys.exit(main())
