#include "interleaver/channel_comparison.h"

#include "metadata/asset_descriptor.h"
#include "platform/audio_file.h"
#include "platform/paths.h"

#include <cmath>

namespace ostrel {
namespace {

constexpr int kBlockFrames = 2048;
constexpr int kBlocks = 5;

// Less than the step of a 32-bit sample, more than what a float sample moves by on its way through 32-bit integers.
constexpr double kTolerance = 3e-10;

bool isLossy(const QString& file) {
    const ContainerKind kind = AssetDescriptorBuilder::quickClassify(file).containerKind;
    return kind == ContainerKind::mp3 || kind == ContainerKind::ogg || kind == ContainerKind::mp4;
}

// A block of both files at one position; true if the channel of one is the other.
bool sameBlock(AudioFile& multichannel, int channel, AudioFile& mono, qint64 position) {
    std::vector<double> whole;
    std::vector<double> part;
    multichannel.seek(position);
    mono.seek(position);
    const int frames = std::min(multichannel.readExact(whole, kBlockFrames), mono.readExact(part, kBlockFrames));
    const auto channels = static_cast<std::size_t>(multichannel.channelCount());
    const auto step = static_cast<std::size_t>(mono.channelCount());
    for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
        if (!(std::abs(whole[i * channels + static_cast<std::size_t>(channel)] - part[i * step]) <= kTolerance)) {
            return false;
        }
    }
    return true;
}

bool channelDiffers(AudioFile& multichannel, int channel, AudioFile& mono) {
    const qint64 length = std::min(multichannel.lengthInFrames(), mono.lengthInFrames());
    for (int block = 0; block < kBlocks; ++block) {
        const qint64 position = std::max<qint64>(0, length - kBlockFrames) * block / (kBlocks - 1);
        if (!sameBlock(multichannel, channel, mono, position)) return true;
    }
    return false;
}

} // namespace

QStringList differingChannels(const QStringList& monoFiles, const QString& multichannelFile) {
    QStringList result;
    try {
        if (isLossy(multichannelFile)) return result;
        AudioFile multichannel(multichannelFile);
        for (int channel = 0; channel < std::min<int>(multichannel.channelCount(), static_cast<int>(monoFiles.size()));
             ++channel) {
            const QString& file = monoFiles[channel];
            if (file.isEmpty() || isLossy(file)) continue;
            AudioFile mono(file);
            if (channelDiffers(multichannel, channel, mono)) result << paths::lastComponent(file);
        }
    } catch (const AudioFileError&) {
        return {}; // a file that only ffmpeg can decode: the comparison is an extra and says nothing then
    }
    return result;
}

} // namespace ostrel
