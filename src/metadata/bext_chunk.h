// Where a file's bext chunk (EBU Tech 3285) stands, and its bytes. Blocks on the disk; for any thread.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace ostrel {

struct BextPlace {
    qint64 payload = 0; // offset of its first byte
    qint64 size = 0;
};

// Nothing for what is no WAV file, and for a chunk that overruns its file.
std::optional<BextPlace> findBext(const QString& file);

// The first bytes of the payload, at most so many; fewer where they can't be read.
QByteArray readBext(const QString& file, const BextPlace& place, qint64 most);

} // namespace ostrel
