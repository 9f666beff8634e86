"""Names that a file system would refuse, and names that would be one and the same."""
import os
import sys

from cases import case, main
from recordings import Recording
from takes import isos, pair, poly
from ledger import files

SPLIT = ["split", "--folders", "flat", "--naming", "track", "--json"]


def expect_every_channel(world, channels, before, run):
    made = [name for name in files(world.tree) if name not in before and name.endswith(".wav")]
    found = {}
    for name in made:
        world.expect(len(os.path.basename(name).encode()) <= 255, f"{name} is too long a name", run)
        for sound in Recording(world.path(name)).fingerprints():
            found[sound] = name
    missing = [i + 1 for i, channel in enumerate(channels) if channel.fingerprint() not in found]
    world.expect(not missing, f"channels {missing} are in no ISO", run)
    world.expect(len(made) == len(channels), f"{len(made)} files for {len(channels)} channels", run)
    broken = [name for folder, _, names in os.walk(os.fsencode(world.tree)) for name in names if not is_text(name)]
    world.expect(not broken, f"a letter was cut: {broken}", run)
    return made


def is_text(name):
    try:
        return "\ufffd" not in name.decode("utf-8")
    except UnicodeDecodeError:
        return False


@case
def tracks_named_by_emoji(world):
    channels = poly(world, "p.wav", ["🎤" * 150, "🎧" * 150, "Boom"])
    ledger = world.ledger()
    run = world.run(*SPLIT, world.path("p.wav"), status=0)
    expect_every_channel(world, channels, ledger.digests, run)
    world.expect_claims(run)
    world.expect_no_leftovers(run)


@case
def long_names_with_equal_beginnings(world):
    channels = poly(world, "p.wav", ["x" * 299 + "1", "x" * 299 + "2", "x" * 299 + "1", "y" * 300])
    ledger = world.ledger()
    first = world.run(*SPLIT, world.path("p.wav"), status=0)
    made = expect_every_channel(world, channels, ledger.digests, first)
    # The same names again, so that a second run knows its own files.
    second = world.run(*SPLIT, world.path("p.wav"), status=0)
    world.expect(sorted(made) == sorted(name for name in files(world.tree) if name != "p.wav"), "a second run made others", second)
    world.expect_claims(second)


@case
def marks_that_belong_to_the_letter_before(world):
    """A family of emoji joined to one, flags of two letters, accents on their own: cut between them, not within."""
    tracks = ["👩‍👩‍👧‍👦" * 12, "e\u0301" * 120, "🇫🇷" * 40]
    channels = poly(world, "p.wav", tracks)
    ledger = world.ledger()
    run = world.run(*SPLIT, world.path("p.wav"), status=0)
    for name in expect_every_channel(world, channels, ledger.digests, run):
        stem = os.path.splitext(os.path.basename(name))[0]
        world.expect(not stem.endswith("\u200d"), f"{name} ends in a joiner", run)


@case
def long_scenes_and_takes(world):
    """Folders are names too."""
    channels = poly(world, "p.wav", ["One", "Two"], scene="S" * 300, take="7")
    ledger = world.ledger()
    run = world.run("split", "--folders", "scene-take", "--output", world.path("out"), "--json", world.path("p.wav"), status=0)
    expect_every_channel(world, channels, ledger.digests, run)
    for folder, folders, _ in os.walk(world.path("out")):
        world.expect(all(len(name.encode()) <= 255 for name in folders), f"too long: {folders}", run)


@case
def long_names_of_files(world):
    """As long as the file system allows: what a job puts behind the name has to find room."""
    base = "n" * 249
    channels = pair(world, base)
    run = world.run("interleave", "--json", world.tree, status=0)
    world.expect_sounds(world.path("Interleaved", f"{base}.wav"), channels, run)
    world.empty()
    channels = poly(world, "p" * 251 + ".wav", ["L", "R"])
    ledger = world.ledger()
    for arguments in (["split", "--folders", "flat", "--naming", "number"], ["deinterleave"]):
        before = dict(ledger.digests)
        before.update({name: "" for name in files(world.tree)})
        run = world.run(*arguments, "--json", world.tree if arguments[0] == "deinterleave" else world.path("p" * 251 + ".wav"),
                        status=0)
        expect_every_channel(world, channels, before, run)
        world.expect_untouched(ledger, run=run)


@case
def a_long_name_of_a_take(world):
    channels = isos(world, ("Boom", "Ann"), scene="S" * 200)
    ledger = world.ledger()
    run = world.run("join", "--json", world.tree, status=0)
    made = [name for name in files(world.tree) if name not in ledger.digests]
    world.expect(len(made) == 1 and Recording(world.path(made[0])).fingerprints() == [c.fingerprint() for c in channels],
                 f"made: {made}", run)


@case
def names_that_look_like_options_or_patterns(world):
    for name in ("-y.wav", "%d.wav", "a'b\"c.wav", "new\nline.wav", "file:p.wav", "concat|x.wav"):
        world.empty()
        channels = poly(world, name, ["L", "R"], named=False)
        ledger = world.ledger()
        run = world.run("split", "--folders", "flat", "--naming", "number", "--json", world.path(name), status=0)
        expect_every_channel(world, channels, ledger.digests, run)
        world.expect_untouched(ledger, run=run)


sys.exit(main())
