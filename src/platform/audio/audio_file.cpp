#include "platform/audio/audio_file.h"

#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/ffmpeg_fault.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"

#include <QFile>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

// Samples that pass through the interleaved scratch buffer at a time: few enough to stay in the processor's cache.
constexpr int kBlockSamples = 4096;

constexpr int kMostChannels = 1024; // libsndfile's own limit

struct CloseSoundFile {
    void operator()(SNDFILE* file) const { ::sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

struct OpenedFile {
    SoundFile file;
    SF_INFO info{};
    QString error;
    bool isDecodedCopy = false;
};

// Not sf_open: its descriptor would be inherited by every child process, and it would wait for a writer at a FIFO.
int openForReading(const QString& path) {
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw AudioFileError(QString::fromLocal8Bit(std::strerror(errno)));
    struct stat found;
    if (::fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) {
        ::close(descriptor);
        throw AudioFileError(QStringLiteral("Not a regular file"));
    }
    return descriptor;
}

OpenedFile openWithSndfile(const QString& path) {
    OpenedFile result;
    result.file.reset(::sf_open_fd(openForReading(path), SFM_READ, &result.info, SF_TRUE));
    if (!result.file) {
        result.error = QString::fromUtf8(::sf_strerror(nullptr));
    } else if (result.info.channels < 1 || result.info.channels > kMostChannels || result.info.samplerate < 1 ||
               !result.info.seekable) {
        result.file.reset();
        result.error = QStringLiteral("The file's format is not usable");
    } else if ((result.info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) {
        // libsndfile only estimates the length of an MP3, and counts the encoder's padding in.
        result.file.reset();
        result.error = QStringLiteral("MP3 files can't be read without ffmpeg");
    }
    return result;
}

// Below the cache folder and not in /tmp, which is memory on many systems.
QString decodedPath() {
    const QString folder = paths::append(cacheFolder(), QStringLiteral("decoded"));
    files::createFolder(folder);
    return paths::append(folder, freshUuid() + QStringLiteral(".caf"));
}

// Ahead of the reason may stand the file's name.
QString reasonOf(const ProcessResult& result, const QString& name) {
    const QString line = ffmpegFault(result);
    const QString reason = line.startsWith(name) ? line.mid(name.size() + 2) : line;
    return reason.isEmpty() ? QStringLiteral("ffmpeg can't decode it (status %1)").arg(result.exitStatus) : reason;
}

OpenedFile decodeWithFfmpeg(const QString& path, const QString& ffmpegPath) {
    const QString input = QStringLiteral("file:") + path;
    QString decoded;
    try {
        decoded = decodedPath();
        const ProcessResult result = ChildProcess::runSilently(
            ffmpegPath,
            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-nostdin"), QStringLiteral("-y"),
             QStringLiteral("-i"), input, QStringLiteral("-map"), QStringLiteral("0:a:0"),
             QStringLiteral("-map_metadata"), QStringLiteral("-1"), QStringLiteral("-c:a"), QStringLiteral("pcm_f32le"),
             QStringLiteral("-f"), QStringLiteral("caf"), decoded},
            limitsByProgress({decoded}));
        if (!result.succeeded()) throw AudioFileError(reasonOf(result, input));
        OpenedFile opened = openWithSndfile(decoded);
        opened.isDecodedCopy = true;
        files::removeQuietly(decoded);
        return opened;
    } catch (const FileError& error) {
        throw AudioFileError(error.description);
    } catch (const ProcessLaunchError& error) {
        throw AudioFileError(QStringLiteral("ffmpeg could not be started: %1").arg(error.description));
    } catch (const AudioFileError&) {
        files::removeQuietly(decoded);
        throw;
    }
}

OpenedFile open(const QString& path, const QString& ffmpegPath) {
    OpenedFile opened = openWithSndfile(path);
    const QString firstError = opened.error;
    if (!opened.file && !ffmpegPath.isEmpty()) opened = decodeWithFfmpeg(path, ffmpegPath);
    if (!opened.file) throw AudioFileError(firstError);
    return opened;
}

SpeakerPosition speaker(int mapped) {
    switch (mapped) {
    case SF_CHANNEL_MAP_MONO: return SpeakerPosition::mono;
    case SF_CHANNEL_MAP_LEFT:
    case SF_CHANNEL_MAP_FRONT_LEFT: return SpeakerPosition::frontLeft;
    case SF_CHANNEL_MAP_RIGHT:
    case SF_CHANNEL_MAP_FRONT_RIGHT: return SpeakerPosition::frontRight;
    case SF_CHANNEL_MAP_CENTER:
    case SF_CHANNEL_MAP_FRONT_CENTER: return SpeakerPosition::frontCentre;
    case SF_CHANNEL_MAP_LFE: return SpeakerPosition::lowFrequency;
    case SF_CHANNEL_MAP_REAR_LEFT: return SpeakerPosition::rearLeft;
    case SF_CHANNEL_MAP_REAR_RIGHT: return SpeakerPosition::rearRight;
    case SF_CHANNEL_MAP_REAR_CENTER: return SpeakerPosition::rearCentre;
    case SF_CHANNEL_MAP_SIDE_LEFT: return SpeakerPosition::sideLeft;
    case SF_CHANNEL_MAP_SIDE_RIGHT: return SpeakerPosition::sideRight;
    case SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER: return SpeakerPosition::frontLeftOfCentre;
    case SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER: return SpeakerPosition::frontRightOfCentre;
    case SF_CHANNEL_MAP_INVALID: return SpeakerPosition::unknown;
    default: return SpeakerPosition::other;
    }
}

std::vector<SpeakerPosition> readSpeakerPositions(SNDFILE* file, const SF_INFO& info) {
    // Elsewhere libsndfile's map may be shorter than the file has channels (RF64: made before they are known; AIFF and
    // CAF: as long as the layout that the file names), and it reads past the end of it when asked.
    if ((info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_WAVEX) return {};
    std::vector<int> map(static_cast<std::size_t>(info.channels));
    const int bytes = static_cast<int>(map.size() * sizeof(int));
    if (::sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes) != SF_TRUE) return {};
    std::vector<SpeakerPosition> result;
    for (const int mapped : map) result.push_back(speaker(mapped));
    const bool says = std::any_of(result.begin(), result.end(),
                                  [](SpeakerPosition position) { return position != SpeakerPosition::unknown; });
    return says ? result : std::vector<SpeakerPosition>();
}

bool keepsNoSamples(const SF_INFO& info) {
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ALAC_16:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_ALAC_32: return false;
    default: return true;
    }
}

// With the width known to the compiler, it finds vector instructions for the usual few channels.
template <int width>
void takeChannel(const float* interleaved, int frames, float* target) {
#pragma omp simd
    for (int frame = 0; frame < frames; ++frame) target[frame] = interleaved[std::ptrdiff_t{frame} * width];
}

void deinterleave(const float* interleaved, int frames, AudioBuffer& into, int at) {
    const int channels = into.channels();
    for (int channel = 0; channel < channels; ++channel) {
        float* target = into.channel(channel).data() + at;
        const float* source = interleaved + channel;
        if (channels == 2) {
            takeChannel<2>(source, frames, target);
        } else if (channels == 6) {
            takeChannel<6>(source, frames, target);
        } else if (channels == 8) {
            takeChannel<8>(source, frames, target);
        } else {
            for (int frame = 0; frame < frames; ++frame) target[frame] = source[std::ptrdiff_t{frame} * channels];
        }
    }
}

} // namespace

struct AudioFile::Source {
    explicit Source(OpenedFile opened)
        : file(std::move(opened.file)), info(opened.info), isLossy(opened.isDecodedCopy || keepsNoSamples(opened.info)),
          positions(readSpeakerPositions(file.get(), opened.info)),
          blockFrames(std::max(1, kBlockSamples / opened.info.channels)),
          scratch(static_cast<std::size_t>(blockFrames * opened.info.channels)) {}

    SoundFile file;
    SF_INFO info;
    bool isLossy;
    std::vector<SpeakerPosition> positions;
    int blockFrames;
    std::vector<float> scratch; // one block, interleaved
    qint64 position = 0;

    QString reason(const QString& otherwise) const {
        return ::sf_error(file.get()) == SF_ERR_NO_ERROR ? otherwise : QString::fromUtf8(::sf_strerror(file.get()));
    }
};

AudioFile::AudioFile(const QString& path, const QString& ffmpegPath)
    : AudioFile(std::make_unique<Source>(open(path, ffmpegPath))) {}

AudioFile::AudioFile(std::unique_ptr<Source> source) : source_(std::move(source)) {}

std::unique_ptr<AudioFile> AudioFile::openAtOnce(const QString& path) {
    OpenedFile opened = openWithSndfile(path);
    if (!opened.file) return nullptr;
    return std::unique_ptr<AudioFile>(new AudioFile(std::make_unique<Source>(std::move(opened))));
}

AudioFile::~AudioFile() = default;
AudioFile::AudioFile(AudioFile&&) noexcept = default;
AudioFile& AudioFile::operator=(AudioFile&&) noexcept = default;

qint64 AudioFile::lengthInFrames() const { return source_->info.frames; }
int AudioFile::sampleRate() const { return source_->info.samplerate; }
int AudioFile::channelCount() const { return source_->info.channels; }
bool AudioFile::isLossy() const { return source_->isLossy; }
const std::vector<SpeakerPosition>& AudioFile::speakerPositions() const { return source_->positions; }
qint64 AudioFile::position() const { return source_->position; }

void AudioFile::seek(qint64 frame) {
    if (frame < 0 || frame > lengthInFrames()) {
        throw AudioFileError(QStringLiteral("Position %1 is outside the file").arg(frame));
    }
    if (::sf_seek(source_->file.get(), frame, SEEK_SET) != frame) {
        throw AudioFileError(source_->reason(QStringLiteral("The position can't be reached")));
    }
    source_->position = frame;
}

int AudioFile::framesLeft(qint64 wanted) const {
    const qint64 left = std::max<qint64>(0, lengthInFrames() - source_->position);
    return static_cast<int>(std::clamp<qint64>(wanted, 0, left));
}

int AudioFile::readBlock(float* into, int frames) {
    const auto got = static_cast<int>(::sf_readf_float(source_->file.get(), into, frames));
    if (got <= 0) throw AudioFileError(source_->reason(QStringLiteral("The file ends before its announced length")));
    source_->position += got;
    return got;
}

int AudioFile::read(AudioBuffer& into, int frames) {
    const int wanted = framesLeft(frames);
    into.resize(channelCount(), wanted);
    if (channelCount() == 1) { // planar as it is
        for (int done = 0; done < wanted;) done += readBlock(into.channel(0).data() + done, wanted - done);
        return wanted;
    }
    for (int done = 0; done < wanted;) {
        const int got = readBlock(source_->scratch.data(), std::min(source_->blockFrames, wanted - done));
        deinterleave(source_->scratch.data(), got, into, done);
        done += got;
    }
    return wanted;
}

int AudioFile::readInterleaved(std::span<float> into) {
    const int wanted = framesLeft(static_cast<qint64>(into.size()) / channelCount());
    for (int done = 0; done < wanted;) {
        done += readBlock(into.data() + static_cast<std::size_t>(done) * static_cast<std::size_t>(channelCount()),
                          wanted - done);
    }
    return wanted;
}

int AudioFile::readExact(std::vector<double>& into, int frames) {
    const int wanted = framesLeft(frames);
    into.resize(static_cast<std::size_t>(wanted) * static_cast<std::size_t>(channelCount()));
    if (::sf_readf_double(source_->file.get(), into.data(), wanted) != wanted) {
        throw AudioFileError(source_->reason(QStringLiteral("The file ends before its announced length")));
    }
    source_->position += wanted;
    return wanted;
}

} // namespace ostrel
