"""Children that misbehave, and programs that are no tools."""
import os
import resource
import sys

from cases import case, main
from jobs import NAMED
from takes import pair, poly

LIMIT = 350  # megabytes: the bound on what is kept of a child, three times over and more


def largest():
    """The most memory that any process of this script's has had, in megabytes."""
    return resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024


FLOOD = """
if '-version' in arguments:
    sys.exit(real())
block = b'x' * (1 << 20)
try:
    for _ in range(400):
        os.write({stream}, block)
except OSError:
    sys.exit(1)
sys.exit({status})"""


@case
def a_flood_on_standard_output(world):
    """400 MB from ffprobe: it is ended, the file fails, and memory stays small."""
    world.fake_python("ffprobe", FLOOD.format(stream=1, status=0))
    for arguments, make in ((["interleave"], lambda: pair(world)), (["split", "--folders", "flat"], lambda: poly(world, "p.wav", ["One", "Two"]))):
        world.empty()
        world.about = arguments[0]
        make()
        ledger = world.ledger()
        run = world.run(*arguments, "--json", world.tree)
        world.expect(run.status != 0, f"exit status {run.status}", run)
        world.expect_untouched(ledger, run=run)
        world.expect(largest() < LIMIT, f"a process grew to {largest()} MB", run)


@case
def a_flood_on_standard_error(world):
    """The last lines of it tell the fault, and they are what is shown."""
    world.fake_python("ffmpeg", "made = 'filter_complex' in ' '.join(arguments)\nif not made:\n    sys.exit(real())\n"
                      "line = b'frame= 1 size= 2kB time=00:00:00.00\\r' * 20000\nfor _ in range(250):\n    os.write(2, line)\n"
                      "os.write(2, b'\\nError while processing the reel: Device or resource busy\\n')\nsys.exit(1)")
    for job in (NAMED["interleave"], NAMED["split"]):
        world.empty()
        world.about = job.name
        arguments = job.make(world)
        ledger = world.ledger()
        run = world.run(*arguments, status=1)
        world.expect_untouched(ledger, run=run)
        world.expect_said("Device or resource busy", run)
        world.expect(largest() < LIMIT, f"a process grew to {largest()} MB", run)
        world.expect(len(run.words) < 200_000, f"{len(run.words)} letters are shown", run)


@case
def nonsense_from_ffprobe(world):
    for nonsense in ("echo '{\"streams\": [{\"channels\": -1, \"sample_rate\": \"1e99\", \"duration\": \"nan\"}]}'", "echo ''",
                     "printf '\\377\\376\\000'", "exit 1", "kill -9 $$"):
        world.fake("ffprobe", f'if [ "$1" = -version ]; then exec "$real" "$@"; fi\n{nonsense}')
        for job in (NAMED["interleave"], NAMED["split"], NAMED["join"]):
            world.empty()
            world.about = f"{job.name}, {nonsense}"
            arguments = job.make(world)
            ledger = world.ledger()
            run = world.run(*arguments)
            world.expect(0 <= run.status < 128, f"exit status {run.status}", run)
            world.expect_nothing_lost(ledger, run=run)
            world.expect_untouched(ledger, run=run)
            world.expect_no_strangers(ledger, run=run)


@case
def programs_of_the_folder_that_is_worked_in(world):
    """A relative or empty entry of PATH is never taken: a folder of recordings may hold a program named ffmpeg."""
    real = os.environ.get("PATH", "/usr/bin:/bin")
    for search in (f".:{real}", f":{real}", f"{real}:", f"bin:{real}", f"./:{real}", f"sub/../bin:{real}"):
        world.empty()
        world.about = f"PATH={search.replace(real, '…')}"
        marker = os.path.join(world.root, "marker")
        for folder in (world.tree, world.path("bin")):
            os.makedirs(folder, exist_ok=True)
            for tool in ("ffmpeg", "ffprobe", "bwfmetaedit", "which"):
                path = os.path.join(folder, tool)
                with open(path, "w", encoding="utf-8") as file:
                    file.write(f"#!/bin/sh\necho {tool} >> '{marker}'\nexit 1\n")
                os.chmod(path, 0o755)
        poly(world, "p.wav", ["One", "Two"])
        world.search = search
        run = world.run("split", "--folders", "flat", "p.wav", status=0, cwd=world.tree)
        world.expect(not os.path.exists(marker), "a program of the folder was run", run)
        if os.path.exists(marker):
            os.unlink(marker)
    # An absolute one is: that is how a person names another ffmpeg.
    world.empty()
    world.about = "an absolute entry"
    world.search = None
    taken = os.path.join(world.root, "taken")
    world.fake("ffmpeg", f'echo taken > "{taken}"\nexec "$real" "$@"')
    poly(world, "p.wav", ["One", "Two"])
    run = world.run("split", "--folders", "flat", "p.wav", status=0)
    world.expect(os.path.exists(taken), "it was not taken", run)


sys.exit(main())
