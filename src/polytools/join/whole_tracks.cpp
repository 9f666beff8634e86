#include "polytools/join/whole_tracks.h"

#include "platform/paths.h"
#include "stitch/stitch_file.h"
#include "stitch/stitched_audio.h"
#include "wave/channel_copy.h"

namespace ostrel {

QStringList WholeTracks::make(std::vector<ISOFile>& isos, const QString& output,
                              const std::function<bool()>& isStopped) {
    QStringList warnings;
    for (ISOFile& iso : isos) {
        if (!iso.laterParts.isEmpty()) iso.url = stitch(iso, output, isStopped, warnings);
    }
    return warnings;
}

QString WholeTracks::stitch(const ISOFile& iso, const QString& output, const std::function<bool()>& isStopped,
                            QStringList& warnings) {
    const QString names = QStringLiteral("%1 and its %2 later parts").arg(iso.fileName).arg(iso.laterParts.size());
    std::vector<Part> parts;
    for (const QString& file : iso.files()) parts.push_back(readPart(file));
    const std::vector<Series> series = seriesOf(parts);
    const bool isWhole = series.size() == 1 && series.front().isExact() && series.front().parts.front().path == iso.url;
    if (!isWhole) throw FileError(names + QStringLiteral(" don't fit to the sample any more"));
    const auto& file = files_.emplace_back(std::make_unique<NewFile>(output));
    originals_.insert(file->path(), iso.url);
    try {
        warnings << writeExactSeries(series.front(), file->path(), paths::lastComponent(iso.url),
                                     [&](quint64, quint64) { return !isStopped || !isStopped(); });
    } catch (const CopyError& error) {
        throw FileError(QStringLiteral("%1 can't be put together: %2").arg(names, QString::fromUtf8(error.what())));
    } catch (const StitchStopped&) {
        throw FileError(QStringLiteral("stopped"));
    }
    return file->path();
}

QString WholeTracks::named(QString text) const {
    for (const auto& [path, original] : originals_.asKeyValueRange()) {
        text.replace(path, original);
        text.replace(paths::lastComponent(path), paths::lastComponent(original));
    }
    return text;
}

} // namespace ostrel
