#include "metadata/bext_chunk.h"

#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>

namespace ostrel {

std::optional<BextPlace> findBext(const QString& file) {
    const std::optional<WaveLayout> layout = readWaveLayout(QFile::encodeName(file).toStdString());
    const WaveChunk* bext = layout ? layout->find("bext") : nullptr;
    if (!bext || bext->payloadEnd() > layout->fileSize) return std::nullopt;
    return BextPlace{static_cast<qint64>(bext->payload), static_cast<qint64>(bext->size)};
}

QByteArray readBext(const QString& file, const BextPlace& place, qint64 most) {
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly) || !opened.seek(place.payload)) return {};
    return opened.read(std::min(place.size, most));
}

} // namespace ostrel
