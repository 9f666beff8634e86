#include "foundation/proof/sample_reader.h"

#include "platform/audio/audio_file.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

using Encoding = SampleReader::Encoding;

std::optional<Encoding> rawEncoding(const WaveFormat& format) {
    const int bytes = format.bytesPerSample();
    if (format.channels == 0 || format.blockAlign == 0) return std::nullopt;
    if (format.tag == WaveFormat::pcm && bytes >= 1 && bytes <= 4) return Encoding{Encoding::Kind::integers, bytes};
    if (format.tag == WaveFormat::ieeeFloat && (bytes == 4 || bytes == 8)) {
        return Encoding{Encoding::Kind::floats, bytes};
    }
    return std::nullopt;
}

class WaveReader : public SampleReader {
public:
    WaveReader(const QString& path, int descriptor, const WaveLayout& layout, const Encoding& encoding)
        : SampleReader(path), descriptor_(descriptor), offset_(static_cast<qint64>(layout.data->payload)),
          frameBytes_(layout.format->blockAlign) {
        frames_ = static_cast<qint64>(layout.frames());
        channels_ = layout.format->channels;
        encoding_ = encoding;
        isWhole_ = layout.endsAsDeclared();
        hasOddContainer_ = (layout.format->bits + 7) / 8 != encoding.bytes;
        const auto stamp = FileStamp::of(descriptor);
        if (stamp) stamp_ = *stamp;
        ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    ~WaveReader() override { ::close(descriptor_); }
    WaveReader(const WaveReader&) = delete;
    WaveReader& operator=(const WaveReader&) = delete;

    void read(qint64 first, int count) override {
        const std::size_t wanted = static_cast<std::size_t>(count) * static_cast<std::size_t>(frameBytes_);
        buffer_.resize(wanted + 4); // samples of three bytes are looked at four bytes at a time
        const qint64 from = offset_ + first * frameBytes_;
        for (std::size_t done = 0; done < wanted;) {
            const ssize_t got = ::pread(descriptor_, buffer_.data() + done, wanted - done,
                                        static_cast<off_t>(from + static_cast<qint64>(done)));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) throw SampleReaderError(QString::fromLocal8Bit(std::strerror(errno)));
            if (got == 0) throw SampleReaderError(QStringLiteral("The file ends before its announced length"));
            done += static_cast<std::size_t>(got);
        }
    }

private:
    int descriptor_;
    qint64 offset_;
    int frameBytes_;
};

class LibraryReader : public SampleReader {
public:
    explicit LibraryReader(const QString& path) : SampleReader(path), file_(openedFile(path)) {
        frames_ = file_.lengthInFrames();
        channels_ = file_.channelCount();
        isLossy_ = file_.isLossy();
        const auto stamp = FileStamp::of(path);
        if (stamp) stamp_ = *stamp;
    }

    void read(qint64 first, int count) override {
        try {
            if (file_.position() != first) file_.seek(first);
            if (file_.readExact(samples_, count) != count) {
                throw SampleReaderError(QStringLiteral("The file ends before its announced length"));
            }
            buffer_.resize(samples_.size() * sizeof(double));
            std::memcpy(buffer_.data(), samples_.data(), buffer_.size());
        } catch (const AudioFileError& error) {
            throw SampleReaderError(error.errorDescription());
        }
    }

private:
    static AudioFile openedFile(const QString& path) {
        try {
            return AudioFile(path);
        } catch (const AudioFileError& error) {
            throw SampleReaderError(error.errorDescription());
        }
    }

    AudioFile file_;
    std::vector<double> samples_;
};

// Little-endian, shifted to the top of 32 bits; 8-bit samples are unsigned in WAV files.
std::int32_t integerAt(const unsigned char* at, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) value |= static_cast<std::uint32_t>(at[i]) << (8 * (4 - bytes + i));
    return static_cast<std::int32_t>(bytes == 1 ? value ^ 0x80000000U : value);
}

template <class Number>
Number numberAt(const unsigned char* at) {
    Number value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

} // namespace

double SampleReader::sample(int frame, int channel) const {
    const std::size_t index =
        static_cast<std::size_t>(frame) * static_cast<std::size_t>(channels_) + static_cast<std::size_t>(channel);
    const unsigned char* at = buffer_.data() + index * static_cast<std::size_t>(encoding_.bytes);
    if (encoding_.kind == Encoding::Kind::integers) return std::ldexp(integerAt(at, encoding_.bytes), -31);
    return encoding_.bytes == 4 ? static_cast<double>(numberAt<float>(at)) : numberAt<double>(at);
}

std::unique_ptr<SampleReader> SampleReader::open(const QString& path) {
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw SampleReaderError(QString::fromLocal8Bit(std::strerror(errno)));
    const std::optional<WaveLayout> layout = readWaveLayout(descriptor);
    const std::optional<Encoding> encoding =
        layout && layout->format && layout->data ? rawEncoding(*layout->format) : std::nullopt;
    if (encoding) return std::make_unique<WaveReader>(path, descriptor, *layout, *encoding);
    ::close(descriptor);
    return std::make_unique<LibraryReader>(path);
}

} // namespace ostrel
