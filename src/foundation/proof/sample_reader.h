// Reads recordings for comparing them: every sample as a number that tells it apart from every other sample.
//
// WAV files are read as they stand, by their header and nothing else, so that a comparison does not trust the program
// that made one side. AIFF, FLAC, CAF and W64 come through libsndfile. An object belongs to one thread; blocks.
#pragma once

#include "platform/files/file_stamp.h"

#include <QString>
#include <memory>
#include <stdexcept>
#include <vector>

namespace ostrel {

// The file can't be read, or not to its end; the sentence has no file name.
class SampleReaderError : public std::runtime_error {
public:
    explicit SampleReaderError(const QString& text) : std::runtime_error(text.toStdString()), text_(text) {}
    QString errorDescription() const { return text_; }

private:
    QString text_;
};

class SampleReader {
public:
    // How samples stand in the file: two files of one encoding are compared as bytes.
    struct Encoding {
        enum class Kind { integers, floats, numbers };

        Kind kind = Kind::numbers; // `numbers`: doubles, decoded by a library
        int bytes = 8;             // of one sample

        bool operator==(const Encoding&) const = default;
    };

    static std::unique_ptr<SampleReader> open(const QString& path); // throws SampleReaderError
    virtual ~SampleReader() = default;

    const QString& path() const { return path_; }
    const FileStamp& stamp() const { return stamp_; } // of the file as it was opened
    qint64 frames() const { return frames_; }
    int channels() const { return channels_; }
    const Encoding& encoding() const { return encoding_; }
    // Fewer bytes of sound than of sample (24 bits in 4 bytes): layouts that tools are known to read wrongly.
    bool hasOddContainer() const { return hasOddContainer_; }
    bool isLossy() const { return isLossy_; }
    // The file ends where its head says. True where that is not known.
    bool isWhole() const { return isWhole_; }

    // Reads frames from `first` on; exactly `count` of them or an error. Interleaved, in the file's encoding.
    virtual void read(qint64 first, int count) = 0;
    // What was read last.
    const unsigned char* bytes() const { return buffer_.data(); }
    // One sample of it as a number: integers by their full scale, so that 16 and 24 bits of one sound are equal.
    double sample(int frame, int channel) const;

protected:
    explicit SampleReader(const QString& path) : path_(path) {}

    QString path_;
    FileStamp stamp_;
    qint64 frames_ = 0;
    int channels_ = 0;
    Encoding encoding_;
    bool hasOddContainer_ = false;
    bool isLossy_ = false;
    bool isWhole_ = true;
    std::vector<unsigned char> buffer_;
};

} // namespace ostrel
