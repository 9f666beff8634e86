"""A seal that is killed at each of its steps, that meets a full disk, and two at once: what stands is the old history or the
new one, and both verify; nothing of the recordings is touched."""
import os
import sys

from cases import case, main
from ledger import digest, files

STEP = {"call": "mutate", "path": "/recordings/"}


def tree(world):
    """A folder with a history of its own within another."""
    for name in ("a.wav", "ISO/b.wav", "ISO/c.wav", "Boom/d.wav"):
        os.makedirs(os.path.dirname(world.path("Day", name)), exist_ok=True)
        with open(world.path("Day", name), "wb") as file:
            file.write(name.encode() * 999)
    world.run("seal", "--json", world.path("Day", "ISO"), status=0)
    world.run("seal", "--json", world.path("Day"), status=0)
    return world.path("Day")


def recordings(world):
    return {name: digest(world.path(name)) for name in files(world.tree) if name.endswith(".wav")}


def lists(world):
    return {name: digest(world.path(name)) for name in files(world.tree) if name.endswith(".mhl")}


def generations(world, day):
    run = world.run("verify", "--json", day, status=0)
    world.expect(not run.document.get("faults"), f"faults: {run.document.get('faults')}", run)
    return run.document.get("generations")


def expect_kept(world, before, run):
    for name, what in before.items():
        path = world.path(name)
        world.expect(os.path.isfile(path) and digest(path) == what, f"{name} is gone or another", run)


@case
def killed_at_every_step(world):
    day = tree(world)
    counted = world.run("seal", "--json", day, rules=[{**STEP, "do": "count"}], status=0)
    steps = counted.seen[0]
    world.expect(steps > 8, f"only {steps} steps", counted)
    for step in range(1, steps + 1):
        for when in ("before", "half", "after"):
            world.about = f"killed at step {step} of {steps}, {when}"
            kept = {**recordings(world), **lists(world)}
            before = generations(world, day)
            killed = world.run("seal", "--json", day, rules=[{**STEP, "nth": step, "do": "killtree", "when": when}])
            world.expect(killed.strokes, "the shim never struck", killed)
            expect_kept(world, kept, killed)
            after = generations(world, day)
            world.expect(after in (before, before + 1), f"{before} generations became {after}", killed)
    world.run("seal", "--json", day, status=0)
    left = [name for name in os.listdir(os.path.join(day, "ascmhl")) if name.startswith(".")]
    world.expect(not left, f"left behind: {left}")


@case
def a_first_seal_that_is_killed(world):
    os.makedirs(world.path("Day"))
    with open(world.path("Day", "a.wav"), "wb") as file:
        file.write(b"a" * 999)
    steps = 99
    for step in range(1, steps):
        world.about = f"killed at step {step}"
        killed = world.run("seal", world.path("Day"), rules=[{**STEP, "nth": step, "do": "killtree", "when": "before"}])
        if not killed.strokes:
            break
        told = world.run("verify", "--json", world.path("Day"))
        sealed = os.path.exists(world.path("Day", "ascmhl", "ascmhl_chain.xml"))
        world.expect((told.status == 0) == sealed, f"exit status {told.status}, chain there: {sealed}", told)
        if sealed:
            break
    world.run("seal", world.path("Day"), status=0)
    world.expect(generations(world, world.path("Day")) >= 1, "it was never sealed")


@case
def a_disk_that_is_full(world):
    day = tree(world)
    before = {name: digest(world.path(name)) for name in files(world.tree)}
    for rule in ({"call": "write", "quota": 1}, {"call": "write", "quota": 700}, {"call": "write", "quota": 3000},
                 {"call": "create", "do": "fail", "errno": "ENOSPC", "nth": 1},
                 {"call": "create", "do": "fail", "errno": "ENOSPC", "nth": 3},
                 {"call": "fsync", "do": "fail", "errno": "EIO", "nth": 1},
                 {"call": "fsync", "do": "fail", "errno": "ENOSPC", "nth": 4},
                 {"call": "rename,exchange,link", "do": "fail", "errno": "ENOSPC", "nth": 1},
                 {"call": "rename,exchange,link", "do": "fail", "errno": "ENOSPC", "nth": 2}):
        world.about = str(rule)
        run = world.run("seal", "--json", day, rules=[{**rule, "path": "/recordings/"}], status=1)
        world.expect(run.strokes, "the shim never struck", run)
        now = {name: digest(world.path(name)) for name in files(world.tree)}
        world.expect(now == before, f"changed: {sorted(set(now.items()) ^ set(before.items()))}", run)
    world.about = ""
    world.run("seal", "--json", day, status=0)


@case
def a_medium_that_takes_no_writes(world):
    day = tree(world)
    before = {name: digest(world.path(name)) for name in files(world.tree)}
    rule = {"call": "mutate", "path": "/recordings/", "do": "fail", "errno": "EROFS"}
    told = world.run("verify", "--json", day, rules=[rule], status=0)
    world.expect(not told.strokes, f"a verification wrote: {told.strokes}", told)
    refused = world.run("seal", "--json", day, rules=[rule], status=1)
    world.expect_said("read-only", refused)
    world.expect({name: digest(world.path(name)) for name in files(world.tree)} == before, "something changed", refused)


@case
def a_file_that_can_not_be_read(world):
    day = tree(world)
    before = generations(world, day)
    rule = {"call": "read", "path": "c.wav", "do": "fail", "errno": "EIO"}
    told = world.run("verify", "--json", day, rules=[rule], status=1)
    states = {file["path"]: file["state"] for file in told.document.get("files", [])}
    world.expect(states.get("ISO/c.wav") == "unreadable" and states.get("ISO/b.wav") == "verified", f"{states}", told)
    refused = world.run("seal", "--json", day, rules=[rule], status=1)
    world.expect_said(r"c\.wav", refused)
    world.expect(generations(world, day) == before, "sealed all the same", refused)


@case
def two_at_once(world):
    day = tree(world)
    before = generations(world, day)
    runs = [world.start("seal", "--json", day) for _ in range(4)]
    done = [world.finish(run) for run in runs]
    made = sum(run.status == 0 for run in done)
    world.expect(made >= 1 and all(run.status in (0, 1) for run in done), f"{[run.status for run in done]}", done[0])
    world.expect(generations(world, day) == before + made, f"{made} were told, {generations(world, day) - before} are there")


sys.exit(main())
