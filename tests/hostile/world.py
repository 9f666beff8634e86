"""One case: a folder of its own, the built program in it, and whatever the world does to it."""
import contextlib
import json
import os
import re
import shutil
import struct
import subprocess
import tempfile
import time

from ledger import Ledger, digest, files, is_wave, leftovers
from recordings import BadRecording, Recording

SHARED_BYTES = 65536
MAX_RULES = 16
COMPLETED = ("completed", "completedWithWarning", "completedUncertified", "completedCarbonCopyCertified")


class Run:
    """One finished run of the program."""

    def __init__(self, arguments, status, out, err, strokes, seen):
        self.arguments, self.status, self.out, self.err, self.strokes, self.seen = (
            arguments, status, out, err, strokes, seen)
        self.before = ""  # what an earlier run over the same files had told

    @property
    def words(self):
        """All that a person was told."""
        return self.before + self.err + self.out

    @property
    def document(self):
        try:
            return json.loads(self.out)
        except ValueError:
            return {}

    @property
    def items(self):
        return self.document.get("items", [])

    def item(self, name):
        return next((item for item in self.items if item.get("name") == name), {})

    def __str__(self):
        tail = "\n".join("      | " + line for line in self.words.strip().splitlines()[-14:])
        told = f"    {' '.join(map(str, self.arguments))} -> {self.status}\n{tail}"
        return re.sub(r"/\S*?/world/recordings", "…", told)


class World:
    def __init__(self, program, shim):
        self.program, self.shim = program, shim
        self.root = tempfile.mkdtemp(prefix="ostrel-hostile-")
        # Everything that counts lies below "world": one text finds it in a rule. Temporary files do not count.
        self.tree = self.path("")
        self.state = os.path.join(self.root, "world", "state")
        for folder in (self.tree, self.state, *(os.path.join(self.root, name) for name in ("home", "tmp", "bin"))):
            os.makedirs(folder, exist_ok=True)
        self.faults, self.last, self.counter, self.search, self.processes = [], None, 0, None, []
        self.about = ""  # what a case is at, for its faults

    def close(self):
        shutil.rmtree(self.root, ignore_errors=True)

    def path(self, *names):
        return os.path.join(self.root, "world", "recordings", *names).rstrip("/")

    def empty(self):
        """For the next round."""
        for folder in (self.tree, self.state):
            shutil.rmtree(folder)
            os.makedirs(folder)

    def run_again(self, earlier, *arguments):
        """The same command on a sound disk. What the earlier run made is a skip, but for a Clean & Export, whose rule is to refuse
        it; and a set of which it could not delete the last file is incomplete."""
        run = self.run(*arguments)
        failed = [item for item in run.items if item.get("status") == "failed"]
        is_refusal = bool(failed) and all("File already exists" in item["message"] for item in failed)
        is_refusal |= "deleted by then" in earlier.words and [item["status"] for item in run.items] == ["missingChannels"]
        self.expect(run.status == (1 if is_refusal else 0), f"exit status {run.status} of the run that follows", run)
        return run

    # ---- what was found

    def expect(self, holds, told, run=None):
        """Goes on after a fault: one run breaks several promises as often as not. Gives whether it holds."""
        if not holds:
            run = run or self.last
            told = f"{self.about}: {told}" if self.about else told
            report = f"{told}\n{run}" if run else told
            if not any(fault.startswith(told + "\n") for fault in self.faults):
                self.faults.append(report)
        return holds

    # ---- running

    def environment(self, rules=(), shared=None, log=None, extra=None):
        home = os.path.join(self.root, "home")
        result = {
            "HOME": home, "XDG_STATE_HOME": self.state, "XDG_CACHE_HOME": os.path.join(home, "cache"),
            "XDG_CONFIG_HOME": os.path.join(home, "config"), "XDG_DATA_HOME": os.path.join(home, "data"),
            "TMPDIR": os.path.join(self.root, "tmp"), "LC_ALL": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
            "OSTREL_ENGINE": os.environ.get("OSTREL_ENGINE", "ffmpeg"),
            "PATH": self.search or os.path.join(self.root, "bin") + ":" + os.environ.get("PATH", "/usr/bin:/bin"),
        }
        # A sanitized build wants to be first; it is content to be second.
        options = [os.environ.get("ASAN_OPTIONS"), "verify_asan_link_order=0", "detect_leaks=0"]
        result["ASAN_OPTIONS"] = ":".join(option for option in options if option)
        if rules:
            result.update({"LD_PRELOAD": self.shim, "HOSTILE_SHARED": shared, "HOSTILE_LOG": log,
                           "HOSTILE_RULES": "\n".join("\t".join(f"{k}={v}" for k, v in rule.items()) for rule in rules)})
        return {**result, **(extra or {})}

    def start(self, *arguments, rules=(), cwd=None, extra=None, **options):
        """A run that goes on. Finish it with `finish`."""
        self.counter += 1
        shared = os.path.join(self.root, f"shared{self.counter}")
        log = os.path.join(self.root, f"strokes{self.counter}")
        if rules:
            with open(shared, "wb") as file:
                file.write(bytes(SHARED_BYTES))
        process = subprocess.Popen([self.program, *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   stdin=subprocess.DEVNULL, cwd=cwd or self.tree,
                                   env=self.environment(rules, shared, log, extra), **options)
        process.hostile = (arguments, shared if rules else None, log)
        return process

    def finish(self, process, timeout=1500):
        try:
            out, err = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            out, err = process.communicate()
            err += f"\n(no end after {timeout} s)".encode()
        arguments, shared, log = process.hostile
        strokes, seen = [], []
        if shared:
            with contextlib.suppress(FileNotFoundError), open(log, encoding="utf-8", errors="replace") as file:
                strokes = [line.rstrip("\n").split("\t") for line in file]
            with open(shared, "rb") as file:
                memory = file.read()
            seen = struct.unpack_from(f"<{MAX_RULES}Q", memory)
            count = struct.unpack_from("<Q", memory, 16 * MAX_RULES)[0]
            self.processes = [struct.unpack_from("<i4xQ", memory, 16 * MAX_RULES + 8 + 16 * i) for i in range(count)]
            os.unlink(shared)
        self.last = Run(arguments, process.returncode, out.decode("utf-8", "replace"), err.decode("utf-8", "replace"),
                        strokes, seen)
        return self.last

    def run(self, *arguments, status=None, timeout=1500, **options):
        run = self.finish(self.start(*arguments, **options), timeout)
        if status is not None:
            allowed = status if isinstance(status, (tuple, set, list)) else (status,)
            self.expect(run.status in allowed, f"exit status {run.status}, not {' or '.join(map(str, allowed))}", run)
        return run

    def tool(self, name, *arguments):
        """One of the outside tools, to make what a case starts from. Gives its exit status."""
        return subprocess.call([shutil.which(name), *arguments], env=self.environment(), stdin=subprocess.DEVNULL)

    # ---- faking

    def fake(self, tool, body):
        """A program of this name ahead of the real one on the path. `body`: lines of sh; "$real" is the real one."""
        real = shutil.which(tool)
        path = os.path.join(self.root, "bin", tool)
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\nreal='{real}'\n{body}\n")
        os.chmod(path, 0o755)
        return path

    def fake_python(self, tool, body):
        """The same in Python: `real` runs the real one with the same arguments and gives its exit status."""
        script = os.path.join(self.root, "bin", f"{tool}.py")
        with open(script, "w", encoding="utf-8") as file:
            file.write("import os, subprocess, sys, time\narguments = sys.argv[1:]\n"
                       f"def real():\n    return subprocess.call([{shutil.which(tool)!r}] + arguments)\n{body}\n")
        return self.fake(tool, f'exec {shutil.which("python3")} -S -E {script} "$@"')

    # ---- promises that every run keeps

    def expect_claims(self, run):
        """What the document says of the files is what the disk says."""
        if not run.document:
            return self.expect(False, "no JSON document on standard output", run)
        for item in run.items:
            self._expect_outputs(item, run)
            self._expect_fates(item, run)
        failed = [item for item in run.items if item.get("status") == "failed"]
        if failed and run.status == 0:
            self.expect(False, f"exit status 0, and {failed[0].get('name')!r} failed", run)
        return True

    def _expect_outputs(self, item, run):
        outputs = item.get("outputs", [])
        for output in outputs:
            self.expect_sound_file(output, run)
        if run.document.get("job") in ("interleave", "deinterleave", "split", "join") and item.get("status") in COMPLETED:
            self.expect(outputs, f"{item.get('name')!r} is told as {item['status']} without an output", run)

    def expect_sound_file(self, output, run=None):
        """A file that a run claims is there, and whole."""
        name = os.path.basename(output)
        if self.expect(os.path.isfile(output), f"output {name} is claimed and isn't there", run) and is_wave(name):
            try:
                Recording(output)
            except BadRecording as problem:
                self.expect(False, f"output {name} is no whole recording: {problem}", run)

    def _expect_fates(self, item, run):
        fates = item.get("fates")
        if fates is None:
            return self.expect(False, f"{item.get('name')!r}: nothing is told of its sources' fates", run)
        for told in fates:
            source, fate, moved = told.get("source"), told.get("fate"), told.get("movedTo")
            name = os.path.basename(source or "")
            there = bool(source) and os.path.isfile(source)
            holds = {"kept": there, "deleted": not there, "replaced": there,
                     "moved": not there and bool(moved) and os.path.isfile(moved)}.get(fate, False)
            self.expect(holds, f"{name} is told as {fate}" + (f" to {moved}" if moved else "") + ", and is not", run)
        told = {entry.get("source") for entry in fates}
        for source in item.get("sources", []):
            self.expect(source in told or os.path.isfile(source),
                        f"{os.path.basename(source)} is gone, and nothing is told of it", run)
        return True

    def expect_nothing_lost(self, ledger, replaced=(), stumps=(), run=None):
        """No source lost, and no stump under a visible name."""
        for loss in ledger.losses(replaced):
            self.expect(False, f"LOST: {loss}", run)
        for stump in ledger.contents()[2]:
            if stump.split(":")[0] not in stumps:
                self.expect(False, f"STUMP: {stump}", run)

    def expect_untouched(self, ledger, names=None, run=None):
        changed = ledger.changed(names)
        self.expect(not changed, f"changed or gone: {', '.join(changed)}", run)

    def expect_no_strangers(self, ledger, known=(), run=None):
        for stranger in ledger.strangers(known):
            self.expect(False, f"NOT WHAT WAS RECORDED: {stranger}", run)

    def expect_no_leftovers(self, run=None, own=False):
        """`own`: only what bears a private name of the product's own, of this version or an earlier one."""
        found = [name for name in leftovers(self.tree)
                 if not own or re.search(r"(^|/)\.(ostrel-|[0-9A-Fa-f-]{36}(_temp|_backup)?\.)", name)]
        self.expect(not found, f"left behind: {', '.join(found)}", run)

    def expect_sounds(self, path, channels, run=None):
        """The file holds exactly these channels, in this order, bit for bit."""
        name = os.path.relpath(path, self.tree)
        if not self.expect(os.path.isfile(path), f"{name} isn't there", run):
            return
        try:
            found = Recording(path).fingerprints()
        except BadRecording as problem:
            self.expect(False, f"{name} is no whole recording: {problem}", run)
            return
        wanted = [channel.fingerprint() for channel in channels]
        self.expect(found == wanted, f"{name} doesn't hold the channels it should "
                    f"({len(found)} of {len(wanted)}; right: {[i + 1 for i, (a, b) in enumerate(zip(found, wanted)) if a == b]})",
                    run)

    def expect_said(self, pattern, run=None):
        """Something that a person must be told; a regular expression."""
        run = run or self.last
        self.expect(re.search(pattern, run.words, re.I | re.S), f"not said: {pattern}", run)

    def ledger(self):
        return Ledger(self.tree)

    def visible(self, folder=""):
        return files(os.path.join(self.tree, folder))

    def journal(self):
        """Every line of the journal, read as JSON; one that ends a step tells also what the line that began it told."""
        lines, begun = [], {}
        path = os.path.join(self.state, "Ostrel", "journal")
        with contextlib.suppress(FileNotFoundError, NotADirectoryError), open(path, encoding="utf-8", errors="replace") as file:
            for line in file:
                with contextlib.suppress(ValueError):
                    read = json.loads(line)
                    key = (read.get("run"), read.get("step"))
                    begun.setdefault(key, read)
                    lines.append({**begun[key], **read})
        return lines


def wait_for(condition, seconds=900):
    """Waits for an event; false if it never came."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.005)
    return bool(condition())


def send(process, which):
    """Sends a signal, and waits until it was taken: two that wait at once would be one."""
    process.send_signal(which)

    def is_pending():
        with contextlib.suppress(OSError), open(f"/proc/{process.pid}/status", encoding="ascii") as file:
            pending = [int(line.split()[1], 16) for line in file if line.startswith(("SigPnd", "ShdPnd"))]
            return any(mask >> (which - 1) & 1 for mask in pending)
        return False

    wait_for(lambda: process.poll() is not None or not is_pending())
    time.sleep(0.1)


def is_running(process_id, started=None):
    """`started`: when, in ticks of the machine, where the number alone could be another's by now."""
    try:
        with open(f"/proc/{process_id}/stat", encoding="ascii", errors="replace") as file:
            fields = file.read().rsplit(")", 1)[1].split()
    except (FileNotFoundError, ProcessLookupError):
        return False
    return fields[0] not in ("Z", "X") and started in (None, int(fields[19]))
