// A multichannel file that is to be split into mono files.
#pragma once

#include "foundation/records/channel_layout.h"
#include "foundation/records/container_kind.h"
#include "foundation/records/item_outcome.h"
#include "foundation/records/processing_options.h"
#include "foundation/records/processing_status.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QUuid>
#include <optional>

namespace ostrel {

struct MultiChannelSource {
    QUuid id = QUuid::createUuid();
    QString sourceURL;
    QString relativePath;
    int channels = 0;
    int sampleRate = 0; // Hz
    int bitDepth = 0;
    double duration = 0; // seconds
    ChannelLayout layout;
    bool include = true;
    ProcessingStatus status;
    QSet<QString> selectedChannels;
    std::optional<MetadataTier> metadataTier;
    std::optional<ContainerKind> containerKind;
    QString foreseen;                   // why a run would refuse it; empty where nothing stands against it
    std::optional<ItemOutcome> outcome; // of the last run that took it; `status` is the same as its own then

    bool operator==(const MultiChannelSource&) const = default;

    // A source with all of the layout's channels selected, unless others are given.
    static MultiChannelSource make(const QString& sourceURL, const ChannelLayout& layout,
                                   const std::optional<QSet<QString>>& selectedChannels = std::nullopt);

    QString durationString() const;
    QString outputFormat(OutputFormatPolicy policy) const { return ostrel::outputFormat(containerKind, policy); }

    // Tag to file for every selected tag: "{folder}/De-interleaved/{stem}{separator}{tag}.{format}", the folder being
    // `outputDirectory` or, if that is empty, the source's own.
    QMap<QString, QString> outputURLs(const QString& separator, const QString& outputDirectory,
                                      const QString& outputFormat) const;
};

} // namespace ostrel
