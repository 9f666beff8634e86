#include "interleaver/direct_pairing.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <map>

namespace ostrel {
namespace {

struct NaturalOrder {
    bool operator()(const QString& a, const QString& b) const { return naturalLess(a, b); }
};

} // namespace

DirectPairing DirectPairing::of(const QStringList& files) {
    static const QStringList tags = QStringLiteral("Lss Rss Lsr Rsr LFE Ls Rs L R C").split(u' ');
    DirectPairing result;
    std::map<QString, InterleaveGroup, NaturalOrder> byBase;
    for (const QString& file : files) {
        if (paths::lowerExtension(file) != QStringLiteral("wav")) continue;
        const QString name = paths::lastComponent(file);
        const QString tag = ChannelLayout::firstTag(name, tags);
        const std::optional<QString> base = ChannelLayout::extractBaseName(name);
        if (tag.isEmpty() || !base) {
            result.log.push_back({LogLevel::warning, QStringLiteral("  No channel tag found in: ") + name});
            continue;
        }
        result.log.push_back(
            {LogLevel::info, QStringLiteral("  Detected: %1 → tag=%2, base=%3").arg(name, tag, *base)});
        InterleaveGroup& group = byBase[composedName(*base)];
        if (group.baseName.isEmpty()) group.baseName = *base;
        group.channelFiles.insert(tag, file);
    }
    for (auto& entry : byBase) result.groups.push_back(std::move(entry.second));
    result.log.push_back({LogLevel::info, QStringLiteral("Found %1 base name groups").arg(result.groups.size())});
    return result;
}

} // namespace ostrel
