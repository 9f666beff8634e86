"""What is killed: a job, how to start it, and what must be true after a later run of it came to its end."""
import os

from recordings import Recording
from takes import dual_mono, isos, pair, poly


class Job:
    """`make` fills a world; `arguments` is the run; `finished` checks what stands once a run got through."""
    replaced = ()

    def __init__(self, name):
        self.name = name


class Clean(Job):
    replaced = ("a.wav", "b.wav")

    def make(self, world):
        self.channels = {name: dual_mono(world, name, seconds=1) for name in self.replaced}
        return ["clean", "--no-suffix", "--overwrite", "--json", world.tree]

    def between(self, world, run):
        for name, channel in self.channels.items():
            found = whole(world, name, run)
            world.expect(found in ([channel.fingerprint()], [channel.fingerprint()] * 2), f"{name} is neither old nor new", run)

    def finished(self, world, run):
        for name, channel in self.channels.items():
            world.expect_sounds(world.path(name), [channel], run)


class Edit(Job):
    replaced = ("p.wav",)

    def make(self, world):
        self.channels = poly(world, "p.wav", ["One", "Two"])
        return ["edit", "--in-place", "--rename", "1=New", "--json", world.path("p.wav")]

    def between(self, world, run):
        world.expect_sounds(world.path("p.wav"), self.channels, run)
        names = Recording(world.path("p.wav")).track_names() if whole(world, "p.wav", run) else None
        world.expect(names in (["One", "Two"], ["New", "Two"]), f"track names {names}: neither old nor new", run)

    def finished(self, world, run):
        self.between(world, run)
        world.expect(Recording(world.path("p.wav")).track_names() == ["New", "Two"], "the tracks are not renamed", run)


class CleanUp(Job):
    """The merge of an L/R pair whose sources then go."""

    def __init__(self, name, mode):
        super().__init__(name)
        self.mode = mode

    def make(self, world):
        self.channels = {base: pair(world, base) for base in ("A",)}
        return ["interleave", "--lr-cleanup", self.mode, "--json", world.tree]

    def between(self, world, run):
        pass

    def finished(self, world, run):
        for base, channels in self.channels.items():
            world.expect_sounds(world.path("Interleaved", f"{base}.wav"), channels, run)
            places = [self.place(world, f"{base}.{tag}.wav") for tag in "LR"]
            # Both at home or both gone, unless it is told where they are.
            if len(set(places)) == 2:
                for tag in "LR":
                    world.expect(f"{base}.{tag}.wav" in run.words, f"{base}: L is {places[0]}, R is {places[1]}, and it is not told",
                                 run)

    def place(self, world, name):
        return ("home" if os.path.exists(world.path(name)) else
                "moved" if os.path.exists(world.path("Originals", name)) else "gone")


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
    def make(self, world):
        self.channels = isos(world, ("One", "Two"))
        return ["join", "--single", "--name", "K", "--keep-original-name", "--json",
                *(world.path(f"14A-T1_{name}.wav") for name in ("One", "Two"))]

    def between(self, world, run):
        for name, channel in zip(("One", "Two"), self.channels):
            world.expect_sounds(world.path(f"14A-T1_{name}.wav"), [channel], run)

    def finished(self, world, run):
        world.expect_sounds(world.path("K.wav"), self.channels, run)


JOBS = {job.name: job for job in (Clean("clean"), Edit("edit"), CleanUp("move", "verifiedConsolidation"),
                                  CleanUp("delete", "hardDelete"), Split("split"), Join("join"))}


def whole(world, name, run):
    try:
        return Recording(world.path(name)).fingerprints()
    except Exception as problem:  # whatever is wrong with it
        world.expect(False, f"{name}: {problem}", run)
        return None
