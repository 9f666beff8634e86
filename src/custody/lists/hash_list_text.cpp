#include "custody/lists/hash_list_text.h"

#include "custody/lists/hash_list.h"

#include <QStringList>
#include <algorithm>

namespace ostrel {

QString rawText(HashAction action) {
    switch (action) {
    case HashAction::original: return QStringLiteral("original");
    case HashAction::verified: return QStringLiteral("verified");
    case HashAction::failed: return QStringLiteral("failed");
    case HashAction::none: break;
    }
    return {};
}

QString listDate(const QDateTime& date) {
    return date.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) + QStringLiteral("+00:00");
}

QDateTime dateFromList(const QString& text) {
    const QString trimmed = text.trimmed();
    const QDateTime date = QDateTime::fromString(trimmed, Qt::ISODateWithMs);
    if (date.isValid()) return date;
    QDateTime old = QDateTime::fromString(trimmed, QStringLiteral("yyyy-MM-dd HH-mm-ss"));
    old.setTimeSpec(Qt::UTC);
    return old;
}

bool fitsXml(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r') return false;
        if (unit == 0xFFFE || unit == 0xFFFF) return false;
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            ++i;
        } else if (text[i].isSurrogate()) {
            return false;
        }
    }
    return true;
}

QString xmlEscaped(const QString& text) {
    QString result;
    result.reserve(text.size());
    for (const QChar letter : text) {
        switch (letter.unicode()) {
        case '&': result += QLatin1String("&amp;"); break;
        case '<': result += QLatin1String("&lt;"); break;
        case '>': result += QLatin1String("&gt;"); break;
        case '"': result += QLatin1String("&quot;"); break;
        // A parser would make other white space of these.
        case '\t': result += QLatin1String("&#9;"); break;
        case '\n': result += QLatin1String("&#10;"); break;
        case '\r': result += QLatin1String("&#13;"); break;
        default: result += letter;
        }
    }
    return result;
}

bool staysWithin(const QString& path) {
    if (path.isEmpty() || path.contains(QChar(u'\0'))) return false;
    const QStringList names = path.split(u'/'); // an empty first one: an absolute path
    return std::none_of(names.begin(), names.end(), [](const QString& name) {
        return name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..");
    });
}

} // namespace ostrel
