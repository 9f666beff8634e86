"""Recordings that are replaced where they stand: clean with "--no-suffix --overwrite" and edit with "--in-place"."""
import os
import re
import stat
import struct
import sys

from cases import case, main
from recordings import Recording, noise, write
from takes import dual_mono, poly
from world import wait_for

TAKE = "take.wav"


def clean(world):
    dual_mono(world, TAKE, seconds=1.5)
    return ["clean", "--no-suffix", "--overwrite", "--json", world.path(TAKE)]


def edit(world):
    poly(world, TAKE, ["One", "Two"], seconds=1.5)
    return ["edit", "--in-place", "--rename", "1=New", "--json", world.path(TAKE)]


JOBS = (clean, edit)


def is_new(job, path):
    recording = Recording(path)
    return recording.channel_count == 1 if job is clean else recording.track_names() == ["New", "Two"]


def expect_refused(world, run, ledger):
    world.expect(run.status == 1, f"exit status {run.status}, not 1", run)
    world.expect_untouched(ledger, run=run)
    world.expect_claims(run)
    world.expect_no_leftovers(run)
    world.expect([item.get("status") for item in run.items] == ["failed"], "not told as failed", run)


@case
def what_is_asked_is_done(world):
    for job in JOBS:
        world.empty()
        arguments = job(world)
        sound = Recording(world.path(TAKE)).fingerprints()
        run = world.run(*arguments, status=0)
        world.expect(is_new(job, world.path(TAKE)), f"{job.__name__} did nothing", run)
        found = Recording(world.path(TAKE)).fingerprints()
        world.expect(found == (sound[:1] if job is clean else sound), "other audio than before", run)
        world.expect_claims(run)
        world.expect_no_leftovers(run)
        fates = [told["fate"] for item in run.items for told in item.get("fates", [])]
        world.expect(fates == ["replaced"], f"told: {fates}", run)
        ops = [(line.get("op"), line.get("phase")) for line in world.journal()]
        world.expect(("replace", "begin") in ops and ("replace", "end") in ops, f"the journal has {ops}", run)


def write_description(path, text):
    """Another program's way to change a BEXT: the same file, the same size."""
    with open(path, "r+b") as file:
        at = file.read().index(b"bext") + 8
        file.seek(at)
        file.write(text.encode().ljust(256, b"\0"))


def replace_description(path, text):
    """And another's: a new file that takes the name."""
    other = path + ".other"
    with open(path, "rb") as file, open(other, "wb") as copy:
        copy.write(file.read())
    write_description(other, text)
    os.rename(other, path)


MOMENTS = ({"call": "write,copy", "proc": "ostrel-cli"}, {"call": "write", "proc": "bwfmetaedit"}, {"call": "fsync"})


@case
def another_program_writes_meanwhile(world):
    """What it wrote stands afterwards: the replacement is refused."""
    for job in JOBS:
        struck = 0
        for moment in MOMENTS:
            for change in (write_description, replace_description):
                world.empty()
                arguments = job(world)
                flag = os.path.join(world.root, f"paused{world.counter}")
                process = world.start(*arguments, rules=[{**moment, "path": "/recordings/", "nth": 1, "do": "pause", "flag": flag}])
                if wait_for(lambda: os.path.exists(flag) or process.poll() is not None) and os.path.exists(flag):
                    struck += 1
                    change(world.path(TAKE), "Words of another program")
                    ledger = world.ledger()
                    with open(flag + ".go", "w", encoding="ascii"):
                        pass
                    run = world.finish(process)
                    found = Recording(world.path(TAKE)).description()
                    world.expect(found == "Words of another program",
                                 f"{job.__name__}, {change.__name__} at {moment['call']}: the other's words are lost", run)
                    expect_refused(world, run, ledger)
                else:
                    world.finish(process)
        world.expect(struck >= 2, f"{job.__name__}: only {struck} moments were met")


@case
def another_program_writes_in_the_tick_of_the_same_second(world):
    """Times are compared to the nanosecond: a change within the second is a change."""
    for job in JOBS:
        world.empty()
        arguments = job(world)
        flag = os.path.join(world.root, f"paused{world.counter}")
        process = world.start(*arguments, rules=[{"call": "fsync", "path": "/recordings/", "nth": 1, "do": "pause", "flag": flag}])
        wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
        before = os.stat(world.path(TAKE)).st_mtime_ns
        write_description(world.path(TAKE), "Words of another program")
        second = before // 10 ** 9 * 10 ** 9
        os.utime(world.path(TAKE), ns=(before, second + (before - second + 1000) % 10 ** 9))
        ledger = world.ledger()
        with open(flag + ".go", "w", encoding="ascii"):
            pass
        expect_refused(world, world.finish(process), ledger)


@case
def a_failing_fsync(world):
    for job in JOBS:
        for process in ("ostrel-cli", ""):
            world.empty()
            arguments = job(world)
            ledger = world.ledger()
            rule = {"call": "fsync", "path": "/recordings/", "do": "fail", "errno": "EIO"}
            run = world.run(*arguments, rules=[{**rule, "proc": process} if process else rule])
            world.expect(run.strokes, "the shim never struck")
            expect_refused(world, run, ledger)


@case
def a_second_hard_link(world):
    """Replacing the file would part the two names."""
    for job in JOBS:
        world.empty()
        arguments = job(world)
        os.makedirs(os.path.join(world.root, "world", "elsewhere"), exist_ok=True)
        second = os.path.join(world.root, "world", "elsewhere", f"{job.__name__}.wav")
        os.link(world.path(TAKE), second)
        ledger = world.ledger()
        run = world.run(*arguments)
        expect_refused(world, run, ledger)
        world.expect(os.path.samefile(world.path(TAKE), second), "the two names are two files now", run)
        world.expect_said(r"\blinks?\b", run)


@case
def a_symbolic_link(world):
    """The link stays a link, and what it leads to is old or new, and whole."""
    for job in JOBS:
        world.empty()
        arguments = job(world)
        os.makedirs(os.path.join(world.root, "world", "elsewhere"), exist_ok=True)
        real = os.path.join(world.root, "world", "elsewhere", f"{job.__name__}.wav")
        os.rename(world.path(TAKE), real)
        os.symlink(real, world.path(TAKE))
        before = open(real, "rb").read()
        run = world.run(*arguments)
        world.expect(os.path.islink(world.path(TAKE)), "the link is no link any more", run)
        after = open(real, "rb").read()
        world.expect(after == before or is_new(job, real), "what it leads to is neither old nor new", run)
        world.expect((run.status == 0) == (after != before), f"exit status {run.status}, and the file is "
                     f"{'old' if after == before else 'new'}", run)


def access_list():
    entries = [(1, 6, 0xFFFFFFFF), (2, 4, 4321), (4, 4, 0xFFFFFFFF), (16, 4, 0xFFFFFFFF), (32, 0, 0xFFFFFFFF)]
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)


@case
def mode_owner_and_attributes_go_over(world):
    for job in JOBS:
        world.empty()
        arguments = job(world)
        path = world.path(TAKE)
        os.chmod(path, 0o640)
        wanted = {}
        for name, value in (("user.ostrel.note", b"kept"), ("user.rating", b"5"), ("system.posix_acl_access", access_list())):
            try:
                os.setxattr(path, name, value)
                wanted[name] = os.getxattr(path, name)
            except OSError:
                print(f"  (this file system knows no {name})")
        if os.geteuid() == 0:
            os.chown(path, 12345, 54321)
        before = os.stat(path)
        run = world.run(*arguments, status=0)
        after = os.stat(path)
        world.expect(is_new(job, path), "nothing was done", run)
        world.expect(stat.S_IMODE(after.st_mode) == stat.S_IMODE(before.st_mode), f"mode {after.st_mode:o}", run)
        world.expect((after.st_uid, after.st_gid) == (before.st_uid, before.st_gid), f"owner {after.st_uid}:{after.st_gid}", run)
        found = {name: os.getxattr(path, name) for name in os.listxattr(path)}
        lost = [name for name in wanted if found.get(name) != wanted[name]]
        world.expect(not lost, f"lost: {', '.join(lost)}", run)


@case
def who_may_not_write_it_may_not_replace_it(world):
    """A folder that is open to all makes the rename possible; the file's own mode says no."""
    for job in JOBS:
        world.empty()
        arguments = job(world)
        os.chmod(world.path(TAKE), 0o444)
        who = {}
        if os.geteuid() == 0:
            for folder, folders, names in os.walk(world.root):
                os.chmod(folder, 0o777)
            who = {"user": 65534, "group": 65534, "extra_groups": []}
        ledger = world.ledger()
        try:
            run = world.run(*arguments, **who)
        except PermissionError:
            print("  (skipped: another user can't start the program from where it was built)")
            return
        expect_refused(world, run, ledger)


@case
def what_can_not_be_read_whole_is_not_replaced(world):
    for job in JOBS:
        for process in ("ostrel-cli", "bwfmetaedit"):
            world.empty()
            arguments = job(world)
            ledger = world.ledger()
            run = world.run(*arguments, rules=[{"call": "read,copy", "path": TAKE, "proc": process, "from": 150000, "do": "fail",
                                                "errno": "EIO"}])
            if run.strokes:
                world.expect_untouched(ledger, run=run)
                world.expect_no_leftovers(run)
                world.expect_claims(run)


@case
def the_kept_channel_arrives_whole(world):
    """A write that is lost in the middle without a word: the copy is read back and compared."""
    world.empty()
    arguments = clean(world)
    ledger = world.ledger()
    flag = os.path.join(world.root, "paused")
    process = world.start(*arguments, rules=[{"call": "fsync", "path": "/recordings/", "proc": "ostrel-cli", "nth": 1, "do": "pause",
                                              "flag": flag}])
    wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
    private = [os.path.join(world.tree, name) for name in os.listdir(world.tree) if name.startswith(".")]
    for path in private:
        with open(path, "r+b") as file:
            file.seek(os.path.getsize(path) * 6 // 10)
            file.write(bytes(600))
    with open(flag + ".go", "w", encoding="ascii"):
        pass
    run = world.finish(process)
    world.expect(private, "no private file was there to spoil", run)
    expect_refused(world, run, ledger)


@case
def one_of_a_batch_that_can_not_be_replaced(world):
    """The others are; the exit status and the items tell which."""
    channels = {name: dual_mono(world, name) for name in ("a.wav", "b.wav", "c.wav")}
    os.link(world.path("b.wav"), os.path.join(world.root, "world", "second.wav"))
    ledger = world.ledger()
    run = world.run("clean", "--no-suffix", "--overwrite", "--json", world.tree, status=1)
    world.expect_claims(run)
    world.expect_untouched(ledger, ["b.wav"], run)
    for name in ("a.wav", "c.wav"):
        world.expect_sounds(world.path(name), [channels[name]], run)
    told = {item["name"]: item["status"] for item in run.items}
    world.expect(re.match("failed", told.get("b.wav", "")) and told.get("a.wav") == told.get("c.wav") == "completed",
                 f"told: {told}", run)


@case
def a_target_that_appears_meanwhile(world):
    """Without "--overwrite": a file that another program puts where the output is to stand is not replaced."""
    dual_mono(world, "a.wav")
    flag = os.path.join(world.root, "paused")
    process = world.start("clean", "--json", world.path("a.wav"),
                          rules=[{"call": "write", "path": "/recordings/", "proc": "ostrel-cli", "nth": 1, "do": "pause",
                                  "flag": flag}])
    wait_for(lambda: os.path.exists(flag) or process.poll() is not None)
    if not world.expect(not os.path.exists(world.path("a_mono.wav")), "the output stands under its name before it is complete"):
        os.unlink(world.path("a_mono.wav"))
    write(world.path("a_mono.wav"), noise("the other's"))
    ledger = world.ledger()
    with open(flag + ".go", "w", encoding="ascii"):
        pass
    run = world.finish(process)
    world.expect(run.status == 1, f"exit status {run.status}, not 1", run)
    world.expect_untouched(ledger, run=run)
    world.expect_no_leftovers(run)


sys.exit(main())
