"""ISOs that don't fit together, on every road of a join: the files that a person chose, one group of a folder, several."""
import os
import sys

from cases import case, main
from recordings import BadRecording, Recording, noise, write
from takes import isos

START = 1_555_200_000  # samples since midnight: nine o'clock
ROADS = ("chosen", "one group", "several groups")


def arguments_of(world, road):
    if road == "several groups":
        isos(world, ("One", "Two"), scene="99", take="9")
    if road == "chosen":
        return ["join", "--single", "--name", "K", *sorted(world.path(name) for name in world.visible())]
    return ["join", world.tree]


def results(world, ledger):
    return [name for name in world.visible() if name not in ledger.digests and "99-T9" not in name]


def expect_figures(world, make, figures, refuses=False):
    """On each road the run names the figures; with "--strict" it refuses, and makes nothing of that take."""
    for road in ROADS:
        for strict in ([], ["--strict"]):
            world.empty()
            world.about = " ".join([road, *strict])
            make()
            arguments = arguments_of(world, road)
            ledger = world.ledger()
            run = world.run(*arguments, *strict, "--json")
            world.expect_untouched(ledger, run=run)
            for figure in figures:
                world.expect_said(figure, run)
            if run.document:
                world.expect_claims(run)
            if strict or refuses:
                world.expect(run.status in (1, 2), f"exit status {run.status}: not refused", run)
                world.expect(not results(world, ledger), f"there is: {results(world, ledger)}", run)
            else:
                world.expect(run.status in (0, 1), f"exit status {run.status}", run)
            if road == "several groups":
                world.expect(any("99-T9" in name and name not in ledger.digests for name in world.visible()),
                             "the other take was not joined", run)
            world.expect_no_leftovers(run)


@case
def unequal_lengths(world):
    expect_figures(world, lambda: isos(world, ("One", "Two"), lengths=[1.0, 1.5]),
                   [r"1\.0+ ?s|\b48[, ]?000\b|0?0:01\.0", r"1\.50* ?s|\b72[, ]?000\b|0?0:01\.5"])


@case
def unequal_starts(world):
    expect_figures(world, lambda: isos(world, ("One", "Two"), starts=[START, START + 96000]),
                   [r"\b2(\.0+)? ?s|1[, ]?555[, ]?296[, ]?000|09:00:02|96[, ]?000"])


@case
def unequal_rates(world):
    """No poly has two rates."""
    expect_figures(world, lambda: isos(world, ("One", "Two"), rates=[48000, 44100]),
                   [r"48[., ]?000|48 ?kHz", r"44[., ]?100|44\.1 ?kHz"], refuses=True)


@case
def a_short_one_is_not_dropped_in_silence(world):
    """What was made of unequal files holds the beginning of each, and the longer one whole unless the run says otherwise."""
    channels = isos(world, ("One", "Two"), lengths=[1.0, 1.5])
    ledger = world.ledger()
    run = world.run("join", "--json", world.tree)
    for name in results(world, ledger):
        try:
            found = Recording(world.path(name))
        except BadRecording as problem:
            world.expect(False, f"{name}: {problem}", run)
            continue
        same = [found.channel(i).first(48000).data == channel.first(48000).data for i, channel in enumerate(channels)]
        world.expect(same == [True, True], f"{name} holds other audio", run)
        world.expect(found.frames == 72000 or "1.5" in run.words or "72" in run.words, "half a second is missing in silence", run)


@case
def equal_ones_pass_strictly(world):
    channels = isos(world, ("One", "Two"))
    run = world.run("join", "--strict", "--json", world.tree, status=0)
    world.expect_sounds(world.path("14A-T1_poly.wav"), channels, run)


@case
def stereo_files_among_isos(world):
    """A mix-down that nobody asked for loses a channel: it is refused unless "--downmix" asks."""
    def make():
        isos(world, ("One",))
        write(world.path("14A-T1_Two.wav"), [noise("stereo left"), noise("stereo right")])
        return ["join", "--single", "--name", "K", "--keep-original-name",
                *(world.path(f"14A-T1_{name}.wav") for name in ("One", "Two"))]

    arguments = make()
    ledger = world.ledger()
    run = world.run(*arguments, "--json", status=(1, 2))
    world.expect_untouched(ledger, run=run)
    world.expect(not os.path.exists(world.path("K.wav")), "K.wav was made", run)
    world.expect_said(r"14A-T1_Two\.wav", run)
    world.expect_said(r"stereo|channels", run)
    run = world.run(*arguments, "--downmix", "--json", status=0)
    world.expect_untouched(ledger, run=run)
    if world.expect(os.path.exists(world.path("K.wav")), "K.wav was not made", run):
        found = Recording(world.path("K.wav"))
        world.expect(found.channel_count == 2, f"{found.channel_count} channels", run)
        world.expect(found.fingerprints()[0] == ledger.sounds["14A-T1_One.wav"][0], "the mono file is not in it as it was", run)


sys.exit(main())
