"""The recordings that most cases start from. Every channel has a signal of its own."""
import os

from recordings import bext, ixml, noise, write

FILM = ["L", "C", "R", "Ls", "Rs", "LFE"]
SMPTE = ["L", "R", "C", "LFE", "Ls", "Rs"]


def pair(world, base="A", folder="", left=None, right=None, separator=".", seconds=0.25, kind="s24", rate=48000, **options):
    """BASE.L.wav and BASE.R.wav with a BEXT, which a certified merge needs. Gives both channels."""
    left = left or noise(f"{folder}{base} L", seconds, kind, rate)
    right = right or noise(f"{folder}{base} R", seconds, kind, rate)
    for tag, channel in (("L", left), ("R", right)):
        write(world.path(folder, f"{base}{separator}{tag}.wav"), channel, rate,
              ahead=[(b"bext", bext(f"{base}, two microphones"))], **options)
    return [left, right]


def mono_set(world, tags, base="A", folder="", seconds=0.25, kind="s24", rate=48000):
    channels = [noise(f"{folder}{base} {tag}", seconds, kind, rate) for tag in tags]
    for tag, channel in zip(tags, channels):
        write(world.path(folder, f"{base}.{tag}.wav"), channel, rate, ahead=[(b"bext", bext(base))])
    return channels


def poly(world, name="12AT3.wav", tracks=("Boom", "Ann", "Ben"), seconds=0.25, kind="s24", rate=48000, scene="12A", take="3",
         channels=None, named=True, **options):
    """A recorder's poly: BEXT and iXML with the names of its tracks. Gives its channels."""
    channels = channels or [noise(f"{name} {i}", seconds, kind, rate) for i in range(len(tracks))]
    ahead = [(b"bext", bext(f"sSCENE={scene}\r\nsTAKE={take}\r\n"))]
    if named:
        ahead.append((b"iXML", ixml(tracks, scene, take)))
    write(world.path(name), channels, rate, ahead=ahead, **options)
    return channels


def isos(world, tracks=("Boom", "Ann"), scene="14A", take="1", folder="", seconds=0.25, kind="s24", rate=48000, lengths=None,
         start=1_555_200_000, starts=None, rates=None):
    """Loose mono files of one take, told by their iXML: SCENE-TTAKE_TRACK.wav. Gives their channels, in track order."""
    result = []
    for i, track in enumerate(tracks):
        its_rate = (rates or [rate] * len(tracks))[i]
        begins = (starts or [start] * len(tracks))[i]
        channel = noise(f"{folder}{scene}{take} {track}", (lengths or [seconds] * len(tracks))[i], kind, its_rate)
        speed = (f"<SPEED><TIMESTAMP_SAMPLE_RATE>{its_rate}</TIMESTAMP_SAMPLE_RATE>"
                 f"<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>{begins >> 32}</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>"
                 f"<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>{begins & 0xFFFFFFFF}</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO></SPEED>")
        write(world.path(folder, f"{scene}-T{take}_{track}.wav"), channel, its_rate,
              ahead=[(b"bext", bext(f"sSCENE={scene}\r\nsTAKE={take}\r\nsTRK1={track}\r\n", time=begins)),
                     (b"iXML", ixml([track], scene, take, first=i + 1, extra=speed))])
        result.append(channel)
    return result


def dual_mono(world, name="a.wav", folder="", seconds=1, kind="s24", **options):
    """Both channels the same, so that one may go. Gives the channel."""
    channel = noise(f"{folder}{name}", seconds, kind)
    write(world.path(folder, name), [channel, channel], ahead=[(b"bext", bext(name))], **options)
    return channel


def tagged(world, folder, base, tags):
    return [os.path.join(world.path(folder), f"{base}.{tag}.wav") for tag in tags]
