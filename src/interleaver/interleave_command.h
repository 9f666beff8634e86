// The ffmpeg command lines of both directions, as pure functions.
#pragma once

#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "foundation/records/processing_options.h"

#include <QStringList>

namespace ostrel {

// All channels of the layout merged into one file. `format` is the group's output format.
QStringList buildInterleaveCommand(const InterleaveGroup& group, const ChannelLayout& layout, const QString& format,
                                   const QString& outputURL);

// How ffmpeg names a layout, and the tags in the order of its channels there. For 7.1 SMPTE and 7.1 film that order
// differs from the layout's own on purpose: it is ffmpeg's.
struct FFmpegLayout {
    QString name;
    QStringList tags;
};
FFmpegLayout ffmpegLayoutOf(const ChannelLayout& layout);

// One output per selected channel. `outputs` maps tags to files.
QStringList buildDeinterleaveCommand(const MultiChannelSource& source, const ProcessingOptions& options,
                                     const QString& format, const QMap<QString, QString>& outputs);

// What has to follow that command line where not every channel is selected: ffmpeg refuses a graph with an output that
// leads nowhere, so the others lead to its null muxer.
QStringList unselectedChannelSinks(const MultiChannelSource& source, const QMap<QString, QString>& outputs);

} // namespace ostrel
