#include "platform/audio/audio_file_writer.h"

#include "platform/paths.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr int kBlockFrames = 2048;
constexpr qint64 kMostBytesOfClassicFile = 0xFFFF'FFFFLL - 4096; // the header's share taken off

int containerOf(const QString& path) {
    const QString extension = paths::lowerExtension(path);
    if (extension == QLatin1String("aif") || extension == QLatin1String("aiff")) return SF_FORMAT_AIFF;
    if (extension == QLatin1String("caf")) return SF_FORMAT_CAF;
    if (extension == QLatin1String("w64")) return SF_FORMAT_W64;
    if (extension == QLatin1String("wav")) return SF_FORMAT_WAV;
    throw AudioFileError(QStringLiteral("No 32-bit float file has the extension \"%1\"").arg(extension));
}

QString systemReason() { return QString::fromLocal8Bit(std::strerror(errno)); }

} // namespace

struct AudioFileWriter::Target {
    int descriptor = -1;
    SNDFILE* file = nullptr;
    int container = 0;
    int channels = 0;
    qint64 frames = 0;
    std::vector<float> scratch;

    ~Target() {
        if (file) ::sf_close(file);
        if (descriptor >= 0) ::close(descriptor);
    }

    void open(const QString& path, int sampleRate, int channelCount) {
        container = containerOf(path);
        channels = channelCount;
        SF_INFO info{};
        info.samplerate = sampleRate;
        info.channels = channelCount;
        info.format = container | SF_FORMAT_FLOAT;
        if (!::sf_format_check(&info)) {
            throw AudioFileError(
                QStringLiteral("No such file can be made: %1 channels at %2 Hz").arg(channelCount).arg(sampleRate));
        }
        descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (descriptor < 0) throw AudioFileError(systemReason());
        file = ::sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE);
        if (!file) throw AudioFileError(QString::fromUtf8(::sf_strerror(nullptr)));
        // The chunk holds the time of writing: two runs over one source would differ.
        ::sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
        scratch.resize(static_cast<std::size_t>(kBlockFrames) * static_cast<std::size_t>(channels));
    }

    void refuseTooLarge(int more) const {
        const bool classic = container == SF_FORMAT_WAV || container == SF_FORMAT_AIFF;
        const qint64 bytes = (frames + more) * channels * static_cast<qint64>(sizeof(float));
        if (classic && bytes > kMostBytesOfClassicFile) {
            throw AudioFileError(QStringLiteral("The result is larger than this kind of file can hold (4 GB)"));
        }
    }

    void writeScratch(int count) {
        errno = 0;
        if (::sf_writef_float(file, scratch.data(), count) == count) return;
        throw AudioFileError(errno ? systemReason() : QString::fromUtf8(::sf_strerror(file)));
    }
};

AudioFileWriter::AudioFileWriter(const QString& path, int sampleRate, int channelCount)
    : target_(std::make_unique<Target>()) {
    target_->open(path, sampleRate, channelCount);
}

AudioFileWriter::~AudioFileWriter() = default;

void AudioFileWriter::write(const AudioBuffer& buffer) {
    if (!target_->file || buffer.channels() != target_->channels) {
        throw AudioFileError(QStringLiteral("The samples don't fit the file that is written"));
    }
    target_->refuseTooLarge(buffer.frames());
    for (int done = 0; done < buffer.frames();) {
        const int count = std::min(kBlockFrames, buffer.frames() - done);
        for (int channel = 0; channel < target_->channels; ++channel) {
            const float* source = buffer.channel(channel).data() + done;
            float* into = target_->scratch.data() + channel;
            for (int frame = 0; frame < count; ++frame) into[std::ptrdiff_t{frame} * target_->channels] = source[frame];
        }
        target_->writeScratch(count);
        done += count;
    }
    target_->frames += buffer.frames();
}

void AudioFileWriter::close() {
    if (!target_->file) return;
    errno = 0;
    const int closed = ::sf_close(std::exchange(target_->file, nullptr));
    if (closed != SF_ERR_NO_ERROR) throw AudioFileError(QString::fromUtf8(::sf_error_number(closed)));
    if (::fsync(target_->descriptor) != 0 && errno != EINVAL) throw AudioFileError(systemReason());
    if (::close(std::exchange(target_->descriptor, -1)) != 0) throw AudioFileError(systemReason());
}

} // namespace ostrel
