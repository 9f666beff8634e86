// A set of mono siblings that is to become one multichannel file.
#pragma once

#include "foundation/records/channel_layout.h"
#include "foundation/records/container_kind.h"
#include "foundation/records/item_outcome.h"
#include "foundation/records/processing_options.h"
#include "foundation/records/processing_status.h"

#include <QMap>
#include <QString>
#include <QUuid>
#include <optional>

namespace ostrel {

struct InterleaveGroup {
    QUuid id = QUuid::createUuid();
    QString baseName;
    QString relativePath;                // the files' folder below the scan root; empty for hand-picked files
    QMap<QString, QString> channelFiles; // channel tag to file
    ProcessingStatus status;
    bool include = true;
    QString outputURL;
    std::optional<int> sampleRate; // Hz
    std::optional<int> bitDepth;
    std::optional<double> duration; // seconds
    std::optional<MetadataTier> metadataTier;
    std::optional<ContainerKind> containerKind;
    QString foreseen;                   // why a run would refuse it; empty where nothing stands against it
    std::optional<ItemOutcome> outcome; // of the last run that took it; `status` is the same as its own then

    bool operator==(const InterleaveGroup&) const = default;

    // The layout's tags that have no file, in layout order.
    QStringList missingChannels(const ChannelLayout& layout) const;

    // The file that speaks for the group where any would do: "L", else the first in the order that a surround person
    // reads (C, R, side, rear, LFE), so that two runs agree. Empty if there is none.
    QString firstFile() const;

    QString durationString() const; // "--" without a duration
    QString outputFormat(OutputFormatPolicy policy) const { return ostrel::outputFormat(containerKind, policy); }
};

} // namespace ostrel
