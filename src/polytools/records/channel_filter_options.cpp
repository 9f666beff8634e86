#include "polytools/records/channel_filter_options.h"

#include <QStringList>
#include <algorithm>

namespace ostrel {
namespace {

constexpr int kMostChannels = 65535;

std::optional<int> wholeNumber(const QString& text) {
    bool isNumber = false;
    const qlonglong number = text.trimmed().toLongLong(&isNumber);
    if (!isNumber) return std::nullopt;
    return static_cast<int>(std::clamp<qlonglong>(number, 0, kMostChannels + 1));
}

} // namespace

QString rawText(ChannelFilterOptions::SmartFilter filter) {
    using Filter = ChannelFilterOptions::SmartFilter;
    switch (filter) {
    case Filter::all: return QStringLiteral("Select All");
    case Filter::none: return QStringLiteral("Select None");
    case Filter::mixTracksOnly: return QStringLiteral("Mix Tracks Only");
    case Filter::isoTracksOnly: return QStringLiteral("ISO Tracks Only (no mix)");
    case Filter::boomOnly: return QStringLiteral("Boom Only");
    case Filter::lavsOnly: return QStringLiteral("Lavs Only");
    case Filter::channelRange: break;
    }
    return QStringLiteral("Channel Range");
}

std::set<int> parseChannelNumbers(const QString& text) {
    std::set<int> numbers;
    for (const QString& piece : text.split(u',')) {
        const QStringList ends = piece.split(u'-');
        const std::optional<int> first = wholeNumber(ends.front());
        const std::optional<int> last = ends.size() == 2 ? wholeNumber(ends.back()) : first;
        if (!first || !last || ends.size() > 2) continue;
        for (int n = std::max(*first, 1); n <= std::min(*last, kMostChannels); ++n) numbers.insert(n);
    }
    return numbers;
}

QStringList nameFilterTerms(const QString& filter) {
    QStringList terms;
    for (const QString& piece : filter.split(u',')) {
        const QString term = piece.trimmed().toUpper();
        if (!term.isEmpty()) terms << term;
    }
    return terms;
}

QString joinedNumbers(const std::set<int>& numbers) {
    QStringList texts;
    for (const int number : numbers) texts << QString::number(number);
    return texts.join(QStringLiteral(", "));
}

QString OutputEncoding::matchSource(int bitDepth, const QString& codecName) {
    const QString codec = codecName.toLower();
    if (codec.contains(QStringLiteral("f32"))) return QStringLiteral("pcm_f32le");
    if (codec.contains(QStringLiteral("float")) && !codec.contains(QStringLiteral("64")))
        return QStringLiteral("pcm_f32le");
    if (codec.contains(QStringLiteral("f64")) || codec.contains(QStringLiteral("double")))
        return QStringLiteral("pcm_f64le");
    switch (bitDepth) {
    case 16: return QStringLiteral("pcm_s16le");
    case 32: return QStringLiteral("pcm_s32le");
    case 64: return QStringLiteral("pcm_f64le");
    default: return QStringLiteral("pcm_s24le");
    }
}

} // namespace ostrel
