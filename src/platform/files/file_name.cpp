#include "platform/files/file_name.h"

#include <QCryptographicHash>
#include <memory>
#include <unicode/ubrk.h>

namespace ostrel {
namespace {

constexpr qsizetype kDigestLetters = 16; // hexadecimal: 64 bits tell any library's stems apart

struct CloseBreaks {
    void operator()(UBreakIterator* breaks) const { ubrk_close(breaks); }
};

qsizetype bytesOf(const QString& text) { return text.toUtf8().size(); }

qsizetype utf8Bytes(char32_t codePoint) {
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

// UTF-16 units of the longest beginning of whole code points that fits.
qsizetype unitsWithin(const QString& text, qsizetype mostBytes) {
    qsizetype units = 0;
    for (qsizetype bytes = 0; units < text.size();) {
        const bool isPair =
            text[units].isHighSurrogate() && units + 1 < text.size() && text[units + 1].isLowSurrogate();
        bytes += isPair ? 4 : utf8Bytes(text[units].unicode());
        if (bytes > mostBytes) break;
        units += isPair ? 2 : 1;
    }
    return units;
}

// The last place at or ahead of `position` where one letter ends and another begins; 0 if there is none.
qsizetype letterBoundary(const QString& text, qsizetype position) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UBreakIterator, CloseBreaks> breaks(ubrk_open(
        UBRK_CHARACTER, "", reinterpret_cast<const UChar*>(text.utf16()), static_cast<int32_t>(text.size()), &status));
    if (U_FAILURE(status)) return position; // no rules installed: between code points is better than not at all
    const auto at = static_cast<int32_t>(position);
    return ubrk_isBoundary(breaks.get(), at) ? at : std::max(ubrk_preceding(breaks.get(), at), 0);
}

// A surrogate without its other half has no UTF-8; what stands for it on the disk stands for it here too.
QString cleaned(const QString& name) {
    QString result = QString::fromUtf8(name.toUtf8());
    return result.replace(u'/', u'-').replace(QChar(u'\0'), QChar(u'-'));
}

QString legal(QString name) {
    if (name.isEmpty()) return QStringLiteral("-");
    const bool leadsElsewhere = name == QStringLiteral(".") || name == QStringLiteral("..");
    return leadsElsewhere ? name.replace(u'.', u'-') : name;
}

} // namespace

QString fittedText(const QString& text, qsizetype mostBytes) {
    const qsizetype most = unitsWithin(text, mostBytes);
    if (most == text.size()) return text;
    const qsizetype whole = letterBoundary(text, most);
    return text.first(whole > 0 ? whole : most);
}

QString fittedFileName(const QString& stem, const QString& ending, qsizetype mostBytes) {
    const QString start = cleaned(stem);
    const QString end = cleaned(ending);
    const qsizetype room = mostBytes - bytesOf(end);
    return legal(room > 0 ? fittedText(start, room) + end : fittedText(end, mostBytes));
}

QString distinctFileName(const QString& stem, const QString& ending, qsizetype mostBytes) {
    if (bytesOf(stem) + bytesOf(ending) <= mostBytes) return fittedFileName(stem, ending, mostBytes);
    const QByteArray digest = QCryptographicHash::hash(stem.toUtf8(), QCryptographicHash::Sha256).toHex();
    return fittedFileName(stem, u'~' + QString::fromLatin1(digest.first(kDigestLetters)) + ending, mostBytes);
}

QString fileNameKey(const QString& name) {
    // Folding can make sequences that are not in canonical order any more, so they are decomposed once again.
    const auto decomposed = [](const QString& text) { return text.normalized(QString::NormalizationForm_D); };
    return decomposed(decomposed(name).toCaseFolded());
}

QString composedName(const QString& name) { return name.normalized(QString::NormalizationForm_C); }

} // namespace ostrel
