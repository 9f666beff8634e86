"""A disk that is full in the middle of a job: nothing is lost, nothing half stands under a name, it is told; and the same
command, once there is room, makes every file."""
import ctypes
import os
import sys

from cases import case, main
from jobs import ALL, NAMED
from ledger import files
from takes import pair

CLONE_NEWNS, MS_REC, MS_PRIVATE = 0x20000, 0x4000, 1 << 18


# Shares of what the outputs take: within the first of them, and all but the end of the last.
ROOM = (0.3, 0.97)


def output_bytes(world, job):
    arguments = job.make(world)
    before = {name: os.path.getsize(world.path(name)) for name in files(world.tree)}
    run = world.run(*arguments, status=0)
    job.finished(world, run)
    size = sum(os.path.getsize(world.path(name)) for name in files(world.tree) if name not in before)
    return size or sum(before.values()) // 2


def expect_refusal_then_success(world, job, ledger, arguments):
    """After the run on the full disk: what it left, and what the next makes."""
    run = world.last
    world.expect(run.status == 1, f"exit status {run.status}, not 1", run)
    world.expect_claims(run)
    world.expect_nothing_lost(ledger, job.replaced, run=run)
    world.expect_no_strangers(ledger, run=run)
    world.expect_no_leftovers(run, own=True)
    rerun = world.run_again(run, *arguments)
    world.expect_claims(rerun)
    world.expect_nothing_lost(ledger, job.replaced, run=rerun)
    world.expect_no_strangers(ledger, run=rerun)
    job.finished(world, rerun)
    world.expect_no_leftovers(rerun, own=True)


def every_job(world):
    for job in ALL:
        world.empty()
        world.about = job.name
        size = output_bytes(world, job)
        for room in ROOM:
            world.empty()
            arguments = job.make(world)
            ledger = world.ledger()
            run = world.run(*arguments, rules=[{"call": "write,copy", "path": "/recordings", "quota": int(size * room)}])
            world.about = f"{job.name}, room for {room:.0%}"
            if run.strokes:
                expect_refusal_then_success(world, job, ledger, arguments)


@case
def a_quota_that_runs_out(world):
    every_job(world)


def own_mount(path, size):
    """A small file system that only this process and its children see. False where that is not allowed."""
    libc = ctypes.CDLL(None, use_errno=True)
    if not own_mount.apart:
        if libc.unshare(CLONE_NEWNS) != 0 or libc.mount(b"none", b"/", None, MS_REC | MS_PRIVATE, None) != 0:
            return False
        own_mount.apart = True
    return libc.mount(b"tmpfs", path.encode(), b"tmpfs", 0, f"size={size}".encode()) == 0


own_mount.apart = False


@case
def a_real_file_system_that_is_full(world):
    """The same without the shim, where a folder may be mounted: a tmpfs that a ballast fills."""
    if not own_mount(world.tree, 64 << 20):
        print("  (skipped: nobody may mount here)")
        return
    ballast = os.path.join(world.root, "world", "recordings", ".ballast")
    libc = ctypes.CDLL(None, use_errno=True)
    try:
        for job in ALL:
            for name in os.listdir(world.tree):
                remove(os.path.join(world.tree, name))
            arguments = job.make(world)
            ledger = world.ledger()
            with open(ballast, "wb") as file:
                left = os.statvfs(world.tree)
                file.write(bytes(left.f_bavail * left.f_frsize - (44 << 10)))
            world.about = job.name
            world.run(*arguments)
            os.unlink(ballast)
            expect_refusal_then_success(world, job, ledger, arguments)
    finally:
        libc.umount2(world.tree.encode(), 2)


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        for name in os.listdir(path):
            remove(os.path.join(path, name))
        os.rmdir(path)
    else:
        os.unlink(path)


@case
def the_journal_on_a_full_disk(world):
    """What can't be written down is not done."""
    for rule in ({"call": "write,create", "path": "/state/", "do": "fail", "errno": "ENOSPC"},
                 {"call": "fsync", "path": "/state/", "do": "fail", "errno": "EIO"}):
        for arguments in (["--originals", "delete"], ["--originals", "move"], ["--lr-cleanup", "hardDelete"],
                          ["--lr-cleanup", "verifiedConsolidation"]):
            world.empty()
            pair(world)
            ledger = world.ledger()
            run = world.run("interleave", *arguments, "--json", world.tree, rules=[rule])
            world.expect(run.strokes, "the shim never struck", run)
            world.expect_untouched(ledger, run=run)
            world.expect_claims(run)
        for job in (NAMED["clean in place"], NAMED["edit in place"]):
            world.empty()
            arguments = job.make(world)
            ledger = world.ledger()
            run = world.run(*arguments, rules=[rule], status=1)
            world.expect_untouched(ledger, run=run)
            world.expect_claims(run)


sys.exit(main())
