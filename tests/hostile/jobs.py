"""The jobs, each with what it starts from, its command line, and what must be true of the recordings while it is under way and
once it got through."""
import hashlib
import os

from recordings import BadRecording, Recording
from takes import FILM, dual_mono, isos, mono_set, pair, poly


class Job:
    replaced = ()      # sources that the job replaces on purpose, keeping less of them
    uses_ffmpeg = os.environ.get("OSTREL_ENGINE") != "direct"

    def __init__(self, name):
        self.name = name

    def make(self, world):
        """Fills the world; gives the command line."""
        raise NotImplementedError

    def between(self, world, run):
        """Whatever happened, at any time."""

    def finished(self, world, run):
        """After a run with exit status 0."""
        raise NotImplementedError


class Split(Job):
    def make(self, world):
        self.channels = poly(world, "p.wav", ["One", "Two"])
        return ["split", "--folders", "flat", "--json", world.path("p.wav")]

    def between(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)

    def finished(self, world, run):
        for name, channel in zip(("One", "Two"), self.channels):
            world.expect_sounds(world.path(f"p_{name}.wav"), [channel], run)


class Join(Job):
    """Files that a person chose; no grouping ahead of it."""

    def make(self, world):
        self.channels = isos(world, ("One", "Two"))
        return ["join", "--single", "--name", "K", "--keep-original-name", "--json", *self.sources(world)]

    def sources(self, world):
        return [world.path(f"14A-T1_{name}.wav") for name in ("One", "Two")]

    def between(self, world, run):
        for path, channel in zip(self.sources(world), self.channels):
            world.expect_sounds(path, [channel], run)

    def finished(self, world, run):
        world.expect_sounds(world.path("K.wav"), self.channels, run)


class GroupedJoin(Join):
    def make(self, world):
        super().make(world)
        return ["join", "--json", world.tree]

    def finished(self, world, run):
        world.expect_sounds(world.path("14A-T1_poly.wav"), self.channels, run)


class Edit(Job):
    def make(self, world):
        self.channels = poly(world, "p.wav", ["One", "Two", "Three"])
        return ["edit", "--remove", "2", "--json", world.path("p.wav")]

    def between(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)

    def finished(self, world, run):
        world.expect_sounds(world.path("p_2ch.wav"), [self.channels[0], self.channels[2]], run)


class EditInPlace(Job):
    replaced = ("p.wav",)
    uses_ffmpeg = False

    def make(self, world):
        self.channels = poly(world, "p.wav", ["One", "Two"])
        return ["edit", "--in-place", "--rename", "1=New", "--json", world.path("p.wav")]

    def between(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)
        names = track_names(world, "p.wav")
        world.expect(names in (["One", "Two"], ["New", "Two"]), f"track names {names}: neither old nor new", run)

    def finished(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)
        world.expect(track_names(world, "p.wav") == ["New", "Two"], "the tracks are not renamed", run)


class Clean(Job):
    uses_ffmpeg = False

    def make(self, world):
        self.channels = {name: dual_mono(world, name) for name in ("a.wav", "b.wav")}
        return ["clean", "--json", world.tree]

    def finished(self, world, run):
        for name, channel in self.channels.items():
            world.expect_sounds(world.path(name.replace(".wav", "_mono.wav")), [channel], run)


class CleanInPlace(Clean):
    replaced = ("a.wav", "b.wav")

    def make(self, world):
        super().make(world)
        return ["clean", "--no-suffix", "--overwrite", "--json", world.tree]

    def between(self, world, run):
        for name, channel in self.channels.items():
            try:
                found = Recording(world.path(name)).fingerprints()
            except (BadRecording, OSError) as problem:
                found = str(problem)
            world.expect(found in ([channel.fingerprint()], [channel.fingerprint()] * 2),
                         f"{name} is neither old nor new" + (f": {found}" if isinstance(found, str) else ""), run)

    def finished(self, world, run):
        for name, channel in self.channels.items():
            world.expect_sounds(world.path(name), [channel], run)


class Interleave(Job):
    """A set of a layout, whose originals then go."""

    def make(self, world):
        self.channels = mono_set(world, FILM)
        return ["interleave", "--layout", "5.1-film", "--originals", "delete", "--json", world.tree]

    def finished(self, world, run):
        world.expect_sounds(world.path("Interleaved", "A.wav"), self.channels, run)


class Deinterleave(Job):
    def make(self, world):
        self.channels = poly(world, "p.wav", ["L", "R"])
        return ["deinterleave", "--originals", "delete", "--json", world.tree]

    def finished(self, world, run):
        for tag, channel in zip("LR", self.channels):
            world.expect_sounds(world.path("De-interleaved", f"p.{tag}.wav"), [channel], run)


class CleanUp(Job):
    """The merge of an L/R pair whose sources then go."""

    def __init__(self, name, mode):
        super().__init__(name)
        self.mode = mode

    def make(self, world):
        self.channels = pair(world)
        return ["interleave", "--lr-cleanup", self.mode, "--json", world.tree]

    def finished(self, world, run):
        world.expect_sounds(world.path("Interleaved", "A.wav"), self.channels, run)
        places = [self.place(world, f"A.{tag}.wav") for tag in "LR"]
        # Both at home or both gone, unless it is told where they are.
        if len(set(places)) == 2:
            for tag in "LR":
                world.expect(f"A.{tag}.wav" in run.words, f"L is {places[0]}, R is {places[1]}, and it is not told", run)

    @staticmethod
    def place(world, name):
        return ("home" if os.path.exists(world.path(name)) else
                "moved" if os.path.exists(world.path("Originals", name)) else "gone")


class Embed(Job):
    """A digest of its audio into a recording, in its place."""
    uses_ffmpeg = False

    def make(self, world):
        self.channels = poly(world, "p.wav", ["One", "Two"])
        return ["hash", "--embed", "--json", world.path("p.wav")]

    def between(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)

    def finished(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)
        with open(world.path("p.wav"), "rb") as file:
            bytes_ = file.read()
        at = bytes_.index(b"data") + 8
        digest = hashlib.md5(bytes_[at:at + int.from_bytes(bytes_[at - 4:at], "little")]).digest()
        world.expect(bytes_.endswith(b"MD5 \x10\0\0\0" + digest[::-1]), "the digest does not stand at its end", run)


def track_names(world, name):
    try:
        return Recording(world.path(name)).track_names()
    except (BadRecording, OSError) as problem:
        return str(problem)


ALL = (Split("split"), Join("join"), GroupedJoin("join of a folder"), Edit("edit"), EditInPlace("edit in place"), Clean("clean"),
       CleanInPlace("clean in place"), Interleave("interleave"), Deinterleave("deinterleave"),
       CleanUp("move", "verifiedConsolidation"), CleanUp("delete", "hardDelete"), Embed("embed"))
NAMED = {job.name: job for job in ALL}
