#include "foundation/records/timecode.h"

#include "platform/text/regular_expression.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace ostrel {
namespace {

__extension__ using Wide = __int128; // samples times frames pass 64 bits

// Labels that drop frame leaves out at the begin of a minute: 2 of 30, 4 of 60.
int dropped(const TimecodeRate& rate) { return rate.isDrop ? rate.labelsPerSecond() / 15 : 0; }

std::optional<TimecodeRate> withLabels(int numerator, int denominator, bool isDrop) {
    if (numerator <= 0 || denominator <= 0) return std::nullopt;
    const int common = std::gcd(numerator, denominator);
    const TimecodeRate rate{numerator / common, denominator / common, isDrop};
    constexpr std::array kLabels{24, 25, 30, 48, 50, 60};
    const bool isPulledDown = rate.denominator == 1001 && rate.numerator == rate.labelsPerSecond() * 1000;
    const int labels = rate.labelsPerSecond();
    if (std::find(kLabels.begin(), kLabels.end(), labels) == kLabels.end()) return std::nullopt;
    if (rate.denominator != 1 && (!isPulledDown || labels % 25 == 0)) return std::nullopt;
    if (isDrop && labels % 30 != 0) return std::nullopt;
    return rate;
}

// "23.976", "23.98", "029.97": what is cut or rounded of n * 1000 / 1001.
std::optional<TimecodeRate> ofDecimal(double told, bool isDrop) {
    for (const int labels : {24, 25, 30, 48, 50, 60}) {
        if (told == labels) return withLabels(labels, 1, isDrop);
        const double pulledDown = labels * 1000.0 / 1001.0;
        if (labels % 25 != 0 && told > pulledDown - 0.0105 && told < pulledDown + 0.0055) {
            return withLabels(labels * 1000, 1001, isDrop);
        }
    }
    return std::nullopt;
}

} // namespace

qint64 TimecodeRate::framesPerDay() const {
    constexpr qint64 kMinutes = qint64{24} * 60;
    return kMinutes * 60 * labelsPerSecond() - dropped(*this) * (kMinutes - kMinutes / 10);
}

QString TimecodeRate::name() const {
    QString text = QString::number(labelsPerSecond());
    if (denominator != 1) {
        text = QString::number(static_cast<double>(numerator) / denominator, 'f', labelsPerSecond() % 30 == 0 ? 2 : 3);
    }
    return isDrop ? text + QStringLiteral(" DF") : text;
}

std::optional<TimecodeRate> TimecodeRate::of(const QString& rate, const QString& flag) {
    static const RegularExpression kFraction(QStringLiteral("^\\s*(\\d{1,6})\\s*/\\s*(\\d{1,6})\\s*$"));
    static const RegularExpression kDecimal(
        QStringLiteral("^\\s*(\\d{1,3}(?:\\.\\d{1,6})?)\\s*(?:[- ]?\\s*(ND|NDF|DF|D))?\\s*$"),
        RegularExpression::caseInsensitive);
    const auto drops = [](const QString& word) { return word.trimmed().startsWith(u'D', Qt::CaseInsensitive); };
    if (const auto found = kFraction.firstMatch(rate)) {
        return withLabels(found->text(1).toInt(), found->text(2).toInt(), drops(flag));
    }
    const auto found = kDecimal.firstMatch(rate);
    if (!found) return std::nullopt;
    return ofDecimal(found->text(1).toDouble(), drops(found->text(2).isEmpty() ? flag : found->text(2)));
}

qint64 TimecodeOfDay::frame() const {
    if (sampleRate == 0) return 0;
    const Wide frames = (Wide{samples} + 1) * rate.numerator / (Wide{sampleRate} * rate.denominator);
    return static_cast<qint64>(frames % rate.framesPerDay());
}

QString TimecodeOfDay::label() const { return labelOf(frame(), rate); }

quint64 TimecodeOfDay::sampleOf(qint64 frame, quint32 sampleRate, const TimecodeRate& rate) {
    const Wide twice = Wide{frame} * sampleRate * rate.denominator * 2;
    return static_cast<quint64>((twice + rate.numerator) / (Wide{rate.numerator} * 2));
}

QString TimecodeOfDay::labelOf(qint64 frame, const TimecodeRate& rate) {
    const qint64 labels = rate.labelsPerSecond();
    if (const int left = dropped(rate); left > 0) {
        const qint64 inTen = 600 * labels - qint64{9} * left;
        const qint64 inOne = 60 * labels - left;
        const qint64 rest = frame % inTen;
        const qint64 minutes = rest < 60 * labels ? 0 : 1 + (rest - 60 * labels) / inOne;
        frame += left * (9 * (frame / inTen) + minutes);
    }
    const qint64 seconds = frame / labels;
    const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return two(seconds / 3600 % 24) + u':' + two(seconds / 60 % 60) + u':' + two(seconds % 60) +
           (rate.isDrop ? u';' : u':') + two(frame % labels);
}

std::optional<qint64> TimecodeOfDay::frameOf(const QString& label, const TimecodeRate& rate) {
    static const RegularExpression kLabel(QStringLiteral("^(\\d\\d):(\\d\\d):(\\d\\d)[:;.,](\\d\\d)$"));
    const auto found = kLabel.firstMatch(label);
    if (!found) return std::nullopt;
    const auto part = [&](std::size_t group) { return found->text(group).toInt(); };
    const int labels = rate.labelsPerSecond();
    const int left = dropped(rate);
    if (part(1) > 23 || part(2) > 59 || part(3) > 59 || part(4) >= labels) return std::nullopt;
    const bool isLeftOut = part(3) == 0 && part(4) < left && part(2) % 10 != 0;
    if (isLeftOut) return std::nullopt;
    const qint64 minutes = part(1) * 60 + part(2);
    return (minutes * 60 + part(3)) * labels + part(4) - left * (minutes - minutes / 10);
}

} // namespace ostrel
