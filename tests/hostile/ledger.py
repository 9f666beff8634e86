"""What was there before a job, and whether all of it still is."""
import contextlib
import hashlib
import os

from recordings import BadRecording, Recording

WAVE = (".wav", ".wave", ".rf64")
AUDIO = (*WAVE, ".aif", ".aiff", ".flac", ".mp3", ".caf", ".ogg", ".m4a")


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def files(tree, hidden=False):
    """Every file below a folder, as paths relative to it; links as what they are, not what they lead to."""
    found = []
    for folder, folders, names in os.walk(tree):
        if not hidden:
            folders[:] = [name for name in folders if not name.startswith(".")]
        found += [os.path.relpath(os.path.join(folder, name), tree) for name in names
                  if hidden or not name.startswith(".")]
    return sorted(found)


def leftovers(tree):
    """Files under private names, of this version or an earlier one, and lists or temporary folders beside recordings."""
    return [name for name in files(tree, hidden=True) if any(part.startswith(".") for part in name.split(os.sep))]


def is_wave(name):
    return name.lower().endswith(WAVE)


def is_audio(name):
    return name.lower().endswith(AUDIO)


class Ledger:
    """Taken of a tree ahead of a job. `told` recordings lie about their size on purpose and are known by their bytes alone."""

    def __init__(self, tree):
        self.tree = tree
        self.digests, self.sounds = {}, {}
        for name in files(tree):
            path = os.path.join(tree, name)
            if os.path.islink(path):
                continue
            self.digests[name] = digest(path)
            if is_audio(name):
                try:
                    self.sounds[name] = Recording(path).fingerprints()
                except BadRecording:
                    self.sounds[name] = None

    def contents(self):
        """digest -> names, and fingerprint -> names, of what is visible in the tree now; and what is no whole recording."""
        digests, sounds, stumps = {}, {}, []
        for name in files(self.tree):
            path = os.path.join(self.tree, name)
            if os.path.islink(path):
                continue
            own = digest(path)
            digests.setdefault(own, []).append(name)
            if not is_audio(name) or own in self.digests.values():
                for sound in self.sounds.get(self._name_of(own)) or []:
                    sounds.setdefault(sound, []).append(name)
                continue
            if not is_wave(name):
                if os.path.getsize(path) == 0:
                    stumps.append(f"{name}: 0 bytes")
                continue
            try:
                for sound in Recording(path).fingerprints():
                    sounds.setdefault(sound, []).append(name)
            except BadRecording as problem:
                stumps.append(f"{name}: {problem}")
        return digests, sounds, stumps

    def _name_of(self, own):
        return next(name for name, known in self.digests.items() if known == own) if own in self.digests.values() else None

    def losses(self, may_be_replaced=()):
        """Recordings whose contents stand nowhere any more: neither the file itself under some visible name, nor each of
        its channels, bit for bit, in some visible recording. For those in `may_be_replaced` one channel is enough: that is
        what was asked for."""
        digests, sounds, _ = self.contents()
        lost = []
        for name, own in self.digests.items():
            if own in digests:
                continue
            known = self.sounds.get(name)
            missing = [i + 1 for i, sound in enumerate(known or []) if sound not in sounds]
            enough = known and (not missing or (name in may_be_replaced and len(missing) < len(known)))
            if not enough:
                lost.append(f"{name}: gone" + (f", with channels {missing}" if known else ""))
        return lost

    def unproven(self):
        """Sources that left their name though some channel of theirs is in no new recording, bit for bit: moved is not lost,
        but nothing may be moved on less than that."""
        fresh = set()
        for name in files(self.tree):
            path = os.path.join(self.tree, name)
            if is_wave(name) and not os.path.islink(path) and digest(path) not in self.digests.values():
                with contextlib.suppress(BadRecording):
                    fresh.update(Recording(path).fingerprints())
        return [name for name in self.changed(self.sounds) if not set(self.sounds[name] or ["unknown"]) <= fresh]

    def changed(self, names=None):
        """Those that no longer stand, byte for byte, under their own name."""
        return [name for name in (names or self.digests)
                if not os.path.isfile(os.path.join(self.tree, name))
                or digest(os.path.join(self.tree, name)) != self.digests[name]]

    def strangers(self, known=()):
        """Visible recordings with a channel that is in no source (and not in `known` fingerprints): cut short, padded, mixed,
        or silent."""
        allowed = set(known)
        for sounds in self.sounds.values():
            allowed.update(sounds or [])
        found = []
        for name in files(self.tree):
            path = os.path.join(self.tree, name)
            if os.path.islink(path) or not is_wave(name) or digest(path) in self.digests.values():
                continue
            try:
                recording = Recording(path)
            except BadRecording:
                continue  # a stump, told apart
            wrong = [i + 1 for i, sound in enumerate(recording.fingerprints()) if sound not in allowed]
            if wrong:
                found.append(f"{name}: channels {wrong} of {recording.channel_count} are in no source")
        return found
