"""Works on a copy of each of many recordings, in a home of its own, and tells how each fared."""
import os
import shutil
import tempfile


def try_each(samples, sources, work_on):
    """`work_on(copy, home, source)` gives an object with `faults` and `notes`, lists of lines. Gives those objects and how
    many have a fault."""
    works = []
    for source in sources:
        with tempfile.TemporaryDirectory() as folder:
            os.environ.update(HOME=folder, XDG_STATE_HOME=folder + "/state", XDG_CACHE_HOME=folder + "/cache")
            copy = os.path.join(folder, "source", source.name)
            os.mkdir(os.path.dirname(copy))
            shutil.copy2(source, copy)
            before = fingerprint(copy)
            work = work_on(copy, folder, source)
            if fingerprint(copy) != before:
                work.faults.append("the source was changed")
        print("BAD" if work.faults else "ok ", source.relative_to(samples),
              *(f"\n      {line}" for line in dict.fromkeys(work.faults + work.notes)))
        works.append(work)
    bad = sum(bool(work.faults) for work in works)
    print(f"{len(works)} recordings, {bad} with a fault")
    return works, bad


def fingerprint(path):
    with open(path, "rb") as file:
        return file.read(), os.stat(path).st_mtime_ns
