#include "preview/playback_selection.h"

namespace ostrel {
namespace {

ModesOfSelection modesOfGroup(const PlaybackSelection& selection) {
    const bool isComplete = selection.group->missingChannels(*selection.layout).isEmpty();
    if (selection.mode == AppMode::deinterleave) {
        return {{PreviewMode::source}, QStringLiteral("De-interleave mode: no group preview")};
    }
    if (selection.layout->id == ChannelLayout::stereo.id && isComplete) {
        return {{PreviewMode::source, PreviewMode::postInterleave},
                QStringLiteral("Interleave L/R pair: 2-way toggle enabled (L only/Stereo)")};
    }
    if (selection.isSurround() && isComplete) {
        return {{PreviewMode::source, PreviewMode::postInterleaveSurround},
                QStringLiteral("Interleave surround: 2-way toggle enabled (Center/Surround)")};
    }
    return {{PreviewMode::source}, QStringLiteral("Interleave incomplete group: toggle disabled")};
}

ModesOfSelection modesOfFile(const PlaybackSelection& selection) {
    if (selection.mode == AppMode::interleave) {
        return {{PreviewMode::source}, QStringLiteral("Interleave mode: toggle disabled")};
    }
    if (selection.layout->id == ChannelLayout::stereo.id) {
        return {{PreviewMode::source, PreviewMode::leftChannel, PreviewMode::rightChannel},
                QStringLiteral("De-interleave stereo file: 3-way toggle enabled (Source/L/R)")};
    }
    if (selection.file->channels >= 6 || selection.isSurround()) {
        return {{PreviewMode::source, PreviewMode::centerChannel},
                QStringLiteral("De-interleave surround file: 2-way toggle enabled (Source/Center)")};
    }
    return {{PreviewMode::source}, QStringLiteral("De-interleave mono/other: toggle disabled")};
}

} // namespace

QStringList PlaybackSelection::tags() const {
    if (!layout) return {};
    if (!group) return layout->channelTags;
    QStringList tags;
    for (const QString& tag : layout->channelTags) {
        if (group->channelFiles.contains(tag)) tags << tag;
    }
    return tags;
}

QString PlaybackSelection::defaultTag() const {
    if (!group) return {};
    const QMap<QString, QString>& files = group->channelFiles;
    if (isSurround() && files.contains(QStringLiteral("C"))) return QStringLiteral("C");
    if (files.contains(QStringLiteral("L"))) return QStringLiteral("L");
    return tags().value(0);
}

ModesOfSelection modesOf(const PlaybackSelection& selection) {
    if (selection.group) return modesOfGroup(selection);
    return selection.file ? modesOfFile(selection) : ModesOfSelection();
}

QString failureText(PreviewMode mode) {
    switch (mode) {
    case PreviewMode::postInterleave: return QStringLiteral("Failed to load stereo preview, staying in source mode");
    case PreviewMode::postInterleaveSurround:
        return QStringLiteral("Failed to load surround preview, staying in source mode");
    case PreviewMode::leftChannel: return QStringLiteral("Failed to load left channel preview, staying in source mode");
    case PreviewMode::rightChannel:
        return QStringLiteral("Failed to load right channel preview, staying in source mode");
    case PreviewMode::centerChannel:
        return QStringLiteral("Failed to load center channel preview, staying in source mode");
    case PreviewMode::source: break;
    }
    return QStringLiteral("Failed to load the source file");
}

} // namespace ostrel
