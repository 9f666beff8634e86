#include "interleaver/whole_sets.h"

#include "interleaver/library_safety.h"
#include "interleaver/library_scanner.h"
#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QMap>
#include <QSet>
#include <algorithm>

namespace ostrel {
namespace {

struct SetMember {
    QString set; // folder and base name
    QString tag;
};

// By the rule of the scan of that layout.
std::optional<SetMember> memberOf(const QString& file, const ChannelLayout& layout) {
    const QString name = paths::lastComponent(file);
    const auto in = [&](const QString& base, const QString& tag) {
        return SetMember{paths::append(paths::parent(file), composedName(base)), tag};
    };
    if (layout == ChannelLayout::stereo) {
        const auto tagged = LibrarySafetyConstants::extractBaseName(name);
        return tagged ? std::optional(in(tagged->baseName, tagged->channelTag)) : std::nullopt;
    }
    const QString tag = ChannelLayout::firstTag(name, layout.channelTags);
    const auto base = ChannelLayout::extractBaseName(name);
    return tag.isEmpty() || !base ? std::nullopt : std::optional(in(*base, tag));
}

} // namespace

WholeSets wholeSetsOf(const QStringList& selection, const ChannelLayout& layout) {
    QStringList folders;
    QStringList files;
    for (const QString& item : selection) (paths::isFolder(item) ? folders : files) << item;
    const auto isBelowAFolder = [&](const QString& file) {
        return std::any_of(folders.begin(), folders.end(),
                           [&](const QString& folder) { return file.startsWith(folder + u'/'); });
    };
    if (folders.isEmpty() || files.isEmpty()) return {selection};

    QMap<QString, QSet<QString>> selectedTags; // by set
    QSet<QString> places;
    for (const QString& file : files) {
        const auto member = memberOf(file, layout);
        if (!member || isBelowAFolder(file)) continue;
        selectedTags[member->set].insert(member->tag);
        places.insert(paths::parent(file));
    }
    QSet<QString> partial;
    for (const QString& place : places) {
        const auto listing = files::list(place, false, LibraryScanner::extensions(layout != ChannelLayout::stereo));
        if (!listing || folders.contains(place)) continue;
        for (const QString& file : listing->files) {
            const auto member = memberOf(file, layout);
            if (!member || !selectedTags.contains(member->set)) continue;
            if (!selectedTags[member->set].contains(member->tag)) partial.insert(member->set);
        }
    }
    WholeSets result{{}, static_cast<int>(partial.size())};
    for (const QString& item : selection) {
        const auto member = paths::isFolder(item) ? std::nullopt : memberOf(item, layout);
        if (!member || !partial.contains(member->set)) result.items << item;
    }
    return result;
}

} // namespace ostrel
