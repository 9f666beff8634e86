"""The shim itself: a fault that never happens would let every other case pass."""
import subprocess
import sys

from cases import case, main
from recordings import bext, ixml, noise, write

CHANNELS = [noise(f"strike {i}", 0.5) for i in range(2)]


def poly(world):
    return write(world.path("p.wav"), CHANNELS, ahead=[(b"bext", bext()), (b"iXML", ixml(["One", "Two"]))])


def strokes(run, process, call):
    return [stroke for stroke in run.strokes if stroke[:2] == [process, call]]


@case
def it_sees_every_process_of_a_job(world):
    poly(world)
    run = world.run("split", "--folders", "flat", world.path("p.wav"),
                    rules=[{"call": "mutate,read,open", "path": "/world/", "do": "count"}])
    for process, call in (("ostrel-cli", "open"), ("ostrel-cli", "read"), ("ffmpeg", "write"), ("ffmpeg", "read"),
                          ("bwfmetaedit", "read"), ("ffprobe", "read")):
        world.expect(strokes(run, process, call), f"no {call} of {process} was seen")
    world.expect(len(run.strokes) == run.seen[0], "the count and the notes differ")


@case
def a_write_fails(world):
    poly(world)
    run = world.run("split", "--folders", "flat", world.path("p.wav"),
                    rules=[{"call": "write", "path": "/recordings/", "proc": "ffmpeg", "do": "fail", "errno": "EIO"}])
    world.expect(strokes(run, "ffmpeg", "write"), "no stroke")


@case
def a_disk_fills_up_once_for_all_processes(world):
    poly(world)
    run = world.run("split", "--folders", "flat", world.path("p.wav"),
                    rules=[{"call": "write,copy", "path": "/recordings/", "quota": 90000}])
    world.expect(run.strokes, "no stroke")


@case
def the_whole_run_dies_at_once(world):
    poly(world)
    run = world.run("split", "--folders", "flat", world.path("p.wav"), status=-9,
                    rules=[{"call": "write", "path": "/recordings/", "proc": "ffmpeg", "nth": 2, "do": "killtree"}])
    world.expect(len(run.strokes) == 1, "no single stroke")


@case
def streams_of_libc_are_struck_too(world):
    """fwrite and fread reach the kernel by a call inside libc."""
    program = ("import ctypes, sys\nlibc = ctypes.CDLL(None, use_errno=True)\nlibc.fopen.restype = ctypes.c_void_p\n"
               "file = libc.fopen(sys.argv[1].encode(), b'w')\n"
               "done = libc.fwrite(b'x' * 10, 1, 10, ctypes.c_void_p(file))\nprint(done, ctypes.get_errno())")
    open(world.path("shared"), "wb").write(bytes(65536))
    environment = world.environment([{"call": "write", "path": "struck", "do": "fail", "errno": "ENOSPC"}],
                                    world.path("shared"), world.path("log"))
    found = [subprocess.run([sys.executable, "-c", program, world.path(name)], env=environment, capture_output=True,
                            text=True, check=False).stdout for name in ("spared.bin", "struck.bin")]
    world.expect(found == ["10 0\n", "0 28\n"], f"fwrite gave {found}")


sys.exit(main())
