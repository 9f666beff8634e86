#include "roads/direct_road.h"

#include "platform/paths.h"
#include "platform/text/text.h"
#include "roads/head_chunks.h"
#include "wave/wave_head.h"

#include <QFile>
#include <algorithm>
#include <limits>
#include <mutex>

namespace ostrel {
namespace {

constexpr int kWidestSample = 8;                   // bytes
constexpr std::size_t kMostBytesOfAFrame = 0xFFFF; // that a fmt chunk can tell

std::string nativePath(const QString& path) { return QFile::encodeName(path).toStdString(); }

int validBitsOf(const WaveFormat& format) { return format.validBits != 0 ? format.validBits : format.bits; }

bool isSameEncoding(const WaveFormat& a, const WaveFormat& b) {
    return a.tag == b.tag && a.bytesPerSample() == b.bytesPerSample() && a.bits == b.bits &&
           validBitsOf(a) == validBitsOf(b) && a.sampleRate == b.sampleRate;
}

// A size that was never filled in, and nothing that tells the true one: what follows may be chunks as well as audio.
bool tellsItsLength(const WaveLayout& layout) {
    if (layout.kind != WaveLayout::Kind::riff) return layout.hasLongSizes;
    return layout.isStreamed || layout.data->size != kUnknownSize;
}

// Tells of each percent once, from one thread at a time.
class Steps {
public:
    explicit Steps(const std::function<void(double)>& tell) : tell_(tell) {}
    void reach(double share) {
        if (!tell_) return;
        const std::scoped_lock lock(mutex_);
        if (share - told_ < 0.01) return;
        told_ = share;
        tell_(share);
    }

private:
    const std::function<void(double)>& tell_;
    std::mutex mutex_;
    double told_ = 0;
};

} // namespace

DirectRoad::DirectRoad(const QStringList& sources, int channels) : sources_(sources) {
    sources_.removeDuplicates();
    for (const QString& file : sources_) layouts_[file] = readWaveLayout(nativePath(file));
    for (const QString& file : sources_) {
        if (objection_.isEmpty()) objection_ = refusalOf(file, channels);
    }
}

const WaveLayout& DirectRoad::layoutOf(const QString& file) const {
    const auto found = layouts_.find(file);
    if (found == layouts_.end() || !found->second)
        throw RoadError(paths::lastComponent(file) + QStringLiteral(" is no source of this job"));
    return *found->second;
}

QString DirectRoad::refusalOf(const QString& file, int channels) const {
    const std::optional<WaveLayout>& layout = layouts_.at(file);
    const QString name = paths::lastComponent(file);
    if (!layout || !layout->format || !layout->data) return QStringLiteral("%1 is no WAV file").arg(name);
    const WaveFormat& format = *layout->format;
    const bool isLinear = format.tag == WaveFormat::pcm || format.tag == WaveFormat::ieeeFloat;
    const int width = format.bytesPerSample();
    if (!isLinear || width < 1 || width > kWidestSample || format.sampleRate == 0) {
        return QStringLiteral("%1 does not hold plain integers or floats").arg(name);
    }
    if (format.channels != channels) {
        return QStringLiteral("%1 has %2 %3, not %4")
            .arg(name)
            .arg(format.channels)
            .arg(plural("channel", format.channels))
            .arg(channels);
    }
    if (!tellsItsLength(*layout)) return QStringLiteral("the header of %1 does not say how long it is").arg(name);
    if (layout->sizesDisagree) return QStringLiteral("the header of %1 contradicts itself").arg(name);
    if (!isSameEncoding(format, *layoutOf(sources_.first()).format)) {
        return QStringLiteral("%1 differs from %2 in its sample format")
            .arg(name, paths::lastComponent(sources_.first()));
    }
    return {};
}

WaveFormat DirectRoad::formatOf(const PlannedOutput& output) const {
    const WaveFormat& first = *layoutOf(output.channels.front().file).format;
    WaveFormat format = first;
    format.channels = static_cast<std::uint16_t>(output.channels.size());
    format.blockAlign =
        static_cast<std::uint16_t>(output.channels.size() * static_cast<std::size_t>(first.bytesPerSample()));
    const bool hasValidBits = first.validBits != 0 && first.validBits != first.bits;
    format.isExtensible = hasValidBits || output.channels.size() > 2;
    const std::vector<int> positions = wholeSetOf(output, first.channels);
    const bool keepsItsOrder = !positions.empty() && std::ranges::is_sorted(positions);
    format.speakers = output.head.speakers.value_or(keepsItsOrder ? first.speakers : 0);
    return format;
}

CopyTarget DirectRoad::targetOf(const PlannedOutput& output, std::uint64_t frames, QStringList& warnings) const {
    CopyTarget target{nativePath(output.file), {}, {}};
    if (output.channels.empty() || output.channels.size() * kWidestSample > kMostBytesOfAFrame) {
        throw RoadError(QStringLiteral("a file of %1 channels can't be made").arg(output.channels.size()));
    }
    for (const ChannelPlace& place : output.channels) {
        if (place.channel < 0 || place.channel >= layoutOf(place.file).format->channels) {
            throw RoadError(
                QStringLiteral("%1 has no channel %2").arg(paths::lastComponent(place.file)).arg(place.channel + 1));
        }
        target.channels.push_back(
            {static_cast<std::size_t>(sources_.indexOf(place.file)), static_cast<std::size_t>(place.channel)});
    }
    HeadChunks head = headChunksOf(output, layoutOf(output.head.source));
    for (const QString& warning : head.warnings) {
        if (!warnings.contains(warning)) warnings << warning;
    }
    const WaveFormat format = formatOf(output);
    target.head = headBytes({format, frames * format.blockAlign, std::move(head.chunks)});
    return target;
}

CopyPlan DirectRoad::planOf(const std::vector<PlannedOutput>& outputs, QStringList& warnings) const {
    CopyPlan plan;
    plan.bytesPerSample = static_cast<std::size_t>(layoutOf(sources_.first()).format->bytesPerSample());
    plan.frames = std::numeric_limits<std::uint64_t>::max();
    for (const QString& file : sources_) {
        const WaveLayout& layout = layoutOf(file);
        plan.sources.push_back({nativePath(file), layout.data->payload, layout.format->channels, layout.fileSize});
        plan.frames = std::min(plan.frames, layout.frames());
    }
    for (const PlannedOutput& output : outputs) plan.targets.push_back(targetOf(output, plan.frames, warnings));
    return plan;
}

QStringList DirectRoad::make(const std::vector<PlannedOutput>& outputs, const std::function<void(double)>& progress,
                             SourceHashes* hashes) const {
    QStringList warnings;
    const CopyPlan plan = planOf(outputs, warnings);
    Steps steps(progress);
    const auto total = static_cast<double>(std::max<std::uint64_t>(1, plan.bytesToWrite()));
    try {
        copyChannels(
            plan, [&](std::uint64_t bytes) { steps.reach(static_cast<double>(bytes) / total); },
            hashes ? &hashes->witness(plan) : nullptr);
        if (hashes) hashes->takeOver();
    } catch (const CopyError& error) {
        throw RoadError(QStringLiteral("%1: %2").arg(paths::lastComponent(QFile::decodeName(error.path.c_str())),
                                                     QString::fromUtf8(error.what())));
    }
    return warnings;
}

} // namespace ostrel
