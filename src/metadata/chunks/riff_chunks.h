// Lifts the metadata chunks worth keeping out of a WAV file and splices them into what ffmpeg made of it. RIFF, RF64
// and BW64, as `wave/wave_layout` reads them. Both classes hold no state, and block their caller.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ostrel {

constexpr qint64 kChunkHeaderSize = 8; // bytes of id and size ahead of a payload

struct RIFFChunk {
    QByteArray id;       // four characters as read, trailing blank included
    QByteArray data;     // the payload without its pad byte
    qint64 position = 0; // where the chunk's id stood in its source; for information only

    bool operator==(const RIFFChunk&) const = default;
};

// A chunk that stands ahead of a file's audio.
struct RIFFHeadChunk {
    QByteArray id;
    qint64 size = 0; // of the payload, without its pad byte
    QByteArray list; // the payload of a LIST of usual size
};

class RIFFError : public std::runtime_error {
public:
    enum class Kind { invalidFile, readError };
    RIFFError(Kind errorKind, const QString& payload);
    QString errorDescription() const;

    Kind kind;
    QString text;
};

class RIFFChunkReader {
public:
    // The chunks SMED, iXML, aXML, XMP, MD5, UMID, acid, Tdat and cart in file order, duplicates included. A chunk that
    // overruns the file, or an id that is not ASCII, ends the walk, and what was found so far is the result.
    // Throws RIFFError for what is no WAV file and for a chunk too large to hold (256 MiB), FileError for what can't be
    // read.
    static std::vector<RIFFChunk> extractPreservableChunks(const QString& url);

    // In file order. Nothing for what can't be read, is no WAV file or has no audio.
    static std::optional<std::vector<RIFFHeadChunk>> chunksAheadOfAudio(const QString& url);
};

class RIFFChunkWriter {
public:
    // Puts the chunks directly ahead of the file's `data` chunk and sets the RIFF size, in the ds64 chunk where there
    // is one. Nothing is replaced or removed. The file is changed in place: its tail moves up through a fixed buffer,
    // without a temporary file. The room for that is taken first, so a full disk leaves the file as it was. Throws
    // RIFFError or FileError; a RIFF file that would not fit 32-bit sizes is refused untouched.
    static void injectPreservedChunks(const QString& url, const std::vector<RIFFChunk>& preservedChunks);
};

} // namespace ostrel
