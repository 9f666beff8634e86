#include "stitch/stitched_audio.h"

#include "foundation/proof/channel_hasher.h"
#include "wave/channel_copy.h"

#include <QFile>
#include <algorithm>
#include <numeric>
#include <optional>

namespace ostrel {
namespace {

constexpr quint64 kBlock = quint64{4} << 20; // bytes

using Bytes = std::vector<unsigned char>;

std::string nativePath(const QString& path) { return QFile::encodeName(path).toStdString(); }

const WaveFormat& formatOf(const Series& series) { return *series.parts.front().layout.format; }

// Bytes of 8-bit samples are unsigned, all others have their zero at 0.
unsigned char silenceOf(const WaveFormat& format) {
    return format.tag == WaveFormat::pcm && format.bytesPerSample() == 1 ? 0x80 : 0;
}

CopyFile opened(const Part& part) {
    CopyFile file = CopyFile::forReading(nativePath(part.path));
    file.requireSize(part.layout.fileSize);
    return file;
}

// The XXH128 of each channel of frames that come in order.
class Hashes {
public:
    Hashes(const WaveFormat& format, bool isWanted) {
        if (!isWanted) return;
        std::vector<std::size_t> all(format.channels);
        std::iota(all.begin(), all.end(), 0U);
        width_ = static_cast<std::size_t>(format.bytesPerSample());
        hasher_.emplace(format.channels, width_, all);
    }
    void add(const Bytes& frames, std::size_t count) {
        if (!hasher_) return;
        apart_.resize(hasher_->count() * width_ * count);
        hasher_->takeApart(frames.data(), count, apart_.data(), 0, count);
        hasher_->add(apart_.data(), count);
    }
    QStringList digests() const {
        QStringList result;
        for (std::size_t i = 0; hasher_ && i < hasher_->count(); ++i) result << hasher_->digest(i);
        return result;
    }

private:
    std::size_t width_ = 1;
    std::optional<ChannelHasher> hasher_;
    Bytes apart_;
};

// Calls with each block of the audio: its frames, and how many.
template <class Take>
void forEachBlock(const Series& series, const std::vector<Stretch>& stretches, const Take& take) {
    const WaveFormat& format = formatOf(series);
    const quint64 most = std::max<quint64>(1, kBlock / format.blockAlign);
    Bytes block;
    for (const Stretch& stretch : stretches) {
        const Part* part = stretch.part < 0 ? nullptr : &series.parts[static_cast<std::size_t>(stretch.part)];
        std::optional<CopyFile> file;
        if (part) file.emplace(opened(*part));
        for (quint64 at = 0; at < stretch.frames; at += most) {
            const quint64 count = std::min(most, stretch.frames - at);
            block.assign(count * format.blockAlign, silenceOf(format));
            if (file) {
                const quint64 from = part->layout.data->payload + (stretch.first + at) * format.blockAlign;
                file->readAll(block.data(), block.size(), from);
            }
            take(block, static_cast<std::size_t>(count));
        }
        if (file) file->requireUnchanged();
    }
}

quint64 framesOf(const std::vector<Stretch>& stretches) {
    return std::accumulate(stretches.begin(), stretches.end(), quint64{0},
                           [](quint64 sum, const Stretch& stretch) { return sum + stretch.frames; });
}

} // namespace

bool isSameOverlap(const Part& earlier, const Part& later, quint64 frames) {
    const Series left{{earlier}, {}, {}};
    const Series right{{later}, {}, {}};
    const CopyFile file = opened(later);
    quint64 at = later.layout.data->payload;
    bool isSame = true;
    Bytes other;
    forEachBlock(left, {{0, earlier.frames() - frames, frames}}, [&](const Bytes& block, std::size_t) {
        other.resize(block.size());
        if (isSame) file.readAll(other.data(), other.size(), at);
        isSame = isSame && other == block;
        at += block.size();
    });
    return isSame;
}

QStringList writeStitched(const Series& series, const std::vector<Stretch>& stretches, const std::string& head,
                          const QString& to, bool hashes, const StitchedBytes& done) {
    const quint64 audio = framesOf(stretches) * formatOf(series).blockAlign;
    const CopyFile target = CopyFile::forWriting(nativePath(to));
    target.reserve(head.size() + audio + audio % 2);
    target.cutTo(head.size() + audio + audio % 2); // the pad byte is a zero that nobody writes
    Hashes read(formatOf(series), hashes);
    quint64 at = head.size();
    forEachBlock(series, stretches, [&](const Bytes& block, std::size_t count) {
        read.add(block, count);
        target.writeAll(block.data(), block.size(), at);
        at += block.size();
        done(block.size());
    });
    target.writeAll(head.data(), head.size(), 0); // last: a file that was left half way is none
    return read.digests();
}

StitchedReading readStitched(const Series& series, const std::vector<Stretch>& stretches, const QString& file,
                             bool hashes, const StitchedBytes& done) {
    StitchedReading reading;
    const std::optional<WaveLayout> layout = readWaveLayout(nativePath(file));
    const WaveFormat& format = formatOf(series);
    const bool isSound = layout && layout->format && layout->data && !layout->sizesDisagree &&
                         layout->endsAsDeclared() && layout->format->channels == format.channels &&
                         layout->format->blockAlign == format.blockAlign &&
                         layout->format->sampleRate == format.sampleRate && layout->frames() == framesOf(stretches);
    if (!isSound) return reading;
    reading.isWhole = true;
    const CopyFile target = CopyFile::forReading(nativePath(file));
    Hashes found(format, hashes);
    quint64 at = layout->data->payload;
    Bytes back;
    forEachBlock(series, stretches, [&](const Bytes& block, std::size_t count) {
        back.resize(block.size());
        target.readAll(back.data(), back.size(), at);
        found.add(back, count);
        reading.isWhole = reading.isWhole && back == block;
        at += block.size();
        done(block.size());
    });
    reading.channels = found.digests();
    return reading;
}

} // namespace ostrel
