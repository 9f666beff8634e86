"""Recordings written and read byte for byte, so that what a job made is judged by nothing that the job is made of.

A channel is a `Channel`: the bytes of its samples as they lie in a file, and how to understand them. Two channels sound the
same if their values are equal, whatever the container: values are doubles, exact for every kind here.
"""
import array
import hashlib
import os
import random
import struct
import sys

assert sys.byteorder == "little"

# kind -> (bytes a sample, bits that fmt tells, format tag)
KINDS = {
    "s16": (2, 16, 1),
    "s24": (3, 24, 1),
    "s32": (4, 32, 1),
    "f32": (4, 32, 3),
    "s24in32": (4, 24, 1),        # the bits say 24, the block align four bytes
    "s24in32x": (4, 32, 0xFFFE),  # the same samples, told by the valid bits of WAVE_FORMAT_EXTENSIBLE
}
PCM_GUID_TAIL = bytes.fromhex("000000001000800000aa00389b71")


class BadRecording(Exception):
    """Not a whole recording, and why."""


class Channel:
    def __init__(self, kind, data):
        self.kind, self.data = kind, bytes(data)

    def __len__(self):
        return len(self.data) // KINDS[self.kind][0]

    def __add__(self, other):
        return Channel(self.kind, self.data + other.data)

    def first(self, frames):
        return Channel(self.kind, self.data[: frames * KINDS[self.kind][0]])

    def values(self):
        if self.kind == "f32":
            return array.array("d", (value + 0.0 for value in array.array("f", self.data)))
        scale = 2.0 ** -31
        return array.array("d", (value * scale for value in array.array("i", self.wide())))

    def wide(self):
        """As 32-bit integers, the sample in the upper bits."""
        step = KINDS[self.kind][0]
        if step == 4:
            return self.data
        result = bytearray(4 * len(self))
        for byte in range(step):
            result[4 - step + byte :: 4] = self.data[byte::step]
        return bytes(result)

    def fingerprint(self):
        return hashlib.sha256(self.values().tobytes()).hexdigest()


def noise(seed, seconds=0.25, kind="s24", rate=48000):
    """A signal that no other seed makes: a swap, a mix, a shift or a dropped block can't go unseen."""
    frames = round(seconds * rate)
    source = random.Random(f"noise {seed}")
    if kind == "f32":
        wide = array.array("i", Channel("s24", source.randbytes(frames * 3)).wide())
        return Channel(kind, array.array("f", (value / 2.0 ** 31 for value in wide)).tobytes())
    if kind in ("s24in32", "s24in32x"):
        return Channel(kind, Channel("s24", source.randbytes(frames * 3)).wide())
    return Channel(kind, source.randbytes(frames * KINDS[kind][0]))


def louder(channel, at, seconds, times, rate):
    """A float channel with a burst above full scale."""
    values = array.array("f", channel.data)
    for i in range(round(at * rate), round((at + seconds) * rate)):
        values[i] *= times
    return Channel("f32", values.tobytes())


def bext(description="A take", originator="Hostile", reference="HOSTILE0001", time=0, history=b"A=PCM\r\n"):
    def padded(text, size):
        return text.encode().ljust(size, b"\0")[:size]

    return (padded(description, 256) + padded(originator, 32) + padded(reference, 32) + b"2026-03-14" + b"09:26:53"
            + struct.pack("<QH", time, 1) + bytes(254) + history)


def ixml(tracks, scene="12A", take="3", first=1, extra=""):
    """A recorder's iXML; `first` is its number of the first track."""
    entries = "".join(f"<TRACK><CHANNEL_INDEX>{first + i}</CHANNEL_INDEX><INTERLEAVE_INDEX>{i + 1}</INTERLEAVE_INDEX>"
                      f"<NAME>{name}</NAME></TRACK>" for i, name in enumerate(tracks))
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<BWFXML><IXML_VERSION>1.5</IXML_VERSION><PROJECT>P</PROJECT>'
            f"<SCENE>{scene}</SCENE><TAKE>{take}</TAKE><TAPE>T1</TAPE><FILE_UID>U{scene}{take}{first}</FILE_UID>"
            f"<FAMILY_UID>FAMILY{scene}{take}</FAMILY_UID>{extra}<TRACK_LIST><TRACK_COUNT>{len(tracks)}</TRACK_COUNT>"
            f"{entries}</TRACK_LIST></BWFXML>\n").encode()


def chunk(name, payload, told=None):
    return name + struct.pack("<I", len(payload) if told is None else told) + payload + b"\0" * (len(payload) & 1)


def interleaved(channels):
    step = KINDS[channels[0].kind][0]
    frames, width = len(channels[0]), step * len(channels)
    result = bytearray(frames * width)
    for number, channel in enumerate(channels):
        assert len(channel) == frames and channel.kind == channels[0].kind
        for byte in range(step):
            result[number * step + byte :: width] = channel.data[byte::step]
    return bytes(result)


def _format(kind, channels, rate):
    step, bits, tag = KINDS[kind]
    align = step * channels
    head = struct.pack("<HHIIHH", tag, channels, rate, rate * align, align, bits)
    if tag == 0xFFFE:
        head += struct.pack("<HHI", 22, 24, 0) + struct.pack("<H", 1) + PCM_GUID_TAIL
    return head


def write(path, channels, rate=48000, ahead=(), behind=(), data_told=None, rf64=None):
    """`ahead` and `behind`: (name, payload) of the chunks around the audio. `data_told`: the size that the data chunk
    claims. `rf64`: a dictionary of the sizes that ds64 tells ("riff", "data", "samples"), the true ones unless named."""
    if isinstance(channels, Channel):
        channels = [channels]
    audio = interleaved(channels)
    head = b"".join(chunk(name, payload) for name, payload in ahead)
    head += chunk(b"fmt ", _format(channels[0].kind, len(channels), rate))
    told = 0xFFFFFFFF if rf64 is not None else data_told
    tail = chunk(b"data", audio, told) + b"".join(chunk(name, payload) for name, payload in behind)
    riff = b"RIFF"
    size = len(head) + len(tail) + 4
    if rf64 is not None:
        riff, size64 = b"RF64", size + 36
        head = chunk(b"ds64", struct.pack("<QQQI", rf64.get("riff", size64), rf64.get("data", len(audio)),
                                          rf64.get("samples", len(channels[0])), 0)) + head
        size = 0xFFFFFFFF
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(riff + struct.pack("<I", size) + b"WAVE" + head + tail)
    return path


class Recording:
    """What stands in a file: `channels`, `rate`, `chunks` (name -> payload, without the audio). Throws `BadRecording` for
    what is no whole recording: a header that claims more or less than there is, no audio, half a frame."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.bytes = file.read()
        self.chunks, self.kind, data = {}, None, None
        name, size, form = self._head()
        if name not in (b"RIFF", b"RF64") or form != b"WAVE":
            raise BadRecording(f"no WAVE file, {len(self.bytes)} bytes")
        told64 = {}
        position = 12
        while position + 8 <= len(self.bytes):
            name, size = struct.unpack_from("<4sI", self.bytes, position)
            size = told64.get(name, size) if size == 0xFFFFFFFF else size
            if position + 8 + size > len(self.bytes):
                raise BadRecording(f"chunk {name!r} claims {size} bytes, {len(self.bytes) - position - 8} are there")
            payload = memoryview(self.bytes)[position + 8 : position + 8 + size]
            if name == b"ds64":
                told64 = {b"RIFF": struct.unpack_from("<Q", payload)[0], b"data": struct.unpack_from("<Q", payload, 8)[0]}
            elif name == b"fmt ":
                self._read_format(bytes(payload))
            elif name == b"data":
                data = payload
            else:
                self.chunks[name] = bytes(payload)
            position += 8 + size + (size & 1)
        self._check_size(told64)
        if self.kind is None or data is None:
            raise BadRecording("no audio in it" if self.kind else "no format in it")
        if len(data) == 0 or len(data) % self.align:
            raise BadRecording(f"{len(data)} bytes of audio in frames of {self.align}")
        self._data = data

    def _head(self):
        if len(self.bytes) < 12:
            raise BadRecording(f"{len(self.bytes)} bytes")
        return struct.unpack_from("<4sI4s", self.bytes)

    def _check_size(self, told64):
        told = struct.unpack_from("<I", self.bytes, 4)[0]
        told = told64.get(b"RIFF", told) if told == 0xFFFFFFFF else told
        if told + 8 not in (len(self.bytes), len(self.bytes) - 1, len(self.bytes) + 1):
            raise BadRecording(f"the file claims {told + 8} bytes and has {len(self.bytes)}")

    def _read_format(self, payload):
        tag, self.channel_count, self.rate, _, self.align, bits = struct.unpack_from("<HHIIHH", payload)
        valid = bits
        if tag == 0xFFFE:
            valid, tag = struct.unpack_from("<H", payload, 18)[0], struct.unpack_from("<H", payload, 24)[0]
        if not self.channel_count or not self.align:
            raise BadRecording("no channels")
        step = self.align // self.channel_count
        kinds = {(1, 2): "s16", (1, 3): "s24", (1, 4): "s32" if valid == 32 else "s24in32", (3, 4): "f32"}
        if (tag, step) not in kinds:
            raise BadRecording(f"format {tag} of {step} bytes a sample")
        self.kind = kinds[(tag, step)]

    @property
    def frames(self):
        return len(self._data) // self.align

    def channel(self, number):
        step = self.align // self.channel_count
        result = bytearray(self.frames * step)
        for byte in range(step):
            result[byte::step] = self._data[number * step + byte :: self.align]
        return Channel(self.kind, result)

    @property
    def channels(self):
        return [self.channel(number) for number in range(self.channel_count)]

    def fingerprints(self):
        return [channel.fingerprint() for channel in self.channels]

    def track_names(self):
        text = self.chunks.get(b"iXML", b"").decode("utf-8", "replace")
        return [part.split("</NAME>")[0] for part in text.split("<NAME>")[1:]]

    def description(self):
        return self.chunks.get(b"bext", b"")[:256].rstrip(b"\0").decode("utf-8", "replace")

    def identity(self):
        """What the bext says of where the recording comes from: description, originator, reference, date, time, start."""
        payload = self.chunks.get(b"bext", b"").ljust(348, b"\0")
        ends = [0, 256, 288, 320, 330, 338, 346]
        return [payload[start:end].rstrip(b"\0") for start, end in zip(ends, ends[1:])]
