"""One call that fails, anywhere in a job: reading, writing, syncing, naming, removing. Whatever the job makes of it, the promises
hold; and the same command on a sound disk then makes every file.

faults.py PROGRAM SHIM HALF, where HALF is 0 or 1: every other job, so that two may run side by side.
"""
import random
import sys

from cases import case, main
from jobs import ALL
from recordings import noise, write
from takes import poly

half = int(sys.argv.pop(3))
KINDS = (("read", "EIO"), ("write", "EIO"), ("write", "ENOSPC"), ("fsync", "EIO"), ("create", "EACCES"),
         ("rename,exchange,link", "EIO"), ("unlink", "EACCES"), ("copy,allocate,truncate,mkdir,attribute", "EIO"))


def count(world, job):
    """How often each kind of call comes about in an undisturbed run."""
    world.empty()
    arguments = job.make(world)
    rules = [{"call": call, "path": "/world/", "do": "count"} for call, _ in KINDS]
    run = world.run(*arguments, status=0, rules=rules)
    job.finished(world, run)
    return run.seen


def one_fault(world, job, rule):
    world.empty()
    arguments = job.make(world)
    ledger = world.ledger()
    run = world.run(*arguments, rules=[rule])
    world.expect(run.status in (0, 1), f"exit status {run.status}", run)
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, job.replaced, run=run)
    world.expect_no_strangers(ledger, run=run)
    job.between(world, run)
    if run.status == 0:
        job.finished(world, run)
    rerun = world.run_again(run, *arguments)
    rerun.before = run.words
    world.expect_claims(rerun)
    world.expect_nothing_lost(ledger, job.replaced, run=rerun)
    world.expect_no_strangers(ledger, run=rerun)
    job.finished(world, rerun)
    world.expect_no_leftovers(rerun, own=True)


@case
def any_call_that_fails(world):
    drawn = random.Random("faults")
    for number, job in enumerate(ALL):
        if number % 2 != half:
            continue
        world.about = job.name
        seen = count(world, job)
        for (call, error), times in zip(KINDS, seen):
            if not times:
                continue
            nth = drawn.randint(1, times)
            onwards = drawn.choice(("", "+"))
            world.about = f"{job.name}: {call} {nth}{onwards} of {times} is {error}"
            one_fault(world, job, {"call": call, "path": "/world/", "nth": f"{nth}{onwards}", "do": "fail", "errno": error})


@case
def a_file_system_that_knows_little(world):
    """Neither a rename that replaces nothing, nor links, nor room ahead of time: as on a stick or a share. All works."""
    for number, job in enumerate(ALL):
        if number % 2 != half:
            continue
        world.empty()
        world.about = job.name
        arguments = job.make(world)
        ledger = world.ledger()
        run = world.run(*arguments, status=0, rules=[
            {"call": "exchange", "path": "/recordings", "do": "fail", "errno": "EINVAL"},
            {"call": "link", "path": "/recordings", "do": "fail", "errno": "EPERM"},
            {"call": "allocate,copy", "path": "/recordings", "do": "fail", "errno": "EOPNOTSUPP"}])
        world.expect_claims(run)
        world.expect_nothing_lost(ledger, job.replaced, run=run)
        job.finished(world, run)
        world.expect_no_leftovers(run)


@case
def nothing_is_replaced_there_either(world):
    """Without such renames, a file that stands there is still not replaced, even one that comes at the last moment."""
    channels = poly(world, "p.wav", ["One", "Two"])
    write(world.path("p_One.wav"), noise("was there"))
    ledger = world.ledger()
    run = world.run("split", "--folders", "flat", "--json", world.path("p.wav"), rules=[
        {"call": "exchange", "path": "/recordings", "do": "fail", "errno": "EINVAL"},
        {"call": "link", "path": "/recordings", "do": "fail", "errno": "EPERM"}])
    world.expect_untouched(ledger, run=run)
    world.expect_sounds(world.path("p_Two.wav"), channels[1:], run)
    world.expect_no_leftovers(run)


sys.exit(main())
