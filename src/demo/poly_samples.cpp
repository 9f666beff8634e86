// Polys of 4, 8 and 16 tracks, loose ISOs of three takes, and a pile that takes every way of grouping.
#include "demo/samples.h"

#include <QByteArray>
#include <QList>
#include <cmath>

namespace ostrel {
namespace {

struct Take {
    QByteArray scene; // empty: not told
    QByteArray take;
    quint64 timestamp = 0; // samples since midnight at 48 kHz; 0: not told
};

double pitchOf(int channel) { return 220.0 * std::pow(2.0, channel / 12.0); }

QByteArray element(const QByteArray& tag, const QByteArray& text) { return "<" + tag + ">" + text + "</" + tag + ">"; }

QByteArray speedElement(quint64 timestamp) {
    return element("SPEED",
                   element("TIMECODE_RATE", "25/1") + element("TIMECODE_FLAG", "NDF") +
                       element("TIMESTAMP_SAMPLE_RATE", "48000") +
                       element("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", QByteArray::number(timestamp >> 32)) +
                       element("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", QByteArray::number(timestamp & 0xFFFFFFFFU)));
}

// `firstChannel` is the recorder's number of the first track.
QByteArray ixml(const Take& take, const QList<QByteArray>& tracks, int firstChannel) {
    QByteArray list = element("TRACK_COUNT", QByteArray::number(tracks.size()));
    for (qsizetype i = 0; i < tracks.size(); ++i) {
        list += "\n    " + element("TRACK", element("CHANNEL_INDEX", QByteArray::number(firstChannel + i)) +
                                                element("INTERLEAVE_INDEX", QByteArray::number(i + 1)) +
                                                element("NAME", tracks[i]));
    }
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n  <IXML_VERSION>1.5</IXML_VERSION>\n  "
                     "<PROJECT>Demo</PROJECT>\n";
    if (!take.scene.isEmpty()) xml += "  " + element("SCENE", take.scene) + element("TAKE", take.take) + "\n";
    xml += "  " + element("TAPE", "26Y03M14") + "\n  " + element("FILE_UID", "DEMO" + take.scene + take.take) +
           element("FAMILY_UID", "DEMOFAMILY" + take.scene + take.take) + "\n";
    if (take.timestamp > 0) xml += "  " + speedElement(take.timestamp) + "\n";
    return xml + "  " + element("TRACK_LIST", list) + "\n</BWFXML>\n";
}

DemoWave tones(int firstChannel, qsizetype channels) {
    DemoWave wave;
    for (int i = 0; i < channels; ++i) wave.channels.push_back(tone(pitchOf(firstChannel + i)));
    return wave;
}

void writePoly(const SampleWriter& writer, const QString& name, const Take& take, const QList<QByteArray>& tracks) {
    DemoWave wave = tones(0, tracks.size());
    QByteArray description = "sSCENE=" + take.scene + "\r\nsTAKE=" + take.take + "\r\n";
    for (qsizetype i = 0; i < tracks.size() && i < 8; ++i) {
        description += "sTRK" + QByteArray::number(i + 1) + "=" + tracks[i] + "\r\n";
    }
    wave.before.emplace_back("bext", demoBext(description, "Ostrel demo", take.timestamp));
    wave.before.emplace_back("iXML", ixml(take, tracks, 1));
    wave.after.emplace_back("SMED", "Ostrel demo library entry " + take.scene);
    writer.write(QStringLiteral("polys/") + name, wave);
}

QList<QByteArray> numbered(const char* name, int count) {
    QList<QByteArray> names;
    for (int i = 1; i <= count; ++i) names << QByteArray(name) + ' ' + QByteArray::number(i);
    return names;
}

void writePolys(const SampleWriter& writer) {
    writePoly(writer, QStringLiteral("12AT3.wav"), {"12A", "3", 1'728'000'000},
              {"Boom", "Lav Ann", "Lav Ben", "Plant"});
    writePoly(writer, QStringLiteral("7C-T01.wav"), {"7C", "01", 1'900'800'000},
              QList<QByteArray>{"MixL", "MixR", "Boom"} + numbered("Lav", 5));
    writePoly(writer, QStringLiteral("Concert-T02.wav"), {"Concert", "02", 3'456'000'000},
              QList<QByteArray>{"MixL", "MixR", "Room L", "Room R"} + numbered("Spot", 12));
}

// One mono file with its own pitch and, where a take is given, an iXML of its one track.
void writeISO(const SampleWriter& writer, const QString& path, int channel, const Take* take, const QByteArray& track,
              double seconds = 2) {
    DemoWave wave = tones(channel, 1);
    wave.seconds = seconds;
    if (take) wave.before.emplace_back("iXML", ixml(*take, {track}, channel + 1));
    writer.write(path, wave);
}

void writeISOs(const SampleWriter& writer) {
    const QList<QByteArray> tracks{"MixL", "MixR", "Boom", "Lav1"};
    const Take first{"14A", "1", 1'555'200'000};
    for (int i = 0; i < tracks.size(); ++i) {
        const QString track = QString::fromLatin1(tracks[i]);
        // Take 1 is told by iXML, take 2 by the recorder's lines in the BEXT, take 3 by the names alone.
        writeISO(writer, QStringLiteral("isos/14A-T1_%1.wav").arg(track), i, &first, tracks[i]);
        DemoWave second = tones(i, 1);
        second.before.emplace_back(
            "bext", demoBext("sSCENE=14A\r\nsTAKE=2\r\nsTRK1=" + tracks[i] + "\r\n", "Ostrel demo", 1'569'600'000));
        writer.write(QStringLiteral("isos/14A-T2_%1.wav").arg(track), second);
        writeISO(writer, QStringLiteral("isos/14A-T3_%1.wav").arg(track), i, nullptr, {});
    }
}

// Names that tell nothing, unless they are what is told.
void writePile(const SampleWriter& writer) {
    const Take told{"21", "5", 0};
    writeISO(writer, QStringLiteral("pile/ZOOM0001_Tr1.wav"), 0, &told, "Boom");
    writeISO(writer, QStringLiteral("pile/ZOOM0001_Tr2.wav"), 1, &told, "Lav");
    writeISO(writer, QStringLiteral("pile/22BT1_Boom.wav"), 2, nullptr, {});
    writeISO(writer, QStringLiteral("pile/22BT1_Lav.wav"), 3, nullptr, {});
    const Take timed{{}, {}, 2'000'160'000};
    writeISO(writer, QStringLiteral("pile/A0001.wav"), 4, &timed, "Left", 1.5);
    writeISO(writer, QStringLiteral("pile/B0001.wav"), 5, &timed, "Right", 1.5);
    writeISO(writer, QStringLiteral("pile/memo one.wav"), 6, nullptr, {}, 2.5);
    writeISO(writer, QStringLiteral("pile/memo two.wav"), 7, nullptr, {}, 2.5);
    writeISO(writer, QStringLiteral("pile/room tone.wav"), 8, nullptr, {}, 4);
}

} // namespace

void writePolySamples(const SampleWriter& writer) {
    writePolys(writer);
    writeISOs(writer);
    writePile(writer);
}

} // namespace ostrel
