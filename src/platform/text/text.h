// Small text services that Qt lacks.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// Nothing if the bytes are not UTF-8. (QString::fromUtf8 would put replacement characters.)
std::optional<QString> decodeUtf8(QByteArrayView bytes);

// A fresh UUID in upper case without braces: names of temporary files and sessions.
QString freshUuid();

// The order a person expects: "T2" before "T10", letter case second.
bool naturalLess(const QString& a, const QString& b);

// "file" for one, "files" for more, of an English word that takes an s.
QString plural(const char* word, qsizetype count);

// The words of a text that blanks part: argument lists as they are read.
QStringList wordsOf(const char* text);

// "true" or "false", as logs and manifests write a switch.
QString trueOrFalse(bool value);

// printf-style "%.{digits}f", with a point whatever the locale.
QString fixed(double value, int digits);

// The time of day in the locale's medium style, without the date: "10:42:07".
QString mediumTime(const QDateTime& time);

// "1:02:03" from one hour on, "2:03" below; whole seconds, truncated first. "0:00" for what is no duration.
QString clockText(double seconds);

} // namespace ostrel
