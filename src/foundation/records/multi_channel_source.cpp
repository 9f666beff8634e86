#include "foundation/records/multi_channel_source.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "platform/text/text.h"

namespace ostrel {

MultiChannelSource MultiChannelSource::make(const QString& sourceURL, const ChannelLayout& layout,
                                            const std::optional<QSet<QString>>& selectedChannels) {
    MultiChannelSource source;
    source.sourceURL = sourceURL;
    source.layout = layout;
    source.selectedChannels =
        selectedChannels.value_or(QSet<QString>(layout.channelTags.begin(), layout.channelTags.end()));
    return source;
}

QString MultiChannelSource::durationString() const { return clockText(duration); }

QMap<QString, QString> MultiChannelSource::outputURLs(const QString& separator, const QString& outputDirectory,
                                                      const QString& format) const {
    const QString base = outputDirectory.isEmpty() ? paths::parent(sourceURL) : outputDirectory;
    const QString folder = paths::append(base, QStringLiteral("De-interleaved"));
    const QString stem = paths::stem(sourceURL);
    QMap<QString, QString> result;
    for (const QString& tag : selectedChannels) {
        result.insert(tag, paths::append(folder, fittedFileName(stem, separator + tag + QLatin1Char('.') + format)));
    }
    return result;
}

} // namespace ostrel
