#include "polytools/records/merge_graph.h"

#include "platform/text/text.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

QString mean(int channels) {
    QStringList terms;
    for (int channel = 0; channel < channels; ++channel) {
        terms << QStringLiteral("%1*c%2").arg(fixed(1.0 / channels, 6)).arg(channel);
    }
    return terms.join(u'+');
}

} // namespace

QString mergeGraph(const std::vector<int>& channelCounts, bool namesSpeakers) {
    QString plain;
    QString labels;
    for (std::size_t i = 0; i < channelCounts.size(); ++i) {
        const bool isMixed = channelCounts[i] > 1;
        if (isMixed || namesSpeakers) {
            const QString mix = isMixed ? mean(channelCounts[i]) : QStringLiteral("c0");
            plain += QStringLiteral("[%1:a]pan=mono|c0=%2[m%1];").arg(i).arg(mix);
        }
        labels += (isMixed || namesSpeakers ? QStringLiteral("[m%1]") : QStringLiteral("[%1:a]")).arg(i);
    }
    return plain + labels + QStringLiteral("amerge=inputs=%1[aout]").arg(channelCounts.size());
}

bool anyNamesSpeakers(const QStringList& urls) {
    constexpr std::uint32_t kFrontCentre = 4;
    return std::ranges::any_of(urls, [](const QString& url) {
        const auto layout = readWaveLayout(QFile::encodeName(url).toStdString());
        const std::uint32_t speakers = layout && layout->format ? layout->format->speakers : 0;
        return speakers != 0 && speakers != kFrontCentre;
    });
}

} // namespace ostrel
