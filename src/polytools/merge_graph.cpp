#include "polytools/merge_graph.h"

#include "polytools/wave_data.h"

#include <algorithm>

namespace ostrel {

QString mergeGraph(int inputs, bool namesSpeakers) {
    QString plain;
    QString labels;
    for (int i = 0; i < inputs; ++i) {
        if (namesSpeakers) plain += QStringLiteral("[%1:a]pan=mono|c0=c0[m%1];").arg(i);
        labels += namesSpeakers ? QStringLiteral("[m%1]").arg(i) : QStringLiteral("[%1:a]").arg(i);
    }
    return plain + labels + QStringLiteral("amerge=inputs=%1[aout]").arg(inputs);
}

bool anyNamesSpeakers(const QStringList& urls) {
    constexpr quint32 kFrontCentre = 4;
    return std::ranges::any_of(urls, [](const QString& url) {
        const quint32 mask = speakerMask(url);
        return mask != 0 && mask != kFrontCentre;
    });
}

} // namespace ostrel
