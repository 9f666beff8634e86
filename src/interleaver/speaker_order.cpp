#include "interleaver/speaker_order.h"

#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>
#include <array>

namespace ostrel {
namespace {

// The channel mask of a WAV file, 0 where it names no speakers; nothing for other files, which have ways of their own.
std::optional<std::uint32_t> speakersOf(const QString& path) {
    const auto layout = readWaveLayout(QFile::encodeName(path).toStdString());
    if (!layout || !layout->format) return std::nullopt;
    return layout->format->speakers;
}

} // namespace

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
