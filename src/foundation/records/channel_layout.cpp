#include "foundation/records/channel_layout.h"

#include "platform/text/regular_expression.h"

#include <map>

namespace ostrel {
namespace {

ChannelLayout layout(const char16_t* id, const char16_t* name, const char16_t* tags) {
    return {QString::fromUtf16(id), QString::fromUtf16(name), QString::fromUtf16(tags).split(u' ')};
}

// Every tag of every list is one of these, so each pattern is compiled once for the whole program.
const std::map<QString, RegularExpression>& tagPatterns() {
    static const std::map<QString, RegularExpression> patterns = [] {
        std::map<QString, RegularExpression> result;
        for (const char* tag : {"Lss", "Rss", "Lsr", "Rsr", "LFE", "Lfe", "Lfe1", "Ls", "Rs", "L", "R", "C"}) {
            const QString text = QString::fromLatin1(tag);
            result.emplace(text, RegularExpression(QStringLiteral("[\\._ ]%1\\.wav$").arg(text),
                                                   RegularExpression::caseInsensitive));
        }
        return result;
    }();
    return patterns;
}

std::optional<RegularExpression::Match> findTag(const QString& fileName, const QString& tag) {
    const auto pattern = tagPatterns().find(tag);
    return pattern == tagPatterns().end() ? std::nullopt : pattern->second.firstMatch(fileName);
}

} // namespace

const ChannelLayout ChannelLayout::stereo = layout(u"stereo", u"Stereo (L/R)", u"L R");
const ChannelLayout ChannelLayout::film51 = layout(u"5.1-film", u"5.1 Film (L C R Ls Rs LFE)", u"L C R Ls Rs LFE");
const ChannelLayout ChannelLayout::smpte51 = layout(u"5.1-smpte", u"5.1 SMPTE (L R C LFE Ls Rs)", u"L R C LFE Ls Rs");
const ChannelLayout ChannelLayout::film71 =
    layout(u"7.1-film", u"7.1 Film (L C R Lss Rss Lsr Rsr LFE)", u"L C R Lss Rss Lsr Rsr LFE");
const ChannelLayout ChannelLayout::smpte71 =
    layout(u"7.1-smpte", u"7.1 SMPTE (L R C LFE Lss Rss Lsr Rsr)", u"L R C LFE Lss Rss Lsr Rsr");

const std::vector<ChannelLayout>& ChannelLayout::allLayouts() {
    static const std::vector<ChannelLayout> layouts{stereo, film51, smpte51, film71, smpte71};
    return layouts;
}

std::optional<ChannelLayout> ChannelLayout::withId(const QString& id) {
    for (const ChannelLayout& candidate : allLayouts()) {
        if (candidate.id == id) return candidate;
    }
    return std::nullopt;
}

std::optional<QString> ChannelLayout::extractBaseName(const QString& fileName) {
    // "Lfe1" stands here and in no other list of tags: meant.
    static const QStringList tags = QStringLiteral("Lss Rss Lsr Rsr LFE Lfe Lfe1 Ls Rs L R C").split(u' ');
    for (const QString& tag : tags) {
        if (const auto match = findTag(fileName, tag)) return fileName.first(match->start());
    }
    return std::nullopt;
}

QString ChannelLayout::firstTag(const QString& fileName, const QStringList& tags) {
    for (const QString& tag : tags) {
        if (findTag(fileName, tag)) return tag;
    }
    return QString();
}

} // namespace ostrel
