#include "stereovalidator/verdict_situations.h"

#include "metadata/chunks/chunk_setting.h"
#include "platform/paths.h"
#include "support/sound.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostrel::testing {
namespace {

using Class = StereoClassification;
using One = std::function<double(qint64)>;

double at(qint64 frame) { return double(frame) / kRate; }

// -10.8 dBFS
One noise(quint32 seed, double gain = 0.5) {
    return [=](qint64 frame) { return gain * noiseAt(seed, frame); };
}

One tone(double hz, double gain) {
    return [=](qint64 frame) { return gain * std::sin(2 * std::numbers::pi * hz * at(frame)); };
}

// Noise in words, with pauses in which the room is heard.
One voice(quint32 seed, double gain = 0.5, double room = 0.0005) {
    return [=](qint64 frame) {
        const double seconds = at(frame);
        const bool speaks = qint64(seconds / 0.7) % 4 != 3;
        const double word = std::pow(std::sin(std::numbers::pi * seconds / 0.35), 2);
        return noiseAt(seed, frame) * ((speaks ? gain * word : 0.0) + room);
    };
}

One times(const One& one, double gain) {
    return [=](qint64 frame) { return gain * one(frame); };
}

One plus(const One& a, const One& b) {
    return [=](qint64 frame) { return a(frame) + b(frame); };
}

One between(double from, double to, const One& inside, const One& outside) {
    return [=](qint64 frame) { return at(frame) >= from && at(frame) < to ? inside(frame) : outside(frame); };
}

One late(const One& one, qint64 frames) {
    return [=](qint64 frame) { return one(frame - frames); };
}

One nothing() {
    return [](qint64) { return 0.0; };
}

One constant(double value) {
    return [=](qint64) { return value; };
}

One rounded16(const One& one, quint32 seed) {
    return [=](qint64 frame) { return std::round(one(frame) * 32768 + noiseAt(seed, frame)) / 32768; };
}

// A second signal of the same strength that correlates by so much with the first.
One related(const One& one, const One& other, double correlation) {
    return plus(times(one, correlation), times(other, std::sqrt(1 - correlation * correlation)));
}

// Breaks of so many milliseconds, one every two seconds.
One broken(const One& one, double milliseconds) {
    return [=](qint64 frame) {
        const double seconds = at(frame);
        return std::fmod(seconds, 2.0) >= 1.0 && std::fmod(seconds, 2.0) < 1.0 + milliseconds / 1000 ? 0.0 : one(frame);
    };
}

StereoSignal pair(const One& left, const One& right) {
    return [=](qint64 frame) { return StereoFrame{float(left(frame)), float(right(frame))}; };
}

StereoSignal same(const One& one) { return pair(one, one); }

constexpr Trust kSure = Trust::sure;
constexpr Trust kLikely = Trust::likely;
constexpr Trust kUnsure = Trust::unsure;

std::vector<Situation> oneSignal() {
    const One music = noise(1);
    const One talk = voice(1);
    return {
        {"dual mono, music", "dual mono", Class::dualMono, kSure, true, true, "", 20, same(music)},
        {"dual mono, a talker with pauses", "dual mono", Class::dualMono, kSure, true, true, "", 20, same(talk)},
        {"dual mono, each channel rounded to 16 bit by itself", "dual mono", Class::dualMono, kSure, true, true, "", 20,
         pair(rounded16(talk, 2), rounded16(talk, 3))},
        {"dual mono, through two preamplifiers", "dual mono", Class::dualMono, kSure, true, true, "", 20,
         pair(plus(music, noise(2, 0.0001)), plus(music, noise(3, 0.0001)))},
        {"dual mono, 1 dB apart", "dual mono", Class::dualMono, kSure, true, true, "", 20,
         pair(music, times(music, 0.891))},
        {"dual mono, DC on the left", "dual mono", Class::dualMono, kSure, true, true,
         "Left channel has a DC offset of 0.0", 20, pair(plus(music, constant(0.02)), music)},
        {"dual mono at -60 dBFS", "dual mono", Class::dualMono, kSure, true, true, "", 20, same(times(music, 0.0035))},
        {"dual mono with digital silence between the takes", "dual mono", Class::dualMono, kSure, true, true, "", 30,
         same(between(8, 20, nothing(),
                      [=](qint64 f) { return music(f) * std::min(1.0, std::abs(at(f) - (at(f) < 14 ? 8 : 20))); }))},
        {"dual mono of 70 seconds", "dual mono", Class::dualMono, kSure, true, true, "", 70, same(talk)},
        {"polarity inverted", "broken", Class::broken, kSure, true, true, "Same signal with inverted polarity", 20,
         pair(music, times(music, -1))},
        {"polarity inverted, a talker with pauses", "broken", Class::broken, kSure, true, true, "", 20,
         pair(talk, times(talk, -1))},
        {"gain mismatch of 3 dB", "gain mismatch", Class::dualMonoGainMismatch, kSure, true, true, "", 20,
         pair(music, times(music, 0.708))},
        {"gain mismatch of 6 dB, the left one lower", "gain mismatch", Class::dualMonoGainMismatch, kSure, true, true,
         "", 20, pair(times(talk, 0.5), talk)},
    };
}

std::vector<Situation> nearlyOneSignal() {
    const One music = noise(1);
    const One other = noise(2);
    const One talk = voice(1);
    return {
        {"31 of 60 seconds mono, then stereo music", "stereo that begins as mono", Class::dualMono, kUnsure, false,
         false, "Looks dual mono, but differs by", 60, pair(music, between(0, 31, music, related(music, other, 0.3)))},
        {"dual mono with something else for five seconds", "not dual mono", Class::dualMono, kUnsure, false, false,
         "Looks dual mono, but differs by -24 dB at 0:31-0:36", 60,
         pair(music, between(31, 36, plus(music, times(other, 0.063)), music))},
        {"right channel dead for the last 40 %", "dual mono until 0:36", Class::dualMono, kUnsure, false, false,
         "Right channel silent from 0:36", 60, pair(music, between(36, 60, nothing(), music))},
        {"left channel dead for the first 30 %", "dual mono from 0:18", Class::dualMono, kUnsure, false, false,
         "Left channel silent at 0:00-0:18", 60, pair(between(0, 18, nothing(), music), music)},
        {"right channel dead for a while", "dual mono with a hole", Class::dualMono, kUnsure, false, false,
         "Right channel silent at 0:20-0:30", 60, pair(music, between(20, 30, nothing(), music))},
        {"right channel falls to noise", "dual mono until 0:40", Class::dualMono, kUnsure, false, false,
         "Right channel silent from 0:40", 60, pair(music, between(40, 60, noise(3, 0.0002), music))},
        {"a fader moved by 6 dB", "dual mono with a level that changes", Class::dualMono, kUnsure, false, false,
         "The balance of the channels moves by 6.0 dB, most at 0:", 60,
         pair(music, between(40, 60, times(music, 0.5), music))},
        {"dropouts on the right", "one channel is damaged", Class::dualMono, kUnsure, false, false,
         "Right channel drops out (10 times, longest 5 ms", 20, pair(music, broken(music, 5))},
        {"dropouts on the left", "one channel is damaged", Class::dualMono, kUnsure, false, false,
         "Left channel drops out (10 times, longest 8 ms", 20, pair(broken(music, 8), music)},
        {"one rumble in both channels, quiet stereo above", "quiet stereo", Class::dualMono, kUnsure, false, false,
         "Looks dual mono, but differs by", 20,
         pair(plus(tone(40, 0.5), noise(1, 0.01)), plus(tone(40, 0.5), noise(2, 0.01)))},
        {"polarity inverted, 2 dB apart", "broken", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Same signal, inverted and 2.0 dB lower on the right", 20, pair(music, times(music, -0.794))},
        {"polarity inverted for two thirds", "broken for two thirds", Class::broken, kUnsure, false, false, "", 60,
         pair(music, between(40, 60, music, times(music, -1)))},
        {"safety track of -12 dB", "a safety track", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Same signal 12 dB lower on the right: a safety track or a gain mismatch", 20,
         pair(talk, times(talk, 0.2512))},
        {"safety track of -20 dB", "a safety track", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Same signal 20 dB lower on the right", 20, pair(talk, times(talk, 0.1))},
        {"safety track, named so", "a safety track", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Two levels of one microphone by their names (Boom, Boom_D)", 20, pair(talk, times(talk, 0.5)), "Boom",
         "Boom_D"},
        {"a backup track", "a backup", Class::dualMono, kUnsure, false, false,
         "A track and its backup by their names (Boom, BU1)", 20, same(talk), "Boom", "BU1"},
        {"crosstalk at -40 dB", "one-sided", Class::trueStereo, kUnsure, false, false,
         "Same signal 40 dB lower on the right: crosstalk", 20, pair(music, times(music, 0.01))},
        {"crosstalk at -34 dB, inverted", "one-sided", Class::broken, kUnsure, false, false, "crosstalk", 20,
         pair(music, times(music, -0.02))},
        {"an effect of 0.6 seconds in both channels", "dual mono", Class::trueStereo, kUnsure, false, false,
         "Both channels hold the same signal", 0.6, same(music)},
        {"an effect of 0.3 seconds, one channel inverted", "broken", Class::trueStereo, kUnsure, false, false,
         "Both channels hold the same signal, one inverted", 0.3, pair(music, times(music, -1))},
        {"the same, 1.25 ms later on the right", "one signal, delayed", Class::trueStereo, kUnsure, false, false,
         "Same signal 1.25 ms later on the right: spaced pair or delay", 20, pair(music, late(music, 10))},
        {"the same, 3 ms later on the left", "one signal, delayed", Class::trueStereo, kUnsure, false, false,
         "Same signal 3.00 ms later on the left: spaced pair or delay", 20, pair(late(talk, 24), talk)},
        {"the same, inverted, 2 ms later on the right", "one signal, delayed", Class::trueStereo, kUnsure, false, false,
         "Same signal, inverted, 2.00 ms later on the right", 20, pair(music, times(late(music, 16), -1))},
    };
}

std::vector<Situation> stereo() {
    const One music = noise(1);
    const One other = noise(2);
    const One talk = voice(1);
    const One answer = [](qint64 frame) { return voice(7)(frame); };
    return {
        {"wide ambience", "stereo", Class::trueStereo, kSure, true, true, "", 20, pair(music, other)},
        {"stereo music", "stereo", Class::trueStereo, kSure, true, true, "", 20,
         pair(music, related(music, other, 0.6))},
        {"narrow stereo music", "stereo", Class::trueStereo, kSure, true, true, "", 20,
         pair(music, related(music, other, 0.85))},
        {"a talker in a wide room", "stereo", Class::trueStereo, kSure, true, true, "", 20,
         pair(plus(times(talk, 0.5), noise(3, 0.08)), plus(times(talk, 0.5), noise(4, 0.08)))},
        {"stereo music, the right one 4 dB lower", "stereo", Class::trueStereo, kSure, true, true, "", 20,
         pair(music, times(related(music, other, 0.5), 0.63))},
        {"a stereo effect of 0.6 seconds", "stereo", Class::trueStereo, kLikely, true, true, "Shorter than a second",
         0.6, pair(music, other)},
        {"a stereo mix, named so", "stereo", Class::trueStereo, kSure, true, true,
         "A stereo mix by its names (MixL, MixR)", 20, pair(music, related(music, other, 0.6)), "MixL", "MixR"},
        {"a spaced pair, 2 ms", "stereo", Class::trueStereo, kLikely, true, true, "2.00 ms later on the right", 20,
         pair(music, related(late(music, 16), other, 0.7))},
        {"stereo music, mono for a third", "stereo", Class::trueStereo, kLikely, true, true, "Nearly mono for 3", 60,
         pair(music, between(0, 20, music, related(music, other, 0.5)))},
        {"stereo with a rumble that opposes", "stereo", Class::broken, kUnsure, false, false,
         "Opposite only below 60 Hz", 20,
         pair(plus(times(music, 0.3), tone(43, 0.5)), plus(times(related(music, other, 0.5), 0.3), tone(43, -0.5)))},
        {"stereo with a rumble of 70 Hz that opposes", "stereo", Class::broken, kUnsure, false, false,
         "Opposite only below 80 Hz", 20,
         pair(plus(times(music, 0.3), tone(70, 0.4)), plus(times(related(music, other, 0.6), 0.3), tone(70, -0.4)))},
        {"a rumble alone that opposes", "hard to say", Class::broken, kUnsure, false, false,
         "Holds nothing above 120 Hz", 20, pair(tone(50, 0.5), tone(50, -0.5))},
        {"a widened effect, half opposite", "an effect", Class::broken, kUnsure, false, false,
         "Opposite, but not one signal", 20, pair(music, related(music, other, -0.5))},
        {"nearly opposite, with a room", "hard to say", Class::nearMono, kUnsure, false, false,
         "The channels oppose each other (correlation -0.97)", 20, pair(music, related(music, other, -0.97))},
        {"stereo, the right channel dead from half on", "stereo until 0:30", Class::trueStereo, kUnsure, false, false,
         "Right channel silent from 0:30", 60, pair(music, between(30, 60, nothing(), related(music, other, 0.5)))},
        {"near mono", "near mono", Class::nearMono, kSure, true, true, "", 20,
         pair(music, related(music, other, 0.975))},
        {"near mono, a talker with pauses", "near mono", Class::nearMono, kSure, true, true, "", 20,
         pair(talk, related(talk, voice(2), 0.985))},
        {"near mono that opens up", "stereo in part", Class::nearMono, kLikely, false, false, "Correlation falls to",
         60, pair(music, between(40, 60, related(music, other, 0.3), related(music, other, 0.98)))},
        {"two talkers on two microphones", "two microphones", Class::trueStereo, kLikely, false, true,
         "The sound moves between the channels", 40,
         pair([=](qint64 f) { return qint64(at(f) / 5) % 2 == 0 ? talk(f) : noiseAt(9, f) * 0.004; },
              [=](qint64 f) { return qint64(at(f) / 5) % 2 == 1 ? answer(f) : noiseAt(8, f) * 0.004; })},
        {"boom and lavalier, named so", "two microphones", Class::trueStereo, kLikely, false, true,
         "Two microphones by their names (Boom, Lav 1)", 20, pair(talk, plus(noise(3, 0.02), times(voice(5), 0.4))),
         "Boom", "Lav 1"},
    };
}

std::vector<Situation> midSideAndOneSided() {
    const One music = noise(1);
    const One talk = voice(1);
    const One third = [=](qint64 f) {
        return (std::fmod(at(f), 10) < 6 ? 0.4 : -0.4) * talk(f) + 0.002 * noiseAt(5, f);
    };
    return {
        {"M/S of a talker off axis", "M/S", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Looks like M/S or a second microphone", 20,
         pair(talk, plus(times(talk, 0.3), times(late(talk, 400), 0.008)))},
        {"M/S of two talkers", "M/S", Class::trueStereo, kUnsure, false, false, "Looks like M/S", 40,
         pair(talk, third)},
        {"M/S, named so", "M/S", Class::dualMonoGainMismatch, kUnsure, false, false,
         "M/S by its names (Amb Mid, Amb Side)", 20, pair(talk, times(talk, 0.5)), "Amb Mid", "Amb Side"},
        {"M/S in front, named so", "M/S", Class::oneSidedL, kUnsure, false, false, "M/S by its names (M, S)", 20,
         pair(talk, noise(6, 0.0002)), "M", "S"},
        {"W and X of a sound field", "a part of a sound field", Class::dualMonoGainMismatch, kUnsure, false, false,
         "Ambisonic by its names (W, X)", 20, pair(talk, times(talk, 0.7)), "W", "X"},
        {"one-sided, left alone", "one-sided", Class::oneSidedL, kSure, true, true, "", 20, pair(talk, nothing())},
        {"one-sided, right alone over a noise of -75 dBFS", "one-sided", Class::oneSidedR, kSure, true, true, "", 20,
         pair(noise(3, 0.0003), music)},
        {"one-sided but for half a second", "not one-sided", Class::oneSidedL, kUnsure, false, false,
         "Right channel holds sound of -43 dB FS at 0:30", 60,
         pair(music, between(30, 30.5, noise(4, 0.0125), nothing()))},
        {"one-sided, a click on the right", "one-sided", Class::oneSidedL, kLikely, true, true, "a click at least", 60,
         pair(music, [](qint64 f) { return f == 200'000 ? 0.1 : 0.0; })},
        {"digital silence", "silent", Class::silent, kSure, true, true, "", 20, pair(nothing(), nothing())},
        {"noise of -110 dBFS", "silent", Class::silent, kSure, true, true, "", 20,
         pair(noise(1, 0.000005), noise(2, 0.000005))},
        {"silence with a click", "not silent", Class::silent, kUnsure, false, false,
         "Left channel is not silent at 0:25", 60,
         pair([](qint64 f) { return f == 200'000 ? 0.005 : 0.0; }, nothing())},
        {"a mono file", "mono", Class::trueMono, kSure, true, true, "", 5, same(music), "", "", true},
    };
}

} // namespace

const std::vector<Situation>& situations() {
    static const std::vector<Situation> all = [] {
        std::vector<Situation> result;
        for (const auto& group : {oneSignal(), nearlyOneSignal(), stereo(), midSideAndOneSided()}) {
            result.insert(result.end(), group.begin(), group.end());
        }
        return result;
    }();
    return all;
}

QString writeSituation(const Situation& situation, const QString& folder) {
    const QString path = paths::append(folder, QStringLiteral("situation.wav"));
    const auto sample = [&](int channel, qint64 frame) {
        const StereoFrame both = situation.signal(frame);
        return channel == 0 ? both.left : both.right;
    };
    writeSound(path, situation.isMono ? 1 : 2, std::lround(situation.seconds * kRate), sample, kRate,
               SampleFormat::float32);
    if (*situation.leftName) {
        const QString track =
            QStringLiteral("<TRACK><CHANNEL_INDEX>%1</CHANNEL_INDEX><INTERLEAVE_INDEX>%1</INTERLEAVE_INDEX>"
                           "<NAME>%2</NAME></TRACK>");
        const QString document =
            QStringLiteral(
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><TRACK_LIST><TRACK_COUNT>2</TRACK_COUNT>%1%2"
                "</TRACK_LIST></BWFXML>")
                .arg(track.arg(1).arg(QLatin1String(situation.leftName)),
                     track.arg(2).arg(QLatin1String(situation.rightName)));
        setChunk(path, "iXML", document.toUtf8(), ' ');
    }
    return path;
}

} // namespace ostrel::testing
