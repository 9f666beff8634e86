#include "demo/samples.h"
#include "foundation/records/channel_layout.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

// A pitch for every channel tag, so that an ear tells a swap.
double pitchOf(const QString& tag) {
    static const QStringList tags = QStringLiteral("L R C LFE Ls Rs Lss Rss Lsr Rsr").split(u' ');
    static constexpr double pitches[] = {440, 554.37, 659.26, 55, 349.23, 415.30, 293.66, 311.13, 246.94, 261.63};
    return pitches[tags.indexOf(tag)];
}

DemoWave waveOf(const QStringList& tags) {
    DemoWave wave;
    for (const QString& tag : tags) wave.channels.push_back(tone(pitchOf(tag)));
    return wave;
}

void writePair(const SampleWriter& writer, const QString& left, const QString& right, const DemoWave& style = {}) {
    for (const auto& [name, tag] : {std::pair(left, QStringLiteral("L")), std::pair(right, QStringLiteral("R"))}) {
        DemoWave wave = style;
        wave.channels = waveOf({tag}).channels;
        writer.write(QStringLiteral("pairs/") + name, wave);
    }
}

// As a field recorder writes it: BEXT ahead of the audio, iXML and a library's own chunk.
DemoWave recorderStyle() {
    DemoWave style;
    style.before.emplace_back("bext",
                              demoBext("sSCENE=12A\r\nsTAKE=03\r\nsTAPE=26Y03M14\r\nsNOTE=Rain on a tin roof\r\n",
                                       "Ostrel demo", 1632000000));
    style.before.emplace_back("iXML",
                              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><IXML_VERSION>1.5</IXML_VERSION>"
                              "<PROJECT>Demo</PROJECT><SCENE>12A</SCENE><TAKE>03</TAKE></BWFXML>");
    style.after.emplace_back("SMED", "Ostrel demo library entry 1");
    return style;
}

void writePairs(const SampleWriter& writer) {
    writePair(writer, QStringLiteral("Rain Roof.L.wav"), QStringLiteral("Rain Roof.R.wav"), recorderStyle());
    writePair(writer, QStringLiteral("Street_L.wav"), QStringLiteral("Street_R.wav"));
    writePair(writer, QStringLiteral("Forest-L.wav"), QStringLiteral("Forest-R.wav"));
    writePair(writer, QStringLiteral("Harbour L.wav"), QStringLiteral("Harbour R.wav"));
    writePair(writer, QStringLiteral("Night/Street_L.wav"), QStringLiteral("Night/Street_R.wav"));
    DemoWave other;
    other.channels = {tone(pitchOf(QStringLiteral("R")))};
    other.sampleRate = 44100;
    writer.write(QStringLiteral("pairs/Wrong Rate.R.wav"), other);
    writer.write(QStringLiteral("pairs/Wrong Rate.L.wav"), waveOf({QStringLiteral("L")}));
    other = waveOf({QStringLiteral("R")});
    other.seconds = 2.5;
    writer.write(QStringLiteral("pairs/Wrong Length.R.wav"), other);
    writer.write(QStringLiteral("pairs/Wrong Length.L.wav"), waveOf({QStringLiteral("L")}));
    writer.write(QStringLiteral("pairs/Alone.L.wav"), waveOf({QStringLiteral("L")}));
}

} // namespace

void SampleWriter::write(const QString& relativePath, const DemoWave& wave) const {
    if (takes && !takes(relativePath)) return;
    const QString path = paths::append(folder, relativePath);
    writeDemoWave(path, wave);
    onWritten(path);
}

void writeInterleaverSamples(const SampleWriter& writer) {
    writePairs(writer);
    const auto writeSet = [&](const char16_t* base, const QStringList& tags) {
        for (const QString& tag : tags) {
            writer.write(QStringLiteral("%1.%2.wav").arg(QString::fromUtf16(base), tag), waveOf({tag}));
        }
    };
    writeSet(u"surround-5.1/Square", ChannelLayout::film51.channelTags);
    writeSet(u"surround-7.1/Station", ChannelLayout::film71.channelTags);
    writeSet(u"surround-incomplete/Bridge",
             {QStringLiteral("L"), QStringLiteral("C"), QStringLiteral("R"), QStringLiteral("LFE")});
    for (const ChannelLayout& layout : ChannelLayout::allLayouts()) {
        writer.write(QStringLiteral("interleaved/Crowd %1.wav").arg(layout.id), waveOf(layout.channelTags));
    }
}

} // namespace ostrel
