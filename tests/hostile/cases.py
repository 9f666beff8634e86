"""Runs the cases of one script: SCRIPT PROGRAM SHIM [NAME...]. Each case is a function that takes a `World`."""
import inspect
import os
import sys
import time
import traceback

from world import World

_cases = []


def case(function):
    _cases.append(function)
    return function


def main():
    program, shim, *names = sys.argv[1:]
    chosen = [function for function in _cases if not names or any(name in function.__name__ for name in names)]
    failed = []
    for function in chosen:
        world = World(os.path.abspath(program), os.path.abspath(shim))
        began = time.monotonic()
        try:
            function(world)
        except Exception:  # a case that can't go on has failed; the others go on
            world.faults.append(traceback.format_exc() + (f"\n{world.last}" if world.last else ""))
        finally:
            world.close()
        seconds = time.monotonic() - began
        print(f"{'FAIL' if world.faults else 'pass'}  {function.__name__}  ({seconds:.1f} s)", flush=True)
        if world.faults:
            failed.append(function.__name__)
            print("  " + (inspect.getdoc(function) or "").replace("\n", "\n  "))
            for number, fault in enumerate(world.faults):
                # The first ones with what the run said, of the others a line.
                print("  * " + (fault if number < 6 else fault.splitlines()[0]), flush=True)
    print(f"{len(chosen) - len(failed)} of {len(chosen)} cases pass" + (f"; failed: {', '.join(failed)}" if failed else ""))
    return 1 if failed or not chosen else 0
