"""The journal: every move, deletion and replacement stands in it ahead of the step and after it, and moves can be taken back."""
import json
import os
import sys

from cases import case, main
from ledger import digest, files
from recordings import Recording, noise, write
from takes import dual_mono, pair, poly

MOVE = ["interleave", "--originals", "move", "--json"]
CLEAN_UP = ["interleave", "--lr-cleanup", "verifiedConsolidation", "--json"]
DELETE = ["interleave", "--lr-cleanup", "hardDelete", "--json"]


def steps(world, **wanted):
    return [line for line in world.journal() if all(line.get(key) == value for key, value in wanted.items())]


def run_of(world):
    """The identity of the only run in the journal."""
    runs = {line.get("run") for line in world.journal()}
    world.expect(len(runs) == 1, f"runs in the journal: {runs}")
    return next(iter(runs), "")


@case
def every_step_is_written_twice(world):
    for arguments, op, count in ((MOVE, "move", 2), (CLEAN_UP, "move", 2), (DELETE, "delete", 2),
                                 (["interleave", "--originals", "delete", "--json"], "delete", 2)):
        world.empty()
        world.about = " ".join(arguments)
        pair(world)
        sources = {world.path(f"A.{tag}.wav") for tag in "LR"}
        run = world.run(*arguments, world.tree, status=0)
        for phase in ("begin", "end"):
            found = steps(world, op=op, phase=phase)
            world.expect({line.get("from") for line in found} == sources and len(found) == count,
                         f"{phase}: {[line.get('from') for line in found]}", run)
        if op == "move":
            for line in steps(world, op="move", phase="end"):
                world.expect(os.path.isfile(line.get("to", "")), f"moved to {line.get('to')}, where nothing is", run)
    world.empty()
    world.about = "replacement"
    dual_mono(world, "a.wav")
    run = world.run("clean", "--no-suffix", "--overwrite", "--json", world.path("a.wav"), status=0)
    for phase in ("begin", "end"):
        world.expect([line.get("from") for line in steps(world, op="replace", phase=phase)] == [world.path("a.wav")]
                     or [line.get("to") for line in steps(world, op="replace", phase=phase)] == [world.path("a.wav")],
                     f"{phase} of the replacement is not in the journal", run)


@case
def a_step_is_on_disk_ahead_of_it(world):
    """The line is written and synced before the first file moves."""
    for arguments in (MOVE, CLEAN_UP, DELETE):
        world.empty()
        world.about = " ".join(arguments)
        pair(world)
        run = world.run(*arguments, world.tree, rules=[
            {"call": "write,fsync", "path": "/state/", "proc": "ostrel-cli", "do": "count"},
            {"call": "rename,exchange,unlink,link", "path": "A.L.wav", "proc": "ostrel-cli", "do": "count"}])
        order = [("journal " if "/state/" in stroke[4] else "source ") + stroke[1] for stroke in run.strokes]
        first = next((i for i, words in enumerate(order) if words.startswith("source")), None)
        if world.expect(first is not None, f"the source was never touched: {order}", run):
            world.expect("journal write" in order[:first] and "journal fsync" in order[:first],
                         f"ahead of the step: {order[:first]}", run)


@case
def only_what_happens_is_in_it(world):
    poly(world, "p.wav", ["One", "Two"])
    world.run("split", "--folders", "flat", "--json", world.path("p.wav"), status=0)
    world.expect(not world.journal(), f"a split is in the journal: {world.journal()}")


@case
def runs_are_listed(world):
    pair(world)
    world.run(*MOVE, world.tree, status=0)
    name = run_of(world)
    listed = world.run("journal", status=0)
    world.expect(name and name in listed.out, f"run {name!r} is not listed", listed)
    as_json = world.run("journal", "--json", status=0)
    world.expect(name and name in json.dumps(as_json.document), "nor in the document", as_json)


@case
def moves_are_taken_back(world):
    for arguments in (MOVE, CLEAN_UP):
        world.empty()
        world.about = " ".join(arguments)
        for base in "AB":
            pair(world, base, folder="sub")
        before = {name: digest(world.path(name)) for name in files(world.tree)}
        world.run(*arguments, world.tree, status=0)
        name = run_of(world)
        undone = world.run("journal", "undo", name, status=0)
        now = {file: digest(world.path(file)) for file in before if os.path.isfile(world.path(file))}
        world.expect(now == before, f"back: {sorted(now)}", undone)
        world.expect(len(steps(world, phase="undone")) == 4, f"undone in the journal: {len(steps(world, phase='undone'))}", undone)
        again = world.run("journal", "undo", name)
        now = {file: digest(world.path(file)) for file in before if os.path.isfile(world.path(file))}
        world.expect(now == before, "a second undo did harm", again)


@case
def taking_back_replaces_nothing(world):
    """The old name was taken by another file meanwhile."""
    pair(world)
    world.run(*MOVE, world.tree, status=0)
    name = run_of(world)
    write(world.path("A.L.wav"), noise("a newcomer"))
    ledger = world.ledger()
    run = world.run("journal", "undo", name, status=1)
    world.expect_nothing_lost(ledger, run=run)
    world.expect_untouched(ledger, ["A.L.wav"], run)
    world.expect_said(r"A\.L\.wav", run)


@case
def what_is_gone_is_not_promised(world):
    """Deletions can't be taken back, and an undo of a run with them says so."""
    pair(world)
    world.run(*DELETE, world.tree, status=0)
    run = world.run("journal", "undo", run_of(world), status=1)
    world.expect_said(r"delet", run)
    for arguments in (["journal", "undo", "no-such-run"], ["journal", "undo", "../../etc"]):
        world.run(*arguments, status=(1, 2))


@case
def the_moved_file_changed_meanwhile(world):
    """What lies at the place it was moved to is not what was moved: it isn't put under the old name in silence."""
    pair(world)
    run = world.run(*MOVE, world.tree, status=0)
    moved = {os.path.basename(line["from"]): line["to"] for line in steps(world, op="move", phase="end")}
    if not world.expect("A.L.wav" in moved, "no move in the journal", run):
        return
    os.unlink(moved["A.L.wav"])
    run = world.run("journal", "undo", run_of(world), status=1)
    world.expect(os.path.isfile(world.path("A.R.wav")), "the other one did not come back", run)
    world.expect(not os.path.exists(world.path("A.L.wav")), "something stands under the old name", run)


@case
def a_step_that_was_begun_and_not_ended(world):
    """The next start tells of it, with where both files are."""
    for arguments in (MOVE, CLEAN_UP):
        for when in ("before", "after"):
            for nth in (1, 2):
                world.empty()
                world.about = f"{' '.join(arguments)}, killed {when} step {nth}"
                pair(world)
                ledger = world.ledger()
                killed = world.run(*arguments, world.tree, rules=[
                    {"call": "rename,exchange,link", "path": "/Originals/", "proc": "ostrel-cli", "nth": nth, "do": "killtree",
                     "when": when}])
                world.expect(killed.strokes, "the shim never struck", killed)
                world.expect_nothing_lost(ledger, run=killed)
                begun = [line["from"] for line in steps(world, phase="begin")]
                ended = [line["from"] for line in steps(world, phase="end")]
                open_steps = [line for line in steps(world, phase="begin") if line["from"] not in ended]
                world.expect(begun, "nothing is in the journal", killed)
                poly(world, "other/p.wav", ["One", "Two"])
                told = world.run("split", "--folders", "flat", "--json", world.path("other", "p.wav"), status=0)
                for line in open_steps:
                    for place in (line["from"], line.get("to", "")):
                        world.expect(place in told.words, f"not told at the next start: {place}", told)
                world.expect_nothing_lost(ledger, run=told)


@case
def both_of_a_pair_or_none(world):
    """The second can't follow: the first comes back."""
    for arguments, call, path in ((CLEAN_UP, "rename,exchange,link", "/Originals/"), (MOVE, "rename,exchange,link", "/Originals/"),
                                  (DELETE, "unlink,rename,exchange", "A.R.wav"),
                                  (DELETE, "unlink,rename,exchange", "A.L.wav")):
        world.empty()
        world.about = f"{' '.join(arguments)}, {path}"
        pair(world)
        ledger = world.ledger()
        # The second of all such steps fails and all that touch that file after it; taking the first back is another file's step.
        rule = {"call": call, "path": "A.R.wav" if "Originals" in path else path, "proc": "ostrel-cli", "do": "fail",
                "errno": "EIO"}
        run = world.run(*arguments, world.tree, rules=[rule])
        world.expect(run.strokes, "the shim never struck", run)
        world.expect_untouched(ledger, run=run)
        world.expect_claims(run)
        world.expect_no_leftovers(run)
        world.expect_said(r"kept|failed|could not|cannot", run)


@case
def a_journal_that_is_damaged(world):
    """Half a line at its end, of a run that lost its power, and a line of noise: the rest is still read, and written on."""
    pair(world)
    world.run(*MOVE, world.tree, status=0)
    name = run_of(world)
    for folder, _, names in os.walk(world.state):
        for file in names:
            if "journal" in os.path.join(folder, file):
                with open(os.path.join(folder, file), "ab") as journal:
                    journal.write(b"\x00\xff\xfe not JSON\n{\"run\": \"half of a li")
    listed = world.run("journal", status=0)
    world.expect(name in listed.words, "the run before is not listed", listed)
    pair(world, "B")
    ledger = world.ledger()
    run = world.run(*MOVE, world.tree, status=0)
    world.expect_nothing_lost(ledger, run=run)
    ended = [os.path.basename(line.get("from", "")) for line in steps(world, op="move", phase="end")]
    world.expect({"A.L.wav", "B.L.wav"} <= set(ended), f"ended: {ended}", run)
    world.run("journal", "undo", name, status=0)
    world.expect(Recording(world.path("A.L.wav")).frames if os.path.exists(world.path("A.L.wav")) else False, "A.L.wav is not back")


@case
def no_place_for_a_journal(world):
    """The state folder is a file: what can't be written down is not done, and it is told."""
    for arguments in (MOVE, CLEAN_UP, DELETE, ["interleave", "--originals", "delete", "--json"]):
        world.empty()
        world.about = " ".join(arguments)
        pair(world)
        os.rmdir(world.state)
        with open(world.state, "w", encoding="ascii"):
            pass
        ledger = world.ledger()
        run = world.run(*arguments, world.tree)
        world.expect_untouched(ledger, run=run)
        world.expect_claims(run)
        world.expect_said("journal", run)
        os.unlink(world.state)
        os.mkdir(world.state)


sys.exit(main())
