#include "delivery/rules/file_rules.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"

namespace ostrel {
namespace {

// Nothing that Windows or exFAT refuses.
QString refusedIn(const QString& name) {
    static const RegularExpression kDevice(QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(\\.|$)"),
                                           RegularExpression::caseInsensitive);
    for (const QChar letter : name) {
        if (letter < u' ' || QStringLiteral("<>:\"\\|?*").contains(letter)) {
            return letter < u' ' ? QStringLiteral("a control character") : QString(letter);
        }
    }
    if (name.endsWith(u'.') || name.endsWith(u' ')) return QStringLiteral("a dot or a blank at the end");
    return kDevice.matches(name) ? QStringLiteral("a device's name") : QString();
}

} // namespace

void checkName(const RecordingFacts& file, Findings& findings) {
    const QString name = paths::lastComponent(file.path);
    if (const QString refused = refusedIn(name); !refused.isEmpty()) {
        findings.add("name.characters", QStringLiteral("name"), refused, QString());
    }
    const QString scene = file.scene();
    const QString take = file.take();
    if (scene.isEmpty() || take.isEmpty() || !file.tape().isEmpty()) return;
    if (!name.contains(scene, Qt::CaseInsensitive) && !name.contains(take, Qt::CaseInsensitive)) {
        findings.add("name.lost-take", QStringLiteral("name"), name, QStringLiteral("with %1 and %2").arg(scene, take));
    }
}

} // namespace ostrel
