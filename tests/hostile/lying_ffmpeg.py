"""An ffmpeg that ends with status 0 and has not done what it was told: no output of its stands under a final name, and the item
says so."""
import sys

from cases import case, main
from jobs import ALL
from recordings import noise, write
from takes import dual_mono, isos, pair, poly

MAKING = "made = [word for word in arguments if word.endswith('.wav') and arguments[arguments.index(word) - 1] != '-i']\n"
LIES = {
    "nothing is written": "sys.exit(0 if made else real())",
    "cut short": "if made:\n    arguments[-1:-1] = ['-t', '0.1']\nsys.exit(real())",
    "silence": """status = real()
for path in made:
    with open(path, 'r+b') as file:
        audio = file.read().index(b'data') + 8
        size = os.path.getsize(path) - audio
        file.seek(audio)
        file.write(bytes(size))
sys.exit(status)""",
    "channels in another order": """for i, word in enumerate(arguments):
    if 'amerge' in word:
        word = word.replace('[0:a]', '[X]').replace('[1:a]', '[0:a]').replace('[X]', '[1:a]')
    elif 'channelsplit' in word:
        first, second = word.split('[')[2:4]
        word = word.replace('[' + first, '[X]').replace('[' + second, '[' + first).replace('[X]', '[' + second)
    else:
        word = word.replace('c0=c0', 'c0=c1') if 'c0=c0' in word else word.replace('c0=c1', 'c0=c0')
    arguments[i] = word
sys.exit(real())""",
    "an empty file": "status = real()\nfor path in made:\n    open(path, 'wb').close()\nsys.exit(status)",
    "a text": "status = real()\nfor path in made:\n    open(path, 'w').write('not audio')\nsys.exit(status)",
}
ROUGH = ("nothing is written", "an empty file", "a text")


@case
def no_output_of_a_lie_stands(world):
    for job in ALL:
        if not job.uses_ffmpeg:
            continue
        for lie, body in LIES.items():
            # How a missing or a broken file is met does not depend on the job; what is in it does.
            if lie in ROUGH and job.name not in ("split", "join", "interleave"):
                continue
            world.empty()
            world.about = f"{job.name}, {lie}"
            world.fake_python("ffmpeg", MAKING + body)
            arguments = job.make(world)
            ledger = world.ledger()
            run = world.run(*arguments)
            world.expect_claims(run)
            world.expect_untouched(ledger, run=run)
            world.expect(run.status == 1, f"exit status {run.status}, not 1", run)
            made = [name for name in world.visible() if name not in ledger.digests and name.endswith(".wav")]
            # De-interleaving makes all its files at once: those that are right may stay.
            world.expect_no_strangers(ledger, run=run)
            world.expect(not made or job.name == "deinterleave", f"there is: {made}", run)
            world.expect_no_leftovers(run)
            world.expect(any(item.get("message") or item.get("statusText") for item in run.items), "no item says why", run)


BITS = ("s24in32", "s24in32x")


def expect_right_or_failed(world, run, ledger):
    world.expect(run.status in (0, 1), f"exit status {run.status}", run)
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, run=run)
    world.expect_no_strangers(ledger, run=run)
    world.expect_no_leftovers(run)
    if run.status == 1:
        failed = [item for item in run.items if item.get("status") == "failed"]
        world.expect(failed and len(failed[0].get("message", "")) > 10, "no sentence says what is wrong", run)


@case
def samples_of_24_bits_in_32(world):
    """ffmpeg decodes them wrongly in one of their forms: the outputs are right, or the item fails with a sentence."""
    for kind in BITS:
        for arguments in (["split", "--folders", "flat"], ["deinterleave"], ["deinterleave", "--originals", "delete"],
                          ["edit", "--remove", "1"]):
            world.empty()
            world.about = f"{kind}, {' '.join(arguments)}"
            poly(world, "p.wav", ["L", "R"], kind=kind)
            ledger = world.ledger()
            expect_right_or_failed(world, world.run(*arguments, "--json", world.path("p.wav")), ledger)
        for arguments in (["interleave"], ["interleave", "--originals", "delete"], ["interleave", "--lr-cleanup", "hardDelete"]):
            world.empty()
            world.about = f"{kind}, {' '.join(arguments)}"
            pair(world, kind=kind)
            ledger = world.ledger()
            expect_right_or_failed(world, world.run(*arguments, "--json", world.tree), ledger)
        world.empty()
        world.about = f"{kind}, join"
        isos(world, ("One", "Two"), kind=kind)
        ledger = world.ledger()
        expect_right_or_failed(world, world.run("join", "--json", world.tree), ledger)
        world.empty()
        world.about = f"{kind}, clean"
        dual_mono(world, "a.wav", kind=kind)
        ledger = world.ledger()
        expect_right_or_failed(world, world.run("clean", "--json", world.tree), ledger)


@case
def a_child_that_is_killed(world):
    """The system ends ffmpeg for want of memory, after it wrote a part."""
    for job in ALL:
        if not job.uses_ffmpeg:
            continue
        world.empty()
        world.about = job.name
        world.fake("ffmpeg", 'exec "$real" "$@"')
        arguments = job.make(world)
        ledger = world.ledger()
        rules = [{"call": "write", "proc": "ffmpeg", "path": "/recordings/", "do": "kill", "when": "half"}]
        run = world.run(*arguments, rules=rules, status=1)
        world.expect(run.strokes, "the shim never struck", run)
        world.expect_claims(run)
        world.expect_untouched(ledger, run=run)
        world.expect_no_strangers(ledger, run=run)
        world.expect_nothing_lost(ledger, run=run)
        world.expect_no_leftovers(run)
        rerun = world.run(*arguments, status=0)
        job.finished(world, rerun)


@case
def an_output_that_another_program_holds(world):
    """The name is taken by a folder: the item fails, and the folder stays."""
    poly(world, "p.wav", ["One", "Two"])
    write(world.path("p_One.wav", "inside.wav"), noise("inside"))
    ledger = world.ledger()
    for extra in ([], ["--overwrite"]):
        run = world.run("split", "--folders", "flat", *extra, "--json", world.path("p.wav"))
        world.expect_untouched(ledger, run=run)
        world.expect_claims(run)
        world.expect_no_leftovers(run)


sys.exit(main())
