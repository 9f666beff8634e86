"""No output takes the place of a source, of another output of the run, or of what nobody asked to replace."""
import os
import sys

from cases import case, main
from recordings import Recording, noise, write
from takes import dual_mono, isos, pair, poly, tagged


def sources_once(run):
    return [os.path.basename(source) for item in run.items for source in item.get("sources", [])]


def check(world, run, ledger, untouched=None):
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, run=run)
    world.expect_untouched(ledger, untouched, run)
    world.expect_no_strangers(ledger, run=run)
    world.expect_no_leftovers(run)
    return run


@case
def an_iso_with_the_name_of_another_poly_of_the_batch(world):
    poly(world, "z.wav", ["One", "Two"], named=False)
    poly(world, "z_ch1.wav", ["Three", "Four"], named=False)
    ledger = world.ledger()
    run = check(world, world.run("split", "--overwrite", "--folders", "flat", "--naming", "number", "--json",
                                 world.path("z.wav"), world.path("z_ch1.wav"), status=1), ledger)
    world.expect_said(r"z_ch1\.wav")
    # What could be made without touching a source was made, or nothing at all: never half of a lie.
    world.expect(not os.path.exists(world.path("z_ch1_ch1.wav"))
                 or Recording(world.path("z_ch1_ch1.wav")).fingerprints() == ledger.sounds["z_ch1.wav"][:1],
                 "z_ch1_ch1.wav is not the first channel of z_ch1.wav", run)


@case
def polys_of_one_name_in_two_folders(world):
    first = poly(world, "A/take.wav", ["One", "Two"], named=False)
    poly(world, "B/take.wav", ["One", "Two"], named=False)
    ledger = world.ledger()
    run = world.run("split", "--overwrite", "--folders", "flat", "--naming", "number", "--output", world.path("out"), "--json",
                    world.path("A"), world.path("B"), status=1)
    check(world, run, ledger)
    world.expect_said(r"another item of this run already wrote")
    for i, channel in enumerate(first):
        world.expect_sounds(world.path("out", f"take_ch{i + 1}.wav"), [channel], run)


@case
def tracks_of_one_name(world):
    """Two channels of one poly that would get one file name: each has a file, or the item fails."""
    channels = poly(world, "t.wav", ["Boom", "Boom", "Boom?", "Ann"])
    ledger = world.ledger()
    run = check(world, world.run("split", "--overwrite", "--folders", "flat", "--naming", "track", "--json", world.path("t.wav")),
                ledger)
    found = [Recording(world.path(name)).fingerprints()[0] for name in world.visible() if name.startswith("t_")]
    missing = [i + 1 for i, channel in enumerate(channels) if channel.fingerprint() not in found]
    world.expect(not missing or run.status == 1, f"exit status 0, and channels {missing} are in no ISO", run)


@case
def a_join_that_bears_the_name_of_another_groups_iso(world):
    isos(world, ("Boom", "Ann"), "14A", "1")
    isos(world, ("Boom", "Ann"), "99", "9")
    os.rename(world.path("99-T9_Boom.wav"), world.path("14A-T1.wav"))
    ledger = world.ledger()
    run = check(world, world.run("join", "--overwrite", "--keep-original-name", "--json", world.tree, status=0), ledger)
    world.expect_said(r"14A-T1_2\.wav")  # the next name that is free


@case
def a_single_join_onto_its_own_iso(world):
    isos(world, ("Boom", "Ann"))
    ledger = world.ledger()
    run = world.run("join", "--single", "--overwrite", "--keep-original-name", "--name", "14A-T1_Ann", "--json",
                    *(world.path(name) for name in world.visible()), status=(1, 2))
    world.expect_untouched(ledger, run=run)
    world.expect_no_leftovers(run)


@case
def an_output_that_is_a_link_to_a_source(world):
    for make_link, target in ((os.symlink, "A.L.wav"), (os.symlink, "A.R.wav"), (os.link, "A.L.wav"), (os.link, "A.R.wav")):
        world.empty()
        pair(world)
        os.makedirs(world.path("Interleaved"))
        make_link(world.path(target), world.path("Interleaved", "A.wav"))
        ledger = world.ledger()
        for extra in ([], ["--originals", "delete"], ["--lr-cleanup", "hardDelete"]):
            run = world.run("interleave", "--overwrite", *extra, "--json", world.tree)
            world.expect_untouched(ledger, ["A.L.wav", "A.R.wav"], run)
            world.expect_nothing_lost(ledger, run=run)
            world.expect_claims(run)


@case
def a_folder_of_outputs_that_is_a_link_to_the_sources(world):
    pair(world, base="A")
    write(world.path("A.wav"), [noise("unrelated 1"), noise("unrelated 2")])
    os.symlink(".", world.path("Interleaved"))
    ledger = world.ledger()
    run = world.run("interleave", "--overwrite", "--json", world.tree)
    check(world, run, ledger)


@case
def an_unrelated_file_in_the_folder_that_is_worked_on(world):
    pair(world, base="A")
    write(world.path("A.wav"), [noise("unrelated 1"), noise("unrelated 2")])
    ledger = world.ledger()
    check(world, world.run("interleave", "--output", ".", "--overwrite", "--json", ".", status=1), ledger)
    check(world, world.run("interleave", "--output", ".", "--overwrite", "--lr-cleanup", "hardDelete", "--json", "."), ledger)


@case
def pairs_of_one_name_into_one_folder(world):
    first = pair(world, folder="one")
    second = pair(world, folder="two")
    ledger = world.ledger()
    run = world.run("interleave", "--overwrite", "--output", world.path("out"), "--json", world.tree, status=1)
    check(world, run, ledger)
    world.expect_said("another item of this run already wrote")
    found = Recording(world.path("out", "A.wav")).fingerprints()
    world.expect(found in ([c.fingerprint() for c in first], [c.fingerprint() for c in second]), "out/A.wav is neither pair")
    run = world.run("interleave", "--overwrite", "--output", world.path("out2"), "--lr-cleanup", "hardDelete", "--json",
                    world.tree)
    world.expect_nothing_lost(ledger, run=run)
    world.expect_claims(run)


@case
def collisions_are_told_ahead(world):
    """A dry run and the rows know what the run would refuse."""
    pair(world, folder="one")
    pair(world, folder="two")
    ledger = world.ledger()
    run = world.run("interleave", "--dry-run", "--overwrite", "--output", world.path("out"), "--json", world.tree)
    world.expect_untouched(ledger, run=run)
    world.expect_said(r"another item of this run", run)


@case
def a_clean_over_another_recording_of_the_run(world):
    """a_mono.wav is a stereo recording that is to be cleaned itself."""
    dual_mono(world, "a.wav")
    dual_mono(world, "a_mono.wav")
    ledger = world.ledger()
    check(world, world.run("clean", "--overwrite", "--json", world.tree, status=1), ledger)


@case
def a_clean_over_its_own_results(world):
    channel = dual_mono(world, "a.wav")
    ledger = world.ledger()
    for _ in range(3):
        run = check(world, world.run("clean", "--overwrite", "--json", world.tree, status=0), ledger)
        world.expect_sounds(world.path("a_mono.wav"), [channel], run)
        world.expect(world.visible() == ["a.wav", "a_mono.wav"], f"there is: {world.visible()}", run)


@case
def no_suffix_alone_replaces_nothing(world):
    channel = dual_mono(world, "a.wav")
    ledger = world.ledger()
    for number in (1, 2):
        run = check(world, world.run("clean", "--no-suffix", "--json", world.path("a.wav"), status=0), ledger)
        world.expect_sounds(world.path(f"a_{number}.wav"), [channel], run)


@case
def no_suffix_and_overwrite_of_a_name_in_capitals(world):
    """X.WAV itself is replaced, as the help says: no X.wav beside it."""
    channel = dual_mono(world, "X.WAV")
    ledger = world.ledger()
    run = world.run("clean", "--no-suffix", "--overwrite", "--json", world.path("X.WAV"), status=0)
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, replaced=["X.WAV"], run=run)
    world.expect(world.visible() == ["X.WAV"], f"there is: {world.visible()}", run)
    world.expect_sounds(world.path("X.WAV"), [channel], run)


@case
def a_folder_within_a_folder(world):
    channels = isos(world, ("Boom", "Ann"), folder="in/sub")
    ledger = world.ledger()
    run = check(world, world.run("join", "--json", world.path("in"), world.path("in", "sub"), status=0), ledger)
    world.expect(sorted(sources_once(run)) == ["14A-T1_Ann.wav", "14A-T1_Boom.wav"], f"sources: {sources_once(run)}")
    world.expect_sounds(world.path("in", "sub", "14A-T1_poly.wav"), channels)


@case
def a_file_and_the_folder_it_is_in(world):
    channel = dual_mono(world, "a.wav")
    ledger = world.ledger()
    run = check(world, world.run("clean", "--json", world.path("a.wav"), world.tree, status=0), ledger)
    world.expect(sources_once(run) == ["a.wav"], f"sources: {sources_once(run)}")
    world.expect_sounds(world.path("a_mono.wav"), [channel])
    world.empty()
    channels = poly(world, "p.wav", ["L", "R"])
    ledger = world.ledger()
    for arguments in (["deinterleave"], ["split", "--folders", "flat"], ["edit", "--rename", "1=New"]):
        run = check(world, world.run(*arguments, "--json", world.path("p.wav"), world.tree, status=0), ledger)
        world.expect(sources_once(run).count("p.wav") <= 1, f"sources: {sources_once(run)}")
    world.expect_sounds(world.path("De-interleaved", "p.L.wav"), channels[:1])


@case
def one_file_by_two_links(world):
    for make_link in (os.symlink, os.link):
        for arguments in (["deinterleave"], ["split", "--folders", "flat"]):
            world.empty()
            poly(world, "p.wav", ["L", "R"])
            make_link(world.path("p.wav"), world.path("again.wav"))
            ledger = world.ledger()
            run = check(world, world.run(*arguments, "--json", world.path("p.wav"), world.path("again.wav"), status=0), ledger)
            count = len(sources_once(run)) if run.document.get("job") == "deinterleave" else len(run.items)
            world.expect(count == 1, f"{arguments[0]} has {count} items", run)
        world.empty()
        isos(world, ("Boom", "Ann"))
        make_link(world.path("14A-T1_Ann.wav"), world.path("14A-T1_Cue.wav"))
        ledger = world.ledger()
        run = check(world, world.run("join", "--json", world.tree, status=0), ledger)
        world.expect(len(sources_once(run)) == 2, f"sources: {sources_once(run)}")


@case
def hand_picked_twice(world):
    channels = pair(world)
    ledger = world.ledger()
    files = tagged(world, "", "A", "LR")
    run = check(world, world.run("interleave", "--json", *files, *files, "--originals", "keep", status=0), ledger)
    world.expect_sounds(world.path("Interleaved", "A.wav"), channels)


sys.exit(main())
