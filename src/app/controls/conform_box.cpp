#include "app/controls/conform_box.h"

#include "app/controls/flag_box.h"

#include <QCheckBox>
#include <QSettings>

namespace ostrel {
namespace {

QString helpOf(bool isDirect) {
    const QString help = QStringLiteral(
        "Heads as editing systems read them: lines of the Description ended by CR LF and of the file's own tracks "
        "alone, and the place among its set as a number. The audio stays as it is.");
    return isDirect ? help : help + QStringLiteral(" Goes with the engine Direct.");
}

} // namespace

QCheckBox* conformBox(Bindings& bindings, QProperty<bool>& conforms, QProperty<EngineChoice>& engine,
                      const QString& tool) {
    const QString key = QStringLiteral("conform/") + tool;
    conforms = QSettings().value(key).toBool();
    QCheckBox* box = flagBox(bindings, conforms, QStringLiteral("Conform headers"));
    QObject::connect(box, &QCheckBox::toggled, box, [key](bool isOn) { QSettings().setValue(key, isOn); });
    bindings.bind(engine, [box, &engine] {
        const bool isDirect = engine.value() == EngineChoice::direct;
        box->setEnabled(isDirect);
        box->setToolTip(helpOf(isDirect));
        box->setAccessibleDescription(helpOf(isDirect));
    });
    return box;
}

} // namespace ostrel
