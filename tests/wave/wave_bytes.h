// Files of a test, spelled byte by byte.
#pragma once

#include "support/test_folder.h"
#include "wave/wave_layout.h"

#include <QByteArray>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel::testing {

inline QByteArray operator""_b(const char* bytes, std::size_t count) {
    return QByteArray(bytes, static_cast<qsizetype>(count));
}

// "fmt " of mono PCM with 16 bits at 48,000 Hz.
inline QByteArray monoFormat() {
    return "fmt \x10\0\0\0"_b // 16 bytes
           "\x01\0"           // PCM
           "\x01\0"           // channels
           "\x80\xBB\0\0"     // 48,000 Hz
           "\x00\x77\x01\0"   // 96,000 bytes a second
           "\x02\0"           // bytes a frame
           "\x10\0"_b;        // bits
}

// A file on disk and what is told of it.
struct Written {
    explicit Written(const QByteArray& bytes) : path(folder.write(QStringLiteral("a.wav"), bytes)) {
        layout = readWaveLayout(path.toStdString());
        const int descriptor = ::open(path.toUtf8().constData(), O_RDONLY);
        if (layout) unexplained = unexplainedBytes(*layout, descriptor);
        ::close(descriptor);
    }

    TestFolder folder;
    QString path;
    std::optional<WaveLayout> layout;
    std::uint64_t unexplained = 0;
};

inline QStringList idsOf(const WaveLayout& layout) {
    QStringList ids;
    for (const WaveChunk& chunk : layout.chunks) ids << QString::fromStdString(chunk.id);
    return ids;
}

} // namespace ostrel::testing
