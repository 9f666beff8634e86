#include "foundation/proof/audio_hashes.h"

#include "foundation/proof/channel_hasher.h"
#include "foundation/proof/in_turn.h"
#include "foundation/proof/md5_digest.h"
#include "foundation/proof/spare_buffers.h"
#include "platform/files/files.h"
#include "platform/parallel.h"
#include "platform/paths.h"
#include "wave/channel_copy.h"
#include "wave/copy_file.h"

#include <QFile>
#include <algorithm>
#include <numeric>

namespace ostrel {
namespace {

// Of a file that one thread goes through: stays in a second-level cache between the read and the hash. Handing pieces
// over costs threads more than that gains, so several take larger ones.
constexpr std::uint64_t kNearPieceBytes = 128 << 10;
constexpr std::uint64_t kPieceBytes = 512 << 10;

std::vector<std::size_t> allOf(std::size_t channels) {
    std::vector<std::size_t> all(channels);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

// One file on its way through both hashes.
class HashWork {
public:
    HashWork(const std::string& path, const WaveLayout& layout, const HashRequest& request)
        : file_(CopyFile::forReading(path)), begin_(layout.data->payload), size_(layout.audioBytes()) {
        file_.requireSize(layout.fileSize);
        const std::size_t width = plainSampleBytes(*layout.format);
        if (request.md5) md5_.emplace();
        if (request.channels && width > 0) {
            frameBytes_ = layout.format->blockAlign;
            const std::uint64_t wanted = request.frames ? static_cast<std::uint64_t>(*request.frames) : layout.frames();
            frames_ = std::min(layout.frames(), wanted);
            channels_.emplace(layout.format->channels, width, allOf(layout.format->channels));
        }
        if (!md5_) size_ = frames_ * frameBytes_;
        const bool isQuick = !md5_ && channels_ && channels_->count() == 1; // reading is all the work
        threads_ = isQuick ? 1 : std::min<std::size_t>(parallelWidth(), md5_ ? 3 : 4);
        const std::uint64_t piece = threads_ == 1 ? kNearPieceBytes : kPieceBytes;
        pieceBytes_ = std::max<std::uint64_t>(1, piece / frameBytes_) * frameBytes_;
    }

    AudioHashes run() {
        const std::uint64_t pieces = (size_ + pieceBytes_ - 1) / pieceBytes_;
        forEachInParallel(
            static_cast<std::size_t>(pieces),
            [this](std::size_t piece) {
                try {
                    take(piece * pieceBytes_);
                } catch (...) {
                    channelTurn_.giveUp();
                    md5Turn_.giveUp();
                    throw;
                }
            },
            threads_);
        file_.requireUnchanged();
        AudioHashes hashes{{}, {}, static_cast<qint64>(frames_)};
        if (md5_) hashes.md5 = QString::fromLatin1(md5_->result().toHex());
        for (std::size_t i = 0; channels_ && i < channels_->count(); ++i) hashes.channels << channels_->digest(i);
        return hashes;
    }

private:
    void take(std::uint64_t first) {
        SpareBuffers::Loan piece(buffers_);
        piece->resize(static_cast<std::size_t>(std::min(pieceBytes_, size_ - first)));
        file_.readAll(piece->data(), piece->size(), begin_ + first);
        if (channels_) hashChannels(first, *piece);
        if (md5_ && md5Turn_.wait(first)) {
            md5_->add(piece->data(), piece->size());
            md5Turn_.pass(first + pieceBytes_);
        }
    }

    void hashChannels(std::uint64_t first, const SpareBuffers::Buffer& piece) {
        const std::uint64_t last = std::min<std::uint64_t>(first + piece.size(), frames_ * frameBytes_);
        const std::size_t count = last > first ? static_cast<std::size_t>((last - first) / frameBytes_) : 0;
        SpareBuffers::Loan buffer(buffers_);
        if (!channels_->isOneOfOne()) {
            buffer->resize(std::max<std::size_t>(buffer->size(), piece.size()));
            channels_->takeApart(piece.data(), count, buffer->data(), 0, count);
        }
        if (!channelTurn_.wait(first)) return;
        channels_->add(channels_->isOneOfOne() ? piece.data() : buffer->data(), count);
        channelTurn_.pass(first + pieceBytes_);
    }

    const CopyFile file_;
    const std::uint64_t begin_; // of the audio
    std::uint64_t size_;        // of what is read, bytes
    std::uint64_t frames_ = 0;
    std::uint64_t frameBytes_ = 1;
    std::uint64_t pieceBytes_ = kPieceBytes;
    std::size_t threads_ = 1;
    std::optional<Md5Digest> md5_;
    std::optional<ChannelHasher> channels_;
    InTurn md5Turn_;
    InTurn channelTurn_;
    SpareBuffers buffers_;
};

} // namespace

std::size_t plainSampleBytes(const WaveFormat& format) {
    constexpr std::uint16_t kALaw = 6;
    constexpr std::uint16_t kMuLaw = 7;
    constexpr int kWidest = 8;
    const bool isPlain = format.tag == WaveFormat::pcm || format.tag == WaveFormat::ieeeFloat || format.tag == kALaw ||
                         format.tag == kMuLaw;
    const int bytes = format.bytesPerSample();
    return isPlain && bytes >= 1 && bytes <= kWidest ? static_cast<std::size_t>(bytes) : 0;
}

AudioHashes hashAudio(const QString& path, const HashRequest& request) {
    const std::string native = QFile::encodeName(path).toStdString();
    const std::optional<WaveLayout> layout = readWaveLayout(native);
    if (!layout || !layout->format || !layout->data) {
        throw FileError(QStringLiteral("%1 is no WAV file").arg(paths::lastComponent(path)));
    }
    try {
        return HashWork(native, *layout, request).run();
    } catch (const CopyError& error) {
        throw FileError(QStringLiteral("Could not read %1: %2").arg(path, QString::fromUtf8(error.what())));
    }
}

} // namespace ostrel
