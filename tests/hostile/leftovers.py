"""What killed runs leave under private names, of this version and of earlier ones: never taken for a recording, taken away or,
where it is the only copy, put back; and either is told. What another run holds is left alone."""
import os
import sys

from cases import case, main
from ledger import digest, files
from recordings import bext, noise, write
from takes import dual_mono, isos, pair, poly
from world import wait_for

NAMES = (".ostrel-1B4E28BA-2FA1-11D2-883F-0016D3CCA427.wav", ".ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav",
         ".1B4E28BA-2FA1-11D2-883F-0016D3CCA427_temp.wav", ".1B4E28BA-2FA1-11D2-883F-0016D3CCA427.wav")
JOBS = ((["interleave"], lambda world: pair(world)), (["deinterleave"], lambda world: poly(world, "p.wav", ["L", "R"])),
        (["split", "--folders", "flat"], lambda world: poly(world, "p.wav", ["One", "Two"])),
        (["join"], lambda world: isos(world, ("One", "Two"))),
        (["edit", "--rename", "1=New"], lambda world: poly(world, "p.wav", ["One", "Two"])),
        (["clean"], lambda world: dual_mono(world, "a.wav")), (["validate"], lambda world: dual_mono(world, "a.wav")))


def sources(run):
    return [source for item in run.items + run.document.get("results", []) for source in
            item.get("sources", []) + ([item["filepath"]] if "filepath" in item else [])]


@case
def halves_are_no_recordings(world):
    """Half a file under a private name: a scan passes it by, a job takes it away and says so."""
    for arguments, make in JOBS:
        for name in NAMES[:3:2]:
            world.empty()
            world.about = f"{arguments[0]}, {name}"
            make(world)
            ledger = world.ledger()
            whole = write(world.path("sub", name), [noise("left 1"), noise("left 2")])
            os.truncate(whole, os.path.getsize(whole) // 2)
            os.rename(whole, world.path(name))
            os.rmdir(world.path("sub"))
            run = world.run(*arguments, "--json", world.tree, status=0)
            world.expect(not [path for path in sources(run) if os.path.basename(path).startswith(".")],
                         f"taken for a recording: {sources(run)}", run)
            world.expect_nothing_lost(ledger, run=run)
            if name.startswith(".ostrel-") and arguments[0] != "validate":
                world.expect(not os.path.exists(world.path(name)), "it is still there", run)
                world.expect_said(r"unfinished|left over|left behind|\.ostrel-", run)


@case
def named_by_a_person(world):
    """On the command line too: a private name is no recording."""
    poly(world, "p.wav", ["L", "R"])
    write(world.path(NAMES[0]), [noise("left 1"), noise("left 2")])
    run = world.run("deinterleave", "--originals", "delete", "--json", world.path(NAMES[0]), world.path("p.wav"))
    world.expect(not [path for path in sources(run) if ".ostrel-" in path], f"taken for a recording: {sources(run)}", run)


@case
def the_only_copy_of_a_recording(world):
    """An earlier version was killed between its two renames: the source lies under the name of a backup, and nowhere else."""
    lost = write(world.path("sub", "x.wav"), [noise("only copy")] * 2, ahead=[(b"bext", bext("the only copy"))])
    own = digest(lost)
    name = ".1B4E28BA-2FA1-11D2-883F-0016D3CCA427_backup.wav"
    dual_mono(world, "a.wav")
    os.rename(lost, world.path("sub", name))
    run = world.run("clean", "--no-suffix", "--overwrite", "--json", world.tree, status=(0, 1))
    everywhere = {digest(world.path(file)): file for file in files(world.tree, hidden=True)}
    world.expect(own in everywhere, "LOST: the only copy is gone", run)
    visible = [file for file in files(world.tree) if digest(world.path(file)) == own]
    world.expect(visible, "it was not put back under a visible name", run)
    world.expect_said(r"backup|put back|recovered|restored", run)


@case
def a_backup_that_is_a_copy(world):
    """The same recording still stands under its name: at most one of the two goes."""
    dual_mono(world, "a.wav")
    with open(world.path("a.wav"), "rb") as file:
        content = file.read()
    with open(world.path(".1B4E28BA-2FA1-11D2-883F-0016D3CCA427_backup.wav"), "wb") as file:
        file.write(content)
    ledger = world.ledger()
    run = world.run("clean", "--json", world.tree, status=0)
    world.expect_untouched(ledger, run=run)


@case
def what_another_run_holds(world):
    """A second run in the same folder leaves the first one's unfinished file alone; the first then finishes."""
    flag = os.path.join(world.root, "paused")
    for rule in ({"call": "write", "proc": "ffmpeg"}, {"call": "fsync", "proc": "ostrel-cli"}):
        for name in (flag, flag + ".go"):
            if os.path.exists(name):
                os.unlink(name)
        world.empty()
        world.about = f"{rule['call']} of {rule['proc']}"
        channels = poly(world, "p.wav", ["One", "Two"])
        dual_mono(world, "a.wav")
        ledger = world.ledger()
        first = world.start("split", "--folders", "flat", "--json", world.path("p.wav"),
                            rules=[{**rule, "path": "/recordings/", "nth": 1, "do": "pause", "flag": flag}])
        wait_for(lambda: os.path.exists(flag) or first.poll() is not None)
        if first.poll() is not None:
            world.finish(first)
            continue
        held = [file for file in files(world.tree, hidden=True) if file.startswith(".")]
        second = world.run("clean", "--json", world.tree, status=0)
        world.expect(held, "nothing stands under a private name", second)
        world.expect(all(os.path.exists(world.path(file)) for file in held), "what the other run holds is gone", second)
        with open(flag + ".go", "w", encoding="ascii"):
            pass
        run = world.finish(first)
        world.expect(run.status == 0, f"exit status {run.status}", run)
        for track, channel in zip(("One", "Two"), channels):
            world.expect_sounds(world.path(f"p_{track}.wav"), [channel], run)
        world.expect_nothing_lost(ledger, run=run)
        world.expect_no_leftovers(run)


@case
def a_recording_of_somebody_with_an_odd_name(world):
    """Only private names are private: these are a person's."""
    for name in ("ostrel-take.wav", "a_temp.wav", "a_backup.wav", ".hidden.wav", ".ostrel-notes.wav"):
        write(world.path(name), [noise(name)] * 2)
    ledger = {name: digest(world.path(name)) for name in files(world.tree, hidden=True)}
    run = world.run("validate", "--json", world.tree)
    run = world.run("clean", "--json", world.tree)
    now = {name: digest(world.path(name)) for name in ledger if os.path.exists(world.path(name))}
    world.expect(now == ledger, f"gone or changed: {sorted(set(ledger) - set(now))}", run)


sys.exit(main())
