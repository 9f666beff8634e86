// Reads any audio file as planar 32-bit floats.
//
// libsndfile opens what it can. For the rest (M4A, AAC, MP4) ffmpeg decodes the first audio stream into an unlinked
// temporary file at 32-bit float, which is then read in its place: so lengths and seeks are exact whatever the codec
// promises, and memory stays flat however long the file is. Opening such a file takes as long as decoding it.
// Integer samples are scaled by their full scale (a 24-bit value is divided by 8,388,608); float samples are given as
// they stand, beyond full scale too.
//
// An object belongs to one thread at a time; every operation blocks on the disk.
#pragma once

#include "platform/audio/audio_buffer.h"

#include <QString>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

namespace ostrel {

class AudioFileError : public std::runtime_error {
public:
    explicit AudioFileError(const QString& text) : std::runtime_error(text.toStdString()), text_(text) {}
    QString errorDescription() const { return text_; } // a reason without the file's name: "No such file or directory"

private:
    QString text_;
};

// What a channel feeds, where a file says so.
enum class SpeakerPosition {
    unknown,
    mono,
    frontLeft,
    frontRight,
    frontCentre,
    lowFrequency,
    rearLeft,
    rearRight,
    rearCentre,
    sideLeft,
    sideRight,
    frontLeftOfCentre,
    frontRightOfCentre,
    other,
};

class AudioFile {
public:
    // Throws AudioFileError. Without `ffmpegPath` only what libsndfile reads can be opened.
    explicit AudioFile(const QString& path, const QString& ffmpegPath = QString());
    // The file where libsndfile reads it, which takes a moment. Nothing where ffmpeg has to be asked, which takes as
    // long as decoding: not on the main thread. Throws AudioFileError for what can't be read at all.
    static std::unique_ptr<AudioFile> openAtOnce(const QString& path);
    ~AudioFile();
    AudioFile(AudioFile&&) noexcept;
    AudioFile& operator=(AudioFile&&) noexcept;

    qint64 lengthInFrames() const;
    int sampleRate() const; // Hz
    int channelCount() const;
    double duration() const { return static_cast<double>(lengthInFrames()) / sampleRate(); } // seconds

    // Whether the codec keeps no exact samples (Vorbis, ADPCM; and what ffmpeg had to decode, of which nothing is
    // known).
    bool isLossy() const;

    // One a channel where the file declares them, otherwise empty.
    const std::vector<SpeakerPosition>& speakerPositions() const;

    qint64 position() const; // in frames

    // 0 up to the length; the length itself stands at the end. Throws AudioFileError.
    void seek(qint64 frame);

    // Reads up to `frames` from the position on and advances it. `into` is made as long as what was read, which is
    // returned: less than asked at the end of the file only, 0 past it. Throws AudioFileError where the file ends
    // before the length that it announced or can't be decoded.
    int read(AudioBuffer& into, int frames);

    // The same at the precision of a double, interleaved: integer samples of up to 32 bits come out exactly, and
    // exactly different. For comparing files, not for playing them.
    int readExact(std::vector<double>& into, int frames);

    // The same, as whole frames in the file's own order (left, right, left, right) and without the detour over planes:
    // for work that takes every sample once. Fills `into` as far as it holds whole frames; gives the count of frames.
    int readInterleaved(std::span<float> into);

private:
    int framesLeft(qint64 wanted) const;    // how many of them the file still has
    int readBlock(float* into, int frames); // at least one

    struct Source;
    explicit AudioFile(std::unique_ptr<Source> source);
    std::unique_ptr<Source> source_;
};

} // namespace ostrel
