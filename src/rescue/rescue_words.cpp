#include "rescue/rescue_file.h"

#include <QLocale>
#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

// 0:12:04.250
QString durationText(double seconds) {
    const auto milliseconds = static_cast<qint64>(std::floor(seconds * 1000 + 0.5));
    const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return QStringLiteral("%1:%2:%3.%4")
        .arg(milliseconds / 3'600'000)
        .arg(two(milliseconds / 60'000 % 60), two(milliseconds / 1000 % 60))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

QString framesText(quint64 frames, const WaveFormat& format) {
    return QStringLiteral("%1 frames, %2")
        .arg(QLocale(QLocale::English, QLocale::UnitedStates).toString(frames),
             durationText(static_cast<double>(frames) / format.sampleRate));
}

// A waveform of eighths of a line's height.
QString waveformText(const std::vector<float>& peaks) {
    QString text;
    for (const float peak : peaks) {
        const int eighth = std::clamp(static_cast<int>(std::lround(peak * 8)), 0, 8);
        text += eighth == 0 ? QChar(u' ') : QChar(static_cast<char16_t>(u'\u2580' + eighth));
    }
    return text;
}

QString headline(const RescueItem& item, bool isDryRun) {
    switch (item.status) {
    case RescueStatus::healthy: return QStringLiteral("%1: healthy").arg(item.source);
    case RescueStatus::rescued: break;
    case RescueStatus::skipped: return QStringLiteral("%1: skipped, %2").arg(item.source, item.reason);
    case RescueStatus::refused: return QStringLiteral("%1: refused, %2").arg(item.source, item.reason);
    }
    const QString done =
        isDryRun ? QStringLiteral("%1: would be rescued to %2, %3") : QStringLiteral("%1: rescued to %2, %3");
    return done.arg(item.source, item.output, framesText(item.diagnosis.frames(), *item.diagnosis.format));
}

} // namespace

QString rawText(RescueStatus status) {
    switch (status) {
    case RescueStatus::healthy: return QStringLiteral("healthy");
    case RescueStatus::rescued: return QStringLiteral("rescued");
    case RescueStatus::skipped: return QStringLiteral("skipped");
    case RescueStatus::refused: return QStringLiteral("refused");
    }
    return {};
}

QStringList linesOf(const RescueItem& item, bool isDryRun) {
    QStringList lines = item.remarks;
    lines << headline(item, isDryRun);
    if (item.status != RescueStatus::rescued) return lines;
    lines << QStringLiteral("  ") + item.badge;
    for (const QString& finding : item.findings) lines << QStringLiteral("  ") + finding;
    if (item.diagnosis.silentFrames > 0) {
        lines << QStringLiteral("  the last %1 are zeros, and stay")
                     .arg(framesText(item.diagnosis.silentFrames, *item.diagnosis.format));
    }
    if (!item.peaks.empty()) lines << QStringLiteral("  [%1]").arg(waveformText(item.peaks));
    return lines;
}

} // namespace ostrel
