// What ffmpeg is told to make a preview, as pure functions: file names, filters, whole argument lists.
//
// The names carry a generation ("_v1", "_v2"): raising it makes older files of the cache be passed over.
#pragma once

#include "foundation/records/channel_layout.h"

#include <QMap>
#include <QString>
#include <QStringList>

namespace ostrel {

// A file to generate.
struct PreviewRecipe {
    QString what; // in log lines: "stereo preview"
    QString fileName;
    QStringList inputs;
    QStringList arguments; // all but the output, which comes last

    bool operator==(const PreviewRecipe&) const = default;
};

PreviewRecipe stereoPreview(const QString& left, const QString& right);

// `channelFiles`: tag to file, all of the layout's. `usesSimpleJoin` tells that the layout (or a missing tag) has no
// graph of its own.
PreviewRecipe surroundPreview(const QString& groupName, const QMap<QString, QString>& channelFiles,
                              const ChannelLayout& layout);
bool usesSimpleJoin(const QStringList& tags, const ChannelLayout& layout);

// "left", "right" or "center" of a multichannel file.
PreviewRecipe channelPreview(const QString& file, const QString& channel);

// One channel of a multichannel file as a mono file.
PreviewRecipe extractedChannel(const QString& file, const QString& tag, const ChannelLayout& layout);

// A file of the layout's width with sound in the tag's speaker alone, taken from one channel (0-based) of the input.
PreviewRecipe speakerRouted(const QString& baseName, const QString& file, const QString& tag,
                            const ChannelLayout& layout, int sourceChannelIndex);

// The filters by themselves. `tags` is in the order of the inputs.
QString surroundGraph(const QStringList& tags, const ChannelLayout& layout);
QString buildSpeakerRoutedPanFilter(const QString& tag, const ChannelLayout& layout, int sourceChannelIndex);

// ffmpeg's words.
QString ffmpegLayoutName(const QString& layoutId);
QStringList ffmpegChannelOrder(const QString& layoutId);
QString ffmpegChannelNameForTag(const QString& tag); // an unknown tag passes as it stands

} // namespace ostrel
