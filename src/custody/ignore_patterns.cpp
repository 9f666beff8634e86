#include "custody/ignore_patterns.h"

#include "custody/glob.h"

namespace ostrel {
namespace {

const std::u32string kAnyFolders = U"**";

std::vector<std::u32string> segmentsOf(const QString& path) {
    std::vector<std::u32string> segments;
    for (const QString& part : path.split(u'/')) segments.push_back(part.toStdU32String());
    return segments;
}

// Blanks at the end do not count, but for one behind a backslash.
QString withoutTrailingBlanks(QString text) {
    while (text.endsWith(u' ') && !text.endsWith(QLatin1String("\\ "))) text.chop(1);
    return text;
}

// One row a segment of the pattern, one column a segment of the path: no pattern takes longer than their product.
bool matchesPath(const std::vector<std::u32string>& pattern, const std::vector<std::u32string>& path) {
    std::vector<char> reach(path.size() + 1, 0); // whether the pattern so far can end ahead of this segment
    reach[0] = 1;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        std::vector<char> next(path.size() + 1, 0);
        const bool isLast = i + 1 == pattern.size();
        if (pattern[i] == kAnyFolders) {
            bool isReached = false;
            for (std::size_t j = 0; j <= path.size(); ++j) {
                next[j] = isReached || (reach[j] && !isLast) ? 1 : 0; // "a/**" is what lies in a, and not a itself
                isReached = isReached || reach[j];
            }
        } else {
            for (std::size_t j = 0; j < path.size(); ++j)
                next[j + 1] = reach[j] && matchesGlob(pattern[i], path[j]) ? 1 : 0;
        }
        reach = std::move(next);
    }
    return reach[path.size()];
}

} // namespace

QStringList alwaysIgnored() {
    return {QStringLiteral(".DS_Store"), QStringLiteral("ascmhl"), QStringLiteral("ascmhl/")};
}

bool IgnorePatterns::isAnchored(const QString& pattern) {
    QString text = withoutTrailingBlanks(pattern);
    if (text.endsWith(u'/')) text.chop(1);
    return text.contains(u'/') && !text.startsWith(QLatin1String("**/")) && !text.startsWith(QLatin1String("!**/"));
}

bool IgnorePatterns::parse(const QString& pattern, Pattern& into) {
    QString text = withoutTrailingBlanks(pattern);
    if (text.isEmpty() || text.startsWith(u'#')) return false;
    into.isNegative = text.startsWith(u'!');
    if (into.isNegative) text.remove(0, 1);
    into.foldersOnly = text.endsWith(u'/');
    if (into.foldersOnly) text.chop(1);
    if (text.isEmpty()) return false;
    const bool goesByPlace = text.contains(u'/');
    if (text.startsWith(u'/')) text.remove(0, 1);
    into.segments = segmentsOf(text);
    if (!goesByPlace) into.segments.insert(into.segments.begin(), kAnyFolders);
    return true;
}

IgnorePatterns::IgnorePatterns(const QStringList& patterns) {
    for (const QString& text : patterns) {
        Pattern pattern;
        if (parse(text, pattern)) patterns_.push_back(std::move(pattern));
    }
}

bool IgnorePatterns::isIgnored(const QString& path, bool isFolder) const {
    const QString name = path.section(u'/', -1);
    if (name == QLatin1String(".DS_Store") || name == QLatin1String("ascmhl")) return true;
    const std::vector<std::u32string> segments = segmentsOf(path);
    for (auto pattern = patterns_.rbegin(); pattern != patterns_.rend(); ++pattern) {
        if (pattern->foldersOnly && !isFolder) continue;
        if (matchesPath(pattern->segments, segments)) return !pattern->isNegative;
    }
    return false;
}

bool IgnorePatterns::isFileIgnored(const QString& path) const {
    for (qsizetype slash = path.indexOf(u'/'); slash > 0; slash = path.indexOf(u'/', slash + 1)) {
        if (isIgnored(path.first(slash), true)) return true;
    }
    return isIgnored(path, false);
}

} // namespace ostrel
