#include "foundation/proof/unexplained_bytes.h"

#include "platform/paths.h"
#include "platform/text/text.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

QString amount(const WaveLayout& layout, std::uint64_t bytes) {
    const double rate = layout.format ? layout.format->bytesPerSecond() : 0;
    return rate > 0 ? QStringLiteral("%1 s").arg(fixed(static_cast<double>(bytes) / rate, 1))
                    : QStringLiteral("%1 bytes").arg(bytes);
}

QString sentenceFor(const WaveLayout& layout, int descriptor) {
    if (const std::uint64_t behind = unexplainedBytes(layout, descriptor)) {
        return QStringLiteral("about %1 of audio may lie behind the declared end").arg(amount(layout, behind));
    }
    if (const std::uint64_t missing = missingBytes(layout)) {
        return QStringLiteral("the header declares about %1 of audio more than the file holds")
            .arg(amount(layout, missing));
    }
    return layout.sizesDisagree ? QStringLiteral("the sizes in its header disagree") : QString();
}

} // namespace

QString unexplainedBytesOf(const QString& file) {
    const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return QString();
    const std::optional<WaveLayout> layout = readWaveLayout(descriptor);
    const QString sentence = layout ? sentenceFor(*layout, descriptor) : QString();
    ::close(descriptor);
    return sentence;
}

QStringList unexplainedBytesWarnings(const QStringList& files) {
    QStringList warnings;
    for (const QString& file : files) {
        const QString sentence = unexplainedBytesOf(file);
        if (!sentence.isEmpty()) warnings << QStringLiteral("%1: %2").arg(paths::lastComponent(file), sentence);
    }
    return warnings;
}

} // namespace ostrel
