#include "delivery/rules/file_rules.h"

#include <bit>

namespace ostrel {

void checkFile(const RecordingFacts& file, Findings& findings) {
    checkName(file, findings);
    if (!file.fault.isEmpty()) {
        findings.add("file.unreadable", QStringLiteral("file"), file.fault, QString());
        return;
    }
    checkFormat(file, findings);
    checkBext(file, findings);
    checkIxml(file, findings);
    checkAgreement(file, findings);
    checkAudioDefinition(file, findings);
}

void checkFormat(const RecordingFacts& file, Findings& findings) {
    const QString fault = QString::fromStdString(file.layout.fault());
    if (!fault.isEmpty() || !file.layout.endsAsDeclared() || file.layout.isStreamed) {
        const QString found = !fault.isEmpty() ? fault : QStringLiteral("%1 bytes").arg(file.layout.fileSize);
        findings.add("file.sizes", QStringLiteral("RIFF size"), found,
                     QStringLiteral("%1 bytes").arg(file.layout.riffSize + kChunkHeaderBytes));
    }
    if (!file.layout.format) return;
    const WaveFormat& format = *file.layout.format;
    const int speakers = std::popcount(format.speakers);
    const QString mask = QStringLiteral("fmt channel mask");
    if (format.speakers != 0 && speakers != format.channels) {
        findings.add("fmt.mask-count", mask, QStringLiteral("%1 speakers").arg(speakers),
                     QStringLiteral("%1, or 0 for none").arg(format.channels));
    }
    if (format.channels == 1 && format.speakers != 0 && file.ixml) {
        findings.add("fmt.mono-mask", mask, QStringLiteral("0x%1").arg(format.speakers, 0, 16), QStringLiteral("0"));
    }
    if (format.bits != 16 && format.bits != 24) {
        findings.add("fmt.avid-bits", QStringLiteral("fmt bits"), QString::number(format.bits),
                     QStringLiteral("16 or 24"));
    }
    if (format.channels > 24) {
        findings.add("fmt.avid-channels", QStringLiteral("fmt channels"), QString::number(format.channels),
                     QStringLiteral("24 at most"));
    }
}

} // namespace ostrel
