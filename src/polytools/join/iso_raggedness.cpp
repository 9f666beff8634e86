#include "polytools/join/iso_raggedness.h"

#include "platform/paths.h"
#include "platform/text/text.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>
#include <optional>
#include <vector>

namespace ostrel {
namespace {

struct Figure {
    QString file;
    quint64 samples = 0;
    double rate = 1; // Hz

    QString text() const {
        return QStringLiteral("%1 %2 (%3 s)")
            .arg(paths::lastComponent(file))
            .arg(samples)
            .arg(fixed(static_cast<double>(samples) / rate, 3));
    }
};

// The least and the most, where they differ.
void tell(const std::vector<Figure>& figures, const char* what, QStringList& sentences) {
    if (figures.size() < 2) return;
    const auto bySamples = [](const Figure& a, const Figure& b) { return a.samples < b.samples; };
    const auto [least, most] = std::minmax_element(figures.begin(), figures.end(), bySamples);
    if (least->samples == most->samples) return;
    sentences << QStringLiteral("%1, in samples: %2, %3").arg(QString::fromLatin1(what), least->text(), most->text());
}

} // namespace

QStringList raggedness(const QStringList& isos) {
    std::vector<Figure> lengths;
    std::vector<Figure> starts;
    for (const QString& iso : isos) {
        const std::string path = QFile::encodeName(iso).toStdString();
        const std::optional<WaveLayout> layout = readWaveLayout(path);
        if (!layout || !layout->format || layout->format->sampleRate == 0) continue;
        const double rate = layout->format->sampleRate;
        lengths.push_back({iso, layout->frames(), rate});
        if (const auto start = readTimeReference(*layout, path)) starts.push_back({iso, *start, rate});
    }
    QStringList sentences;
    tell(lengths, "The ISOs are of unequal length", sentences);
    tell(starts, "The ISOs start at unequal times", sentences);
    return sentences;
}

} // namespace ostrel
