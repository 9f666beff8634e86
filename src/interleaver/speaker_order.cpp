#include "interleaver/speaker_order.h"

#include "interleaver/interleave_command.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <bit>
#include <map>

namespace ostrel {
namespace {

// The channel mask of a WAV file, 0 where it names no speakers; nothing for other files, which have ways of their own.
std::optional<std::uint32_t> speakersOf(const QString& path) {
    const auto layout = readWaveLayout(QFile::encodeName(path).toStdString());
    if (!layout || !layout->format) return std::nullopt;
    return layout->format->speakers;
}

// The speakers that a tag may stand for, as bits of a channel mask (WAVEFORMATEXTENSIBLE). A pair of surrounds may be
// told as the rear one or the side one.
quint32 speakersNamed(const QString& tag) {
    static const std::map<QString, quint32> speakers{
        {QStringLiteral("L"), 0x1},    {QStringLiteral("R"), 0x2},           {QStringLiteral("C"), 0x4},
        {QStringLiteral("LFE"), 0x8},  {QStringLiteral("Ls"), 0x10 | 0x200}, {QStringLiteral("Rs"), 0x20 | 0x400},
        {QStringLiteral("Lsr"), 0x10}, {QStringLiteral("Rsr"), 0x20},        {QStringLiteral("Lss"), 0x200},
        {QStringLiteral("Rss"), 0x400}};
    const auto found = speakers.find(tag);
    return found == speakers.end() ? 0 : found->second;
}

} // namespace

QStringList channelOrder(const MultiChannelSource& source, bool isDirect) {
    if (!isDirect) return ffmpegLayoutOf(source.layout).tags;
    const QStringList& tags = source.layout.channelTags;
    const quint32 mask = speakersOf(source.sourceURL).value_or(0);
    QStringList inFile;
    for (quint32 speaker = 1; speaker != 0; speaker <<= 1) {
        for (const QString& tag : tags) {
            if (mask & speaker & speakersNamed(tag)) inFile << tag;
        }
    }
    const bool isWholeLayout = std::popcount(mask) == tags.size() && inFile.size() == tags.size();
    return isWholeLayout ? inFile : tags;
}

bool mayReorder(const QStringList& monoFiles) {
    constexpr std::uint32_t kCentre = 0x4;
    return std::ranges::any_of(monoFiles, [](const QString& file) {
        const auto speakers = speakersOf(file);
        return !speakers || (*speakers != 0 && *speakers != kCentre);
    });
}

bool mayRemix(const MultiChannelSource& source) {
    // None, stereo, 5.1 with rear or side speakers, 7.1.
    constexpr std::array<std::uint32_t, 5> kInOrder{0, 0x3, 0x3F, 0x60F, 0x63F};
    const auto speakers = speakersOf(source.sourceURL);
    return source.layout == ChannelLayout::film71 || !speakers || !std::ranges::count(kInOrder, *speakers);
}

} // namespace ostrel
