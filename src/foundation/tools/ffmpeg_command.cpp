#include "foundation/tools/ffmpeg_command.h"

namespace ostrel {

QString codecForFormat(const QString& format, std::optional<int> bitDepth) {
    const QString name = format.toLower();
    if (name == QStringLiteral("flac")) return QStringLiteral("flac");
    if (name == QStringLiteral("mp3")) return QStringLiteral("libmp3lame");
    if (name == QStringLiteral("m4a") || name == QStringLiteral("aac")) return QStringLiteral("aac");
    if (name == QStringLiteral("ogg")) return QStringLiteral("libvorbis");
    if (bitDepth == 24) return QStringLiteral("pcm_s24le");
    if (bitDepth == 32) return QStringLiteral("pcm_s32le");
    return QStringLiteral("pcm_s16le");
}

QString wavCodec(int bitDepth) {
    // Samples of 8 bits are unsigned in WAV files, and ffmpeg writes no others into one.
    return bitDepth == 8 ? QStringLiteral("pcm_u8") : QStringLiteral("pcm_s%1le").arg(bitDepth);
}

QString extractFFmpegError(const QString& standardError) {
    const QStringList lines = standardError.split(u'\n');
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        for (const char16_t* word : {u"Error", u"error", u"Invalid", u"invalid"}) {
            if (line->contains(QStringView(word))) return line->trimmed();
        }
    }
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (!line->isEmpty()) return *line;
    }
    return QStringLiteral("Unknown error");
}

} // namespace ostrel
