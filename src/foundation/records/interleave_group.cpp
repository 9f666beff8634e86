#include "foundation/records/interleave_group.h"

#include "platform/text/text.h"

namespace ostrel {

QStringList InterleaveGroup::missingChannels(const ChannelLayout& layout) const {
    QStringList missing;
    for (const QString& tag : layout.channelTags) {
        if (!channelFiles.contains(tag)) missing << tag;
    }
    return missing;
}

QString InterleaveGroup::firstFile() const {
    for (const QString& tag : ChannelLayout::film71.channelTags + ChannelLayout::film51.channelTags) {
        if (channelFiles.contains(tag)) return channelFiles.value(tag);
    }
    return channelFiles.isEmpty() ? QString() : channelFiles.first();
}

QString InterleaveGroup::durationString() const { return duration ? clockText(*duration) : QStringLiteral("--"); }

} // namespace ostrel
