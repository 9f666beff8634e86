#include "platform/text/text.h"

#include <QStringDecoder>
#include <QUuid>
#include <array>
#include <cmath>
#include <memory>
#include <unicode/udat.h>

namespace ostrel {

std::optional<QString> decodeUtf8(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError()) return std::nullopt;
    return text;
}

QString freshUuid() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

namespace {

// Compares two runs of digits by their value, whatever their length.
int compareDigits(QStringView a, QStringView b) {
    while (a.size() > 1 && a.front() == u'0') a = a.sliced(1);
    while (b.size() > 1 && b.front() == u'0') b = b.sliced(1);
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

QStringView takeDigits(QStringView& text) {
    qsizetype count = 0;
    while (count < text.size() && text[count].isDigit()) ++count;
    const QStringView digits = text.first(count);
    text = text.sliced(count);
    return digits;
}

int compareNaturally(QStringView a, QStringView b) {
    while (!a.isEmpty() && !b.isEmpty()) {
        if (a.front().isDigit() && b.front().isDigit()) {
            if (const int order = compareDigits(takeDigits(a), takeDigits(b))) return order;
            continue;
        }
        const QChar left = a.front().toCaseFolded();
        const QChar right = b.front().toCaseFolded();
        if (left != right) return left < right ? -1 : 1;
        a = a.sliced(1);
        b = b.sliced(1);
    }
    return a.isEmpty() ? (b.isEmpty() ? 0 : -1) : 1;
}

} // namespace

bool naturalLess(const QString& a, const QString& b) {
    const int order = compareNaturally(a, b);
    return order != 0 ? order < 0 : a < b;
}

namespace {

struct CloseDateFormat {
    void operator()(UDateFormat* format) const { udat_close(format); }
};
using DateFormat = std::unique_ptr<UDateFormat, CloseDateFormat>;

} // namespace

QString plural(const char* word, qsizetype count) {
    return QString::fromLatin1(word) + (count > 1 ? QStringLiteral("s") : QString());
}

QStringList wordsOf(const char* text) { return QString::fromLatin1(text).split(u' '); }

QString trueOrFalse(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }

QString fixed(double value, int digits) { return QString::number(value, 'f', digits); }

QString mediumTime(const QDateTime& time) {
    // Formatters are costly to make and serve one thread at a time.
    thread_local const DateFormat format = [] {
        UErrorCode status = U_ZERO_ERROR;
        return DateFormat(udat_open(UDAT_MEDIUM, UDAT_NONE, nullptr, nullptr, -1, nullptr, -1, &status));
    }();
    std::array<UChar, 64> buffer;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = !format ? 0
                                   : udat_format(format.get(), static_cast<UDate>(time.toMSecsSinceEpoch()),
                                                 buffer.data(), static_cast<int32_t>(buffer.size()), nullptr, &status);
    if (length <= 0 || U_FAILURE(status)) return time.toString(QStringLiteral("HH:mm:ss"));
    return QString::fromUtf16(buffer.data(), length);
}

QString clockText(double seconds) {
    constexpr double most = 1e15; // what a broken header claims beyond that is no duration
    const auto whole = seconds > 0 && seconds < most ? static_cast<qint64>(seconds) : 0;
    const QString minutesAndSeconds = QStringLiteral("%1:%2")
                                          .arg(whole % 3600 / 60, whole >= 3600 ? 2 : 1, 10, QLatin1Char('0'))
                                          .arg(whole % 60, 2, 10, QLatin1Char('0'));
    return whole >= 3600 ? QStringLiteral("%1:%2").arg(whole / 3600).arg(minutesAndSeconds) : minutesAndSeconds;
}

} // namespace ostrel
