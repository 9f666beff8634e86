"""Stopping: the first signal after the running item, the second at once, children and unfinished files too."""
import os
import signal
import sys

from cases import case, main
from takes import dual_mono, isos, pair, poly
from world import is_running, send, wait_for

SIGNALS = {signal.SIGINT: 130, signal.SIGTERM: 143, signal.SIGHUP: 129}
# Tells that it runs, and waits to be let go: `go` ends the wait.
HELD = """case "$*" in *filter_complex*) ;; *) exec "$real" "$@";; esac
tell() {{ echo $1 $(cut -d ' ' -f 22 /proc/$1/stat) >> {pids}; }}
tell $$
sleep 600 & tell $!
while [ ! -e {go} ]; do sleep 0.02; done
kill $!
exec "$real" "$@\""""


def hold(world):
    pids, go = (os.path.join(world.root, name) for name in ("pids", "go"))
    for path in (pids, go):
        if os.path.exists(path):
            os.unlink(path)
    world.fake("ffmpeg", HELD.format(pids=pids, go=go))
    return pids, go


def held(path):
    """(number, when it started) of each process that waits; whole lines only."""
    try:
        with open(path, encoding="ascii") as file:
            return [tuple(map(int, line.split())) for line in file if len(line.split()) == 2 and line.endswith("\n")]
    except FileNotFoundError:
        return []


def make_job(world, name):
    if name == "interleave":
        for base in "AB":
            pair(world, base)
        return ["interleave", "--originals", "delete", "--json", world.tree]
    if name == "deinterleave":
        for base in "pq":
            poly(world, f"{base}.wav", ["L", "R"])
        return ["deinterleave", "--originals", "delete", "--json", world.tree]
    if name == "split":
        for base in "pq":
            poly(world, f"{base}.wav", ["One", "Two"])
        return ["split", "--folders", "flat", "--json", world.tree]
    if name == "edit":
        for base in "pq":
            poly(world, f"{base}.wav", ["One", "Two"])
        return ["edit", "--remove", "1", "--json", world.tree]
    for take in "12":
        isos(world, ("One", "Two"), take=take)
    return ["join", "--json", world.tree]


JOBS = ("interleave", "deinterleave", "split", "edit", "join")
MADE_OF_ONE = {"interleave": 1, "deinterleave": 2, "split": 2, "edit": 1, "join": 1}


def expect_clean(world, ledger, run):
    world.expect_nothing_lost(ledger, run=run)
    world.expect_no_strangers(ledger, run=run)
    world.expect_no_leftovers(run)


@case
def the_first_stops_after_the_running_item(world):
    for number, name in enumerate(JOBS):
        which, status = list(SIGNALS.items())[number % 3]
        world.empty()
        world.about = f"{name}, {which.name}"
        arguments = make_job(world, name)
        ledger = world.ledger()
        pids, go = hold(world)
        process = world.start(*arguments)
        started = wait_for(lambda: len(held(pids)) >= 2 or process.poll() is not None)
        send(process, which)
        world.expect(started and process.poll() is None, "it did not wait for the running item")
        with open(go, "w", encoding="ascii"):
            pass
        run = world.finish(process)
        world.expect(run.status == status, f"exit status {run.status}, not {status}", run)
        expect_clean(world, ledger, run)
        world.expect_claims(run)
        # The running item came to its end, the other was not begun.
        made = [file for file in world.visible() if file not in ledger.digests and file.endswith(".wav")]
        world.expect(made, "the running item was not finished", run)
        world.expect(len(made) <= MADE_OF_ONE[name], f"it went on to the next: {made}", run)


@case
def the_second_ends_at_once(world):
    for number, name in enumerate(JOBS):
        which, status = list(SIGNALS.items())[number % 3]
        world.empty()
        world.about = f"{name}, {which.name} twice"
        arguments = make_job(world, name)
        ledger = world.ledger()
        pids, _ = hold(world)
        process = world.start(*arguments)
        wait_for(lambda: len(held(pids)) >= 2 or process.poll() is not None)
        send(process, which)
        send(process, which)
        run = world.finish(process)
        world.expect(run.status == status, f"exit status {run.status}, not {status}", run)
        gone = wait_for(lambda: not any(is_running(*process) for process in held(pids)), 200)
        world.expect(gone, "its children live on", run)
        for process in held(pids):
            if is_running(*process):
                os.kill(process[0], signal.SIGKILL)
        world.expect_untouched(ledger, run=run)
        expect_clean(world, ledger, run)


@case
def the_second_takes_an_unfinished_file_back(world):
    """The child has written a part already; the program's own writing is met as well."""
    flag = os.path.join(world.root, "paused")
    for job, rule in (("split", {"call": "write", "proc": "ffmpeg"}), ("interleave", {"call": "write", "proc": "ffmpeg"}),
                      ("clean", {"call": "write", "proc": "ostrel-cli"}), ("clean in place", {"call": "write", "proc": "ostrel-cli"})):
        world.empty()
        world.about = job
        for name in (flag, flag + ".go"):
            if os.path.exists(name):
                os.unlink(name)
        if job.startswith("clean"):
            dual_mono(world, "a.wav")
            arguments = ["clean", *(["--no-suffix", "--overwrite"] if "place" in job else []), world.tree]
        else:
            arguments = make_job(world, job)
        ledger = world.ledger()
        process = world.start(*arguments, rules=[{**rule, "path": "/recordings/", "nth": 2 if "clean" in job else 1, "do": "pause", "flag": flag}])
        started = wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
        world.expect(started and process.poll() is None, "it was never met")
        send(process, signal.SIGINT)
        send(process, signal.SIGINT)
        run = world.finish(process)
        world.expect(run.status == 130, f"exit status {run.status}, not 130", run)
        wait_for(lambda: not any(is_running(*process) for process in world.processes))
        world.expect_untouched(ledger, run=run)
        expect_clean(world, ledger, run)


@case
def the_direct_engine_stops_the_same_way(world):
    """It writes all by itself: the first signal lets the running item end, the second takes it back."""
    flag = os.path.join(world.root, "paused")
    for times in (1, 2):
        for name in JOBS:
            world.empty()
            world.about = f"{name}, {times} signals"
            for file in (flag, flag + ".go"):
                if os.path.exists(file):
                    os.unlink(file)
            arguments = make_job(world, name)
            ledger = world.ledger()
            process = world.start(*arguments, extra={"OSTREL_ENGINE": "direct"}, rules=[
                {"call": "write", "path": ".ostrel-", "proc": "ostrel-cli", "nth": 1, "do": "pause", "flag": flag}])
            met = wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
            world.expect(met and process.poll() is None, "it was never met")
            for _ in range(times):
                send(process, signal.SIGINT)
            if times == 1:
                with open(flag + ".go", "w", encoding="ascii"):
                    pass
            run = world.finish(process)
            world.expect(run.status == 130, f"exit status {run.status}, not 130", run)
            made = [file for file in world.visible() if file not in ledger.digests and file.endswith(".wav")]
            expect_clean(world, ledger, run)
            if times == 1:
                world.expect(len(made) == MADE_OF_ONE[name], f"not the running item alone: {made}", run)
                world.expect_claims(run)
            else:
                world.expect_untouched(ledger, run=run)
                world.expect(not made, f"made in spite of the second: {made}", run)


@case
def a_stop_ahead_of_the_fate_of_the_sources(world):
    """Between the proof and the deletion: both go or both stay, and it is told."""
    flag = os.path.join(world.root, "paused")
    pair(world)
    ledger = world.ledger()
    process = world.start("interleave", "--lr-cleanup", "hardDelete", "--json", world.tree, rules=[
        {"call": "write", "path": "/state/", "proc": "ostrel-cli", "nth": 1, "do": "pause", "flag": flag}])
    wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
    send(process, signal.SIGTERM)
    with open(flag + ".go", "w", encoding="ascii"):
        pass
    run = world.finish(process)
    world.expect(run.status == 143, f"exit status {run.status}, not 143", run)
    there = [os.path.exists(world.path(f"A.{tag}.wav")) for tag in "LR"]
    world.expect(there in ([True, True], [False, False]), f"L and R are there: {there}", run)
    expect_clean(world, ledger, run)
    world.expect_claims(run)


@case
def a_reader_that_goes_away(world):
    """"ostrel-cli ... | head": the job is not ended in the middle of a file."""
    channels = poly(world, "p.wav", ["One", "Two"])
    process = world.start("split", "--folders", "flat", world.path("p.wav"))
    process.stdout.close()
    process.stdout = open(os.devnull, "rb")
    world.finish(process)
    for name, channel in zip(("One", "Two"), channels):
        world.expect_sounds(world.path(f"p_{name}.wav"), [channel])


sys.exit(main())
